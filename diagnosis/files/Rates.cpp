#include "diagnosis/files/Rates.h"

#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <array>
#include <cmath>

namespace diagnosis {

namespace {

struct RateLine {
    std::string_view key;
    std::string_view unit;
    double Rates::* field;
};

constexpr std::array rateLines{
    RateLine{"exportFrequency", "Hz", &Rates::exportFrequency},
    RateLine{"dataFrequency", "words/second", &Rates::dataFrequency},
    RateLine{"dataRate", "bits/second", &Rates::dataRate},
    RateLine{"oversampling", "samples/bit", &Rates::oversampling},
};

constexpr double highestOversampling = 1e9; // 1.4e9 samples a second at a clock of about a hertz

// Rates outside of these come from damaged files.
constexpr double slowestUnit = 1e3;
constexpr double fastestUnit = 1e13;

/// Half of the last place that the file shows of a number.
double roundingOf(double value) {
    const double scaled = value / std::pow(1000.0, std::floor(std::log10(value) / 3.0));
    return 0.005 / scaled;
}

} // namespace

unsigned Rates::bitSamples() const {
    return static_cast<unsigned>(oversampling / 2.0 + 0.5);
}

unsigned Rates::neededMargin() const {
    return static_cast<unsigned>(oversampling / limits::marginDivisor + 0.5);
}

double Rates::sampleRate() const {
    if (!known()) {
        return usualSampleRate;
    }
    const double rate = exportFrequency * oversampling;
    if (rate < slowestUnit || rate > fastestUnit) {
        return usualSampleRate;
    }
    const double error = roundingOf(exportFrequency) + roundingOf(oversampling);
    for (int digits = 2; digits <= 6; ++digits) {
        const double step = std::pow(10.0, std::floor(std::log10(rate)) - digits + 1);
        const double round = std::round(rate / step) * step;
        if (std::abs(round - rate) <= error * rate) {
            return round;
        }
    }
    return rate;
}

Rates parseRates(std::span<const toolkit::TextLine> lines, const std::string& file) {
    Rates rates;
    for (std::size_t i = 0; i < rateLines.size(); ++i) {
        const RateLine& wanted = rateLines[i];
        if (i >= lines.size()) {
            toolkit::damaged(file, lines.size() + 1, "the file ends before " + std::string(wanted.key) + "=");
        }
        const auto entry = toolkit::keyValue(lines[i].text);
        const auto value =
            entry && entry->key == wanted.key ? toolkit::scaledNumber(entry->value, wanted.unit) : std::nullopt;
        if (!value || !std::isfinite(*value) || *value < 0.0) {
            toolkit::damaged(file, lines[i].number,
                             "expected " + std::string(wanted.key) + "=NUMBER " + std::string(wanted.unit) +
                                 ", found " + toolkit::shown(lines[i].text));
        }
        rates.*wanted.field = *value;
    }
    if (rates.oversampling > highestOversampling) {
        toolkit::damaged(file, lines[3].number, "no unit takes that many samples in a clock period");
    }
    return rates;
}

} // namespace diagnosis
