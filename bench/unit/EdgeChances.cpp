#include "bench/unit/EdgeChances.h"

#include "bench/unit/DataPath.h"

namespace bench {

EdgeChances::EdgeChances(const PathTiming& clock, const PathTiming& data, double halfPeriod, std::int64_t slot)
    : half(halfPeriod), jitter(data.jitter) {
    for (int edge = 0; edge < clockEdgesInAll; ++edge) {
        const double at = edge * half + clock.phase + (edge % 2 == 0 ? clock.rise : clock.fall);
        const double begin = (edge + static_cast<double>(slot)) * half + data.phase;
        forEachSample(at, clock.jitter, [&](double sample, double weight) {
            places.push_back({sample - begin, weight / clockEdgesInAll});
        });
    }
}

double EdgeChances::chanceUpTo(double edge) const {
    constexpr double certain = 9.0; // deviations
    double sum = 0.0;
    for (const Place& place : places) {
        const double distance = place.sample - edge;
        if (distance > certain * jitter || (jitter <= 0.0 && distance >= 0.0)) {
            sum += place.weight;
        } else if (distance > -certain * jitter) {
            sum += place.weight * chanceBelow(distance / jitter);
        }
    }
    return sum;
}

} // namespace bench
