#include "toolkit/Format.h"

#include <gtest/gtest.h>

namespace toolkit {
namespace {

TEST(Format, FrequenciesAreScaled) {
    EXPECT_EQ(frequencyText(0.0), "0 Hz");
    EXPECT_EQ(frequencyText(999.0), "999 Hz");
    EXPECT_EQ(frequencyText(4e5), "400 kHz");
    EXPECT_EQ(frequencyText(1.25e7), "12.5 MHz");
    EXPECT_EQ(frequencyText(1.4e9), "1.4 GHz");
}

TEST(Format, SizesAreScaledByPowersOf1024) {
    EXPECT_EQ(sizeText(0), "0 bytes");
    EXPECT_EQ(sizeText(1536), "1.50 KiB");
    EXPECT_EQ(sizeText(std::uint64_t{128} << 20), "128.00 MiB");
}

TEST(Format, OnlyOneIsSingular) {
    EXPECT_EQ(countText(0, "word"), "0 words");
    EXPECT_EQ(countText(1, "word"), "1 word");
    EXPECT_EQ(countText(2, "word"), "2 words");
}

} // namespace
} // namespace toolkit
