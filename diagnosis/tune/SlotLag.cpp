#include "diagnosis/tune/SlotLag.h"

#include <algorithm>
#include <cmath>

namespace diagnosis::tune {

namespace {

constexpr long mostLag = 4;

using Bits = std::vector<int>; // 1 and -1

/// A lane's bits in the pattern, once.
Bits bitsOf(const Pattern& pattern, std::size_t lanes, std::size_t lane) {
    const std::size_t slots = slotsOf(lanes);
    Bits bits;
    for (const std::uint16_t word : pattern.words) {
        for (std::size_t slot = 0; slot < slots; ++slot) {
            bits.push_back(lineBit(word, lanes, slot, lane) ? 1 : -1);
        }
    }
    return bits;
}

long periodOf(const Bits& bits) {
    const auto length = static_cast<long>(bits.size());
    for (long period = 1; period < length; ++period) {
        bool repeats = length % period == 0;
        for (long i = period; repeats && i < length; ++i) {
            repeats = bits[static_cast<std::size_t>(i)] == bits[static_cast<std::size_t>(i - period)];
        }
        if (repeats) {
            return period;
        }
    }
    return length;
}

/// The mean product of two lanes, less that of their means.
double covariance(double product, double one, double other, double count) {
    return count > 0.0 ? product / count - one / count * (other / count) : 0.0;
}

/// How a lane follows the first one in the pattern, `lag` slots later.
double expected(const Bits& first, const Bits& lane, long lag) {
    const auto length = static_cast<long>(first.size());
    double product = 0.0;
    double sum = 0.0;
    double other = 0.0;
    for (long i = 0; i < length; ++i) {
        const int a = first[static_cast<std::size_t>(i)];
        const int b = lane[static_cast<std::size_t>(((i + lag) % length + length) % length)];
        product += a * b;
        sum += a;
        other += b;
    }
    return covariance(product, sum, other, static_cast<double>(length));
}

/// The same in a burst.
double observed(const Bits& first, const Bits& lane, long lag) {
    double product = 0.0;
    double sum = 0.0;
    double other = 0.0;
    double count = 0.0;
    const auto length = static_cast<long>(std::min(first.size(), lane.size()));
    for (long i = std::max(0L, -lag); i < std::min(length, length - lag); ++i) {
        const int a = first[static_cast<std::size_t>(i)];
        const int b = lane[static_cast<std::size_t>(i + lag)];
        product += a * b;
        sum += a;
        other += b;
        count += 1.0;
    }
    return covariance(product, sum, other, count);
}

/// The level in the middle of each slot.
Bits seenBits(const Burst& burst, std::size_t proc, const Values& held, const ClockGrid& grid, const LanePlace& place) {
    const EdgeShift shift = shiftOf(held[proc]);
    const EdgeShift clock = shiftOf(held.front());
    const double middle = (place.rise + shift.rise + place.fall + shift.fall) / 2.0 - clock.rise;
    const std::vector<std::uint8_t>& levels = burst.pins[proc].levels;
    Bits bits;
    for (long slot = -2 * mostLag;; ++slot) {
        const double at = grid.origin + (static_cast<double>(slot) + 0.5) * grid.half + middle;
        if (at >= static_cast<double>(levels.size())) {
            return bits;
        }
        // Slots before the burst keep the numbering of all lanes the same.
        const bool inside = at >= 0.0;
        bits.push_back(inside && levels[static_cast<std::size_t>(at)] != 0 ? 1 : -1);
    }
}

} // namespace

std::optional<std::vector<int>> slotLags(const Burst& burst, const Values& held, const ClockGrid& grid,
                                         const RawPlaces& places, const Pattern& pattern) {
    const std::size_t lanes = places.lanes.size();
    std::vector<int> lags(lanes, 0);
    const Bits sentFirst = bitsOf(pattern, lanes, 0);
    const Bits seenFirst = seenBits(burst, 1, held, grid, places.lanes.front());
    for (std::size_t lane = 1; lane < lanes; ++lane) {
        const Bits sent = bitsOf(pattern, lanes, lane);
        const Bits seen = seenBits(burst, lane + 1, held, grid, places.lanes[lane]);
        const long reach = std::min(mostLag, (periodOf(sent) - 1) / 2);
        double best = 0.0;
        bool found = false;
        for (long distance = 0; distance <= reach; ++distance) {
            for (const long lag : {distance, -distance}) {
                double score = 0.0;
                for (long at = -reach; at <= reach; ++at) {
                    score += observed(seenFirst, seen, at) * expected(sentFirst, sent, at + lag);
                }
                if (score > best * 1.0001) {
                    best = score;
                    lags[lane] = static_cast<int>(lag);
                    found = true;
                }
            }
        }
        if (!found) {
            return std::nullopt;
        }
    }
    return lags;
}

void alignSlots(RawPlaces& places, const std::vector<int>& lags) {
    for (std::size_t i = 0; i < places.lanes.size() && i < lags.size(); ++i) {
        places.lanes[i].rise -= lags[i] * places.half;
        places.lanes[i].fall -= lags[i] * places.half;
    }
}

} // namespace diagnosis::tune
