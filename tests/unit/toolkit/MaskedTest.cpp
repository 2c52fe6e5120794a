#include "toolkit/Masked.h"

#include <gtest/gtest.h>

namespace toolkit {
namespace {

TEST(Masked, ControlCharactersAndBrokenBytesBecomeQuestionMarks) {
    EXPECT_EQ(masked("a\x1b[31mb\r\n\t\x7f"), "a?[31mb????");
    EXPECT_EQ(masked("\xc2\x9b"
                     "31m"),
              "?31m")
        << "a control sequence in one character";
    EXPECT_EQ(masked("\xff\xe2\x82"), "???");
    EXPECT_EQ(masked(std::string("a\0b", 3)), "a?b");
}

TEST(Masked, LettersOfEveryKindStay) {
    EXPECT_EQ(masked("Gr\u00fc\u00dfe \u03a9 \u2082 \U0001F600 \u00a0"),
              "Gr\u00fc\u00dfe \u03a9 \u2082 \U0001F600 \u00a0");
}

TEST(Masked, LinesKeepTheirEnds) {
    EXPECT_EQ(maskedLines("a\nb\r\x1b\n"), "a\nb??\n");
}

TEST(Masked, NoticesAreOneLine) {
    testing::internal::CaptureStderr();
    printNotice("a\x1b"
                "b\nc");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "orvtrace: a?b?c\n");
}

} // namespace
} // namespace toolkit
