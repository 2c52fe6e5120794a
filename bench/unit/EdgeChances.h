#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace bench {

/// The probability that a normal variable is below z.
inline double chanceBelow(double z) {
    return 0.5 * std::erfc(-z / std::numbers::sqrt2);
}

/// The probability that a normal value with this mean and deviation is below a limit.
inline double chanceBelow(double mean, double spread, double limit) {
    if (spread > 0.0) {
        return chanceBelow((limit - mean) / spread);
    }
    return mean < limit ? 1.0 : 0.0;
}

/// Calls visit(sample, probability) for the samples in which a clock edge can appear.
template <class Visit>
void forEachSample(double edge, double jitter, Visit&& visit) {
    if (jitter <= 0.0) {
        visit(std::ceil(edge), 1.0);
        return;
    }
    constexpr double reach = 6.0;
    double lower = 0.0;
    for (double sample = std::ceil(edge - reach * jitter); sample < edge + reach * jitter + 1.0; sample += 1.0) {
        const double upper = chanceBelow((sample - edge) / jitter);
        visit(sample, upper - lower);
        lower = upper;
    }
}

/// Enough clock edges for every position that they can have relative to the samples.
inline constexpr int clockEdgesInAll = 128;

struct PathTiming;

/// Where samples are taken inside a slot, over all clock edges and their jitter: the probability of a wrong sample as a
/// function of the position of a single data edge. For lines whose edges depend on the content.
class EdgeChances {
public:
    EdgeChances(const PathTiming& clock, const PathTiming& data, double halfPeriod, std::int64_t slot);

    /// Of a sample before the edge at the start of its slot, or after the one at its end. `edge` is the edge's mean
    /// distance from the nominal slot boundary.
    double early(double edge) const { return 1.0 - chanceUpTo(edge); }
    double late(double edge) const { return chanceUpTo(half + edge); }

private:
    struct Place {
        double sample;
        double weight;
    };
    double chanceUpTo(double edge) const; // that an edge is at or before the sample

    double half;
    double jitter; // of the data edge
    std::vector<Place> places;
};

} // namespace bench
