#include "diagnosis/burst/WaveformPicture.h"
#include "diagnosis/report/Style.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

// The page's own colours, by the formulas of the accessibility guidelines and of a simulated red-green blindness.

namespace {

using Colour = std::array<double, 3>; // linear light, 0 to 1
using Palette = std::map<std::string, Colour>;

double linear(double value) {
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

Colour colourOf(const std::string& digits) {
    std::string six = digits;
    if (six.size() == 3) {
        six = {six[0], six[0], six[1], six[1], six[2], six[2]};
    }
    Colour colour{};
    for (std::size_t i = 0; i < 3; ++i) {
        colour[i] = linear(std::stoi(six.substr(2 * i, 2), nullptr, 16) / 255.0);
    }
    return colour;
}

/// Light, dark and printed, in the order of the sheet.
std::vector<Palette> palettes() {
    const std::string sheet = diagnosis::page::styleSheet();
    std::vector<Palette> all;
    for (std::size_t at = sheet.find(":root{"); at != std::string::npos; at = sheet.find(":root{", at + 1)) {
        const std::string block = sheet.substr(at, sheet.find('}', at) - at);
        static const std::regex entry("--(\\w+):#([0-9a-f]{3,6})");
        Palette& palette = all.emplace_back();
        for (auto each = std::sregex_iterator(block.begin(), block.end(), entry); each != std::sregex_iterator();
             ++each) {
            palette[(*each)[1]] = colourOf((*each)[2]);
        }
    }
    return all;
}

double luminance(const Colour& colour) {
    return 0.2126 * colour[0] + 0.7152 * colour[1] + 0.0722 * colour[2];
}

double contrast(const Colour& one, const Colour& other) {
    const double a = luminance(one);
    const double b = luminance(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

/// As without the cones for long waves (Vienot, Brettel and Mollon).
Colour redBlind(const Colour& c) {
    const double mixed = 0.11238 * c[0] + 0.88762 * c[1];
    return {mixed, mixed, 0.00401 * c[0] - 0.00401 * c[1] + c[2]};
}

const std::vector<std::pair<const char*, const char*>>& texts() {
    static const std::vector<std::pair<const char*, const char*>> all{
        {"ink", "bg"},        {"ink", "panel"},      {"ink", "track"},    {"soft", "bg"},  {"soft", "panel"},
        {"soft", "track"},    {"good", "badgegood"}, {"bad", "badgebad"}, {"bad", "bg"},   {"warn", "badgewarn"},
        {"good", "panel"},    {"bad", "panel"},      {"trace", "bg"},     {"clock", "bg"}, {"ink", "opengood"},
        {"soft", "opengood"}, {"soft", "openbad"}};
    return all;
}

TEST(Colours, EveryTextHasAContrastOfFourAndAHalf) {
    const std::vector<Palette> all = palettes();
    ASSERT_EQ(all.size(), 3U) << "light, dark, printed";
    for (const Palette& palette : all) {
        for (const auto& [text, ground] : texts()) {
            EXPECT_GE(contrast(palette.at(text), palette.at(ground)), 4.5) << text << " on " << ground;
        }
    }
}

TEST(Colours, TextsStayLegibleWithRedGreenBlindness) {
    for (const Palette& palette : palettes()) {
        for (const auto& [text, ground] : texts()) {
            EXPECT_GE(contrast(redBlind(palette.at(text)), redBlind(palette.at(ground))), 3.5)
                << text << " on " << ground;
        }
    }
}

TEST(Colours, BarsAreSeenOnTheirTrack) {
    for (const Palette& palette : palettes()) {
        for (const char* bar : {"goodfill", "badfill", "window"}) {
            EXPECT_GE(contrast(palette.at(bar), palette.at("track")), 2.5) << bar;
        }
    }
}

TEST(Colours, NoVerdictDependsOnColourAlone) {
    const std::string sheet = diagnosis::page::styleSheet();
    for (const char* mark : {".badge.good::before{content:\"\\2713\"}", ".badge.bad::before{content:\"\\2715\"}",
                             ".badge.warn::before{content:\"!\"}", "svg .hatch{", "border-left-style:dashed"}) {
        EXPECT_NE(sheet.find(mark), std::string::npos) << mark;
    }
}

TEST(Colours, APictureInAFileHasThoseOfThePage) {
    const diagnosis::Burst burst =
        diagnosis::parseBurst(drawn::burst({drawn::square(200, 14, 3), drawn::square(200, 14, 10)}), "x");
    std::ostringstream out;
    diagnosis::writeSvg(out, burst, diagnosis::partOf(burst, 0, 0, {}), "x");
    const std::string file = out.str();
    const std::string sheet = diagnosis::page::styleSheet();
    static const std::regex colour("#[0-9a-f]{6}");
    std::size_t found = 0;
    for (auto each = std::sregex_iterator(file.begin(), file.end(), colour); each != std::sregex_iterator(); ++each) {
        EXPECT_NE(sheet.find(each->str()), std::string::npos) << each->str();
        ++found;
    }
    EXPECT_GT(found, 5U);
}

} // namespace
