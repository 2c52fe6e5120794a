#pragma once

#include "diagnosis/comparison/KeptFit.h"
#include "host/calibration/ChosenValues.h"

#include <optional>
#include <string>
#include <vector>

namespace host {

/// Whether an earlier calibration was used again.
struct ReuseAnswer {
    bool reused = false;
    std::vector<std::string> reasons; ///< why not
    std::vector<std::string> notes;
};

/// Why no run can use this calibration again; empty if one can.
std::string reuseObstacle(const diagnosis::KeptCalibration& kept);

/// Costs about 0.2 s at any rate.
double reuseErrorRate(double bitsPerSecond);

/// Sets up the unit with the values of an earlier calibration at its rate, holds rate and margins against those of then,
/// and compares known words, to `errorRate` or by reuseErrorRate(). A session for which they do not fit is left as before
/// a calibration; one for which they do has calibrated, and its checks say with what. Throws Failure.
ReuseAnswer reuse(const diagnosis::KeptCalibration& kept, ChosenValues& values, PatternTransmitter& transmitter,
                  SessionResult& result, diagnosis::WordCheck::When when, std::optional<double> errorRate);

} // namespace host
