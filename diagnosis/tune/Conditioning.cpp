#include "diagnosis/tune/Conditioning.h"

#include "diagnosis/analysis/LaneMargins.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace diagnosis::tune {

namespace {

constexpr int strongestFilter = 7;

struct Row {
    double from; ///< samples in a period, less the receiver's allowance
    int filter, plateau, debounce;
};
// Below 10 the receiver leaves the filter as it is, which is the strongest by default.
constexpr std::array table{Row{14.0, 7, 7, 8},
                           Row{12.0, 3, 7, 8},
                           Row{10.0, 1, 7, 8},
                           Row{8.0, strongestFilter, 7, 8},
                           Row{7.0, strongestFilter, 7, 7},
                           Row{6.0, strongestFilter, 5, 6},
                           Row{5.0, strongestFilter, 5, 5},
                           Row{4.0, strongestFilter, 3, 4},
                           Row{3.0, strongestFilter, 3, 3},
                           Row{0.0, strongestFilter, 3, 0}};

} // namespace

PinValue receiversConditioning(double samplesOfPeriod) {
    constexpr double allowance = 0.85;
    const double samples = samplesOfPeriod * allowance;
    const auto row =
        std::find_if(table.begin(), table.end() - 1, [&](const Row& each) { return samples >= each.from; });
    return {.delay = 0, .stretch = 0, .debounce = row->debounce, .filter = row->filter, .plateau = row->plateau};
}

PinValue conditioningFor(double samplesOfPeriod, double shortest, double jitter, double errorRate) {
    PinValue value = receiversConditioning(samplesOfPeriod);
    // A debounce of n removes pulses shorter than n / 2 samples.
    const double reach = (deviationsAt(errorRate) + 1.0) * std::numbers::sqrt2 * std::max(jitter, 0.1);
    value.debounce = std::clamp(static_cast<int>(std::floor(2.0 * (shortest - reach))), 0, value.debounce);
    return value;
}

} // namespace diagnosis::tune
