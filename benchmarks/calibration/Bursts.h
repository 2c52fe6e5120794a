#pragma once

#include "client/analysis/Burst.h"

#include <cstdint>
#include <random>
#include <vector>

/// A burst as a unit delivers it: 8192 samples of a clock and seven data pins, 63 samples in a clock period so that all
/// lags from -31 to 31 are evaluated, data with jitter and a little skew.
class FullBurst {
public:
    FullBurst() : pins(8, std::vector<std::uint16_t>(512)) {
        constexpr double half = 31.5;
        std::mt19937 random(5);
        for (std::size_t p = 0; p < pins.size(); ++p) {
            double edge = p == 0 ? 0.0 : half / 2 + 0.4 * static_cast<double>(p);
            bool level = false;
            for (std::uint32_t s = 0; s < 8192; ++s) {
                if (s >= edge) {
                    level = p == 0 ? !level : (random() & 1) != 0;
                    edge += half + (static_cast<double>(random() % 1000) - 500) / 1000;
                }
                if (level) {
                    pins[p][s / 16] = static_cast<std::uint16_t>(pins[p][s / 16] | (1U << (s % 16)));
                }
            }
            burst.pin[p] = pins[p];
        }
        burst.numPins = 8;
        burst.length = 8192;
        burst.skip = 16;
        burst.oversampling = 2 * half;
        burst.bitSamples = 32;
    }

    VX_QRS::ORV::CLIENT::analysis::Burst burst;

private:
    std::vector<std::vector<std::uint16_t>> pins;
};
