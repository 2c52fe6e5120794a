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

TEST(Masked, BytesThatAreNoCharacterAreMaskedOneByOne) {
    EXPECT_EQ(masked("\xe0\x9f\xbf"), "???") << "a long form of a lower character";
    EXPECT_EQ(masked("\xf0\x8f\xbf\xbf"), "????");
    EXPECT_EQ(masked("\xed\xa0\x80"), "???") << "a surrogate";
    EXPECT_EQ(masked("\xf4\x90\x80\x80"), "????") << "no character has that number";
    EXPECT_EQ(masked("\xe0\xa0\x80\xed\x9f\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf"),
              "\xe0\xa0\x80\xed\x9f\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf");
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
