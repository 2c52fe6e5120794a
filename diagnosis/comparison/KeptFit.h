#pragma once

#include "diagnosis/comparison/KeptCalibration.h"

#include <string>
#include <vector>

namespace diagnosis {

/// Whether the values of an earlier calibration still fit a board.
struct KeptFit {
    bool holds() const { return reasons.empty(); }
    std::vector<std::string> reasons; ///< why not, in sentences without their full stop
    std::vector<std::string> notes;   ///< what has changed and does no harm
    bool thin = false; ///< a lane has less margin than asked for, as before: known words have to show the error rate
};

/// Holds what a burst with the kept values shows now against what they showed then. They fit where every lane has the
/// margins that the error rate asks for, or has not moved and was as thin before. `hertz` is the rate as measured now.
KeptFit fitOf(const KeptCalibration& kept, const std::vector<KeptPin>& now, double hertz, double errorRate);

} // namespace diagnosis
