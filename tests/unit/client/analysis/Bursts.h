#pragma once

#include "client/analysis/Burst.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Bursts to test with: drawn ones and random ones.

namespace bursts {

using VX_QRS::ORV::CLIENT::analysis::Burst;

/// Equal in every bit, or both not a number.
inline bool same(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// A burst that owns its samples.
class OwnedBurst {
public:
    OwnedBurst(std::uint32_t numPins, std::uint32_t words) : pins(numPins, std::vector<std::uint16_t>(words)) {
        burst.numPins = numPins;
        burst.length = words * 16;
        burst.skip = 16;
    }
    OwnedBurst(OwnedBurst&&) = default;
    const Burst& view() {
        for (std::size_t p = 0; p < pins.size(); ++p) {
            burst.pin[p] = pins[p];
        }
        return burst;
    }
    void set(std::uint32_t pin, std::uint32_t position, bool level) {
        const auto mask = static_cast<std::uint16_t>(1U << (position % 16));
        std::uint16_t& word = pins.at(pin).at(position / 16);
        word = static_cast<std::uint16_t>(level ? word | mask : word & ~mask);
    }
    /// Levels from a drawing, as in "0001111", from a position on; the last level goes on to the end.
    void draw(std::uint32_t pin, std::string_view levels, std::uint32_t from = 0) {
        for (std::uint32_t s = from; s < burst.length; ++s) {
            const std::size_t i = s - from < levels.size() ? s - from : levels.size() - 1;
            set(pin, s, levels[i] == '1');
        }
    }
    /// A square wave: the level toggles at `first`, first + half, and so on.
    void square(std::uint32_t pin, double first, double half, bool startLevel = false) {
        for (std::uint32_t s = 0; s < burst.length; ++s) {
            const auto toggles = static_cast<std::int64_t>(std::floor((s - first) / half)) + 1;
            set(pin, s, ((toggles % 2 + 2) % 2 != 0) != startLevel);
        }
    }

    Burst burst;
    std::vector<std::vector<std::uint16_t>> pins;
};

/// Words from a drawing, the earliest sample first.
inline std::vector<std::uint16_t> drawn(std::string_view levels) {
    std::vector<std::uint16_t> words((levels.size() + 15) / 16);
    for (std::size_t s = 0; s < levels.size(); ++s) {
        if (levels[s] == '1') {
            words[s / 16] = static_cast<std::uint16_t>(words[s / 16] | (1U << (s % 16)));
        }
    }
    return words;
}

/// Any burst that a unit could deliver, and many that none would.
class Generator {
public:
    explicit Generator(std::uint32_t seed) : random(seed) {}

    std::uint32_t below(std::uint32_t n) { return static_cast<std::uint32_t>(random() % n); }
    double uniform() { return static_cast<double>(random() >> 32) / 4294967296.0; }

    OwnedBurst next() {
        const std::uint32_t words = below(400) == 0 ? 512 : 1 + below(36);
        OwnedBurst result(2 + below(7), words);
        rate(result.burst);
        const double half = result.burst.oversampling > 1.0 && result.burst.oversampling < 1000.0
                                ? result.burst.oversampling / 2
                                : 1.0 + 40.0 * uniform();
        const bool clean = below(2) == 0; // so that results with a meaning are met often enough
        for (std::uint32_t p = 0; p < result.burst.numPins; ++p) {
            fill(result, p, half, clean);
        }
        return result;
    }

private:
    void rate(Burst& burst) {
        constexpr double sampleRate = 1.4e9;
        switch (below(12)) {
        case 0:
            burst.oversampling = sampleRate / std::exp(std::log(11.0) + uniform() * std::log(3.5e8 / 11.0));
            break;
        case 1:
            burst.oversampling =
                std::initializer_list<double>{
                    0.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN(), 1e10, 1e20,
                    0.3}
                    .begin()[below(6)];
            break;
        case 2:
            burst.oversampling = 4.0 + below(120); // a whole number of samples
            break;
        default:
            burst.oversampling = sampleRate / std::exp(std::log(8e6) + uniform() * std::log(3.5e8 / 8e6));
        }
        const double rounded = burst.oversampling / 2 + 0.5;
        burst.bitSamples = rounded >= 0 && rounded < 4e9 ? static_cast<std::uint32_t>(rounded) : 0;
    }

    void fill(OwnedBurst& b, std::uint32_t pin, double half, bool clean) {
        const std::uint32_t length = b.burst.length;
        switch (clean ? 0 : below(8)) {
        case 0:
        case 1: { // toggles at multiples of the half period, or not, with jitter and an uneven duty
            double edge = half * uniform();
            const double jitter = clean ? 0.3 : 2.0 * uniform();
            const double duty = clean ? 0.0 : uniform() - 0.5;
            const double toggling = pin == 0 ? 1.0 : 0.5;
            bool now = below(2) != 0;
            double at = edge;
            for (std::uint32_t s = 0; s < length; ++s) {
                while (s >= at) {
                    if (uniform() < toggling) {
                        now = !now;
                    }
                    edge += half;
                    at = edge + jitter * (uniform() - 0.5) + (now ? duty : 0.0);
                }
                b.set(pin, s, now);
            }
            break;
        }
        case 2: // noise
            for (std::uint16_t& word : b.pins[pin]) {
                word = static_cast<std::uint16_t>(random() & 0xFFFF);
            }
            break;
        case 3: // stuck
            b.draw(pin, below(2) != 0 ? "1" : "0");
            break;
        case 4: // a single edge
            b.draw(pin, below(2) != 0 ? "01" : "10", below(length));
            b.draw(pin, below(2) != 0 ? "0" : "1", below(length));
            break;
        case 5: // in the first word
            b.draw(pin, below(2) != 0 ? "0001" : "110", below(13));
            break;
        case 6: // in the last word, the last sample included
            b.draw(pin, below(2) != 0 ? "1" : "0");
            b.draw(pin, below(2) != 0 ? "0" : "1", length - 1 - below(16));
            break;
        default: { // runs of any length
            bool now = below(2) != 0;
            std::uint32_t left = 0;
            for (std::uint32_t s = 0; s < length; ++s) {
                if (left-- == 0) {
                    now = !now;
                    left = below(60);
                }
                b.set(pin, s, now);
            }
        }
        }
    }

    std::mt19937_64 random;
};

} // namespace bursts
