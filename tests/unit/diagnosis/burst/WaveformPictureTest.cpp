#include "diagnosis/burst/WaveformPicture.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gmock/gmock.h>

#include <sstream>

namespace diagnosis {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::size_t count(const std::string& text, const std::string& what) {
    std::size_t found = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++found;
    }
    return found;
}

Burst twoPins(std::size_t samples) {
    return parseBurst(drawn::burst({drawn::square(samples, 14, 3), drawn::square(samples, 14, 10)}), "x");
}

std::string fileOf(const Burst& burst, const BurstPart& part, const std::string& heading = {}) {
    std::ostringstream out;
    writeSvg(out, burst, part, heading);
    return out.str();
}

TEST(WaveformFile, IsAPictureOfItsOwnWithEveryPinAndItsSettings) {
    const Burst burst = twoPins(200);
    const std::string file = fileOf(burst, partOf(burst, 40, 124, {}), "as <wired>");
    EXPECT_THAT(file, AllOf(StartsWith("<svg "), HasSubstr(" xmlns=\"http://www.w3.org/2000/svg\">"),
                            HasSubstr("<style>"), EndsWith("</svg>\n")));
    EXPECT_THAT(file, AllOf(HasSubstr(">as &lt;wired&gt;</text>"), HasSubstr(">CLK (EMU0)</text>"),
                            HasSubstr(">D0 (EMU4)</text>"), HasSubstr(">delay 1, stretch 0</text>"),
                            HasSubstr(">time in samples</text>"), HasSubstr(">50</text>")));
    EXPECT_EQ(count(file, "<path "), 2U);
    // Clock edges at 45, 59, ... 115, with the bit of the one data pin at each.
    EXPECT_EQ(count(file, "class=\"sampling"), 6U);
    EXPECT_EQ(count(file, "class=\"bit"), 6U);
}

TEST(WaveformFile, PinsAreInTheirOrderAndAlone) {
    const Burst burst = twoPins(200);
    const std::string file = fileOf(burst, partOf(burst, 0, 100, "data1"));
    EXPECT_THAT(file, AllOf(HasSubstr(">D0 (EMU4)</text>"), Not(HasSubstr(">CLK"))));
    EXPECT_EQ(count(file, "<path "), 1U);
    EXPECT_GT(count(file, "class=\"sampling"), 0U) << "the clock's edges are known all the same";
}

TEST(WaveformFile, ALongPartHasNoDotsThatWouldOverlap) {
    const Burst burst = twoPins(8192);
    EXPECT_EQ(count(fileOf(burst, partOf(burst, 0, 0, {})), "class=\"bit"), 0U);
}

TEST(WaveformPicture, ShowsAFewClockPeriodsAroundTheSpotInNanoseconds) {
    const Burst burst = twoPins(8192);
    const Spot spot{4000, 1, "here"};
    const BurstPart part = partAround(burst, spot.sample);
    EXPECT_EQ(part.to - part.from, 8U * 28U);
    EXPECT_EQ(part.from, 4000U - 4U * 28U);
    const std::string picture = waveformPicture(burst, {part, {"clock", "a pin"}, {}, {}, spot});
    EXPECT_THAT(picture, AllOf(StartsWith("<svg class=\"waveform\""), HasSubstr("with a mark: here"),
                               HasSubstr(">a pin</text>"), HasSubstr(">time in ns</text>"), Not(HasSubstr("<style>"))));
    EXPECT_EQ(count(picture, "class=\"spot\""), 1U);
    EXPECT_EQ(partAround(burst, 0).from, 0U);
    EXPECT_EQ(partAround(burst, 8191).to, 8192U);
}

} // namespace
} // namespace diagnosis
