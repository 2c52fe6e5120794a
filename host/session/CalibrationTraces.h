#pragma once

#include "host/session/SessionResult.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// The receiver's traces of one calibration: its files, and its answers about it.
struct CalibrationTraces {
    std::filesystem::path stem; ///< of the diagnostic files
    std::string log;            ///< its lines of the log; empty where the receiver wrote none
    bool calibrated = false;
    bool givenValues = false;        ///< the receiver calibrates with given values and measures no frequency
    std::optional<double> hertz;     ///< the trace clock that the receiver states
    std::vector<double> frequencies; ///< Hz by setting, as measured
};

/// Fills the calibration of the result, its attempts and its report. The receiver writes no log on a disk with less than
/// 5 MB of free space, and a log that ends too early on a full one: then the result comes from the diagnostic files as far
/// as they go.
void takeTraces(const CalibrationTraces& traces, SessionResult& result);

/// Whether the log's end is there: it names the setting whose clock the receiver states.
bool isComplete(const diagnosis::RunLog& log, const CalibrationTraces& traces);

/// "50000000.000000,100000000.00000" as numbers; the list ends at the first text that is none.
std::vector<double> frequenciesOf(const std::string& attribute);

} // namespace host
