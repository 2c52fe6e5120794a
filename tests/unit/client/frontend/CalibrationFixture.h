#pragma once

#include "tests/unit/client/analysis/Bursts.h"
#include "tests/unit/client/frontend/ChannelFixture.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// The channel's calibration over a model of the unit whose counter and signals a test chooses.

namespace client_test {

/// What a calibration only asks for its share of ones, and whose check is of no use here.
class EvenPattern : public Pattern {
public:
    double onesRatio() override { return 0.5; }
    bool check(std::uint16_t, std::uint16_t, bool&) override { return false; }
};

inline constexpr std::uint32_t countLow = 0x080080F0;
inline constexpr std::uint32_t countHigh = 0x080080F2;
inline constexpr std::uint32_t windowLow = 0x080080E0;
inline constexpr std::uint32_t windowHigh = 0x080080E2;

/// The count of a rate with the unit's usual clocks and the usual `cpi`.
inline std::uint32_t countFor(double frequency) {
    return static_cast<std::uint32_t>(frequency * 8 * 1e6 * 3 / 1.05e9 + 0.5);
}

class CalibrationTest : public ChannelTest {
protected:
    CalibrationTest() { ON_CALL(transmitter, getPattern).WillByDefault(testing::Return(&pattern)); }

    /// Every reading of the counter gives these counts, one after the other, and the last one from then on.
    void counts(std::vector<std::uint32_t> values) {
        counted = std::move(values);
        nextCount = 0;
        model.onRead(countLow, [this] { return counted.at(nextCount) & 0xFFFF; });
        model.onRead(countHigh, [this] {
            const std::uint32_t value = counted.at(nextCount) >> 16;
            nextCount = std::min(nextCount + 1, counted.size() - 1);
            return value;
        });
    }
    void rate(double frequency) { counts({countFor(frequency)}); }

    /// Gives each setting of the transmitter a rate.
    void rates(std::vector<double> frequencies) {
        ON_CALL(transmitter, numFrequencySettings)
            .WillByDefault(testing::Return(static_cast<std::uint32_t>(frequencies.size())));
        ON_CALL(transmitter, program)
            .WillByDefault(testing::Invoke([this, frequencies](const char* name, std::uint32_t setting) {
                model.note("transmitter program " + std::string(name) + " " + std::to_string(setting));
                rate(frequencies.at(setting));
                programmed = frequencies.at(setting);
            }));
    }

    /// A clean signal of what is programmed: the clock, and data that change in the middle between its edges. Pins
    /// answer neither delay nor stretch.
    void signals(double shift = 0.5) {
        model.onTrigger([this, shift](RegisterModel& unit) {
            const double half = 1.4e9 / programmed / 2;
            bursts::OwnedBurst burst(5, 512);
            burst.square(0, 20, half);
            std::mt19937 random(11);
            for (std::uint32_t p = 1; p < 5; ++p) {
                std::vector<bool> bits(static_cast<std::size_t>(8192 / half) + 3);
                for (std::size_t i = 0; i < bits.size(); ++i) {
                    bits[i] = (random() & 1) != 0;
                }
                for (std::uint32_t s = 0; s < 8192; ++s) {
                    const double slot = (s - 20.0) / half + 1 - shift + 1;
                    burst.set(p, s, bits[static_cast<std::size_t>(std::max(0.0, slot))]);
                }
            }
            for (std::uint32_t p = 0; p < 5; ++p) {
                unit.setBurst(p, burst.pins[p]);
            }
        });
    }

    /// The usable rates, as the property lists them.
    std::vector<double> frequencies() {
        std::vector<double> found;
        std::istringstream items(get("frequencies"));
        for (std::string item; std::getline(items, item, ',');) {
            found.push_back(std::stod(item));
        }
        return found;
    }
    /// For tests of the scan, whatever the attempts that follow it come to.
    void calibrateAnyway() {
        try {
            channel->calibrate();
        } catch (const Exception&) {
            return;
        }
    }
    /// The setting that the transmitter was programmed with last.
    std::string lastSetting() {
        std::string found = "none";
        for (const std::string& line : model.log()) {
            if (line.starts_with("transmitter program ")) {
                found = line.substr(line.rfind(' ') + 1);
            }
        }
        return found;
    }

    std::vector<std::uint32_t> debounces() {
        std::vector<std::uint32_t> found;
        for (const std::uint32_t value : model.written(0x0800813E)) {
            found.push_back(value & 0x1F);
        }
        return found;
    }
    std::vector<std::string> logWithoutDumps() {
        std::vector<std::string> lines = model.log();
        std::erase(lines, registerDumpLine);
        return lines;
    }

    EvenPattern pattern;
    std::vector<std::uint32_t> counted;
    std::size_t nextCount = 0;
    double programmed = 50e6;
};

} // namespace client_test
