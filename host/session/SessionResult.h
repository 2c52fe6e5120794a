#pragma once

#include "diagnosis/files/CalFile.h"
#include "diagnosis/files/RunLog.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {

/// One attempt of a calibration with what its files say.
struct AttemptResult {
    diagnosis::CalibrationAttempt attempt;
    std::optional<diagnosis::CalFile> report; ///< nothing when the attempt ended before its first measurement
};

/// Everything that a calibrated session leaves to tell.
struct SessionResult {
    std::string scenario; ///< empty without the bench
    std::string cpu;
    std::string pinMap;

    bool calibrated = false;
    double calibrationSeconds = 0.0;
    bool givenValues = false;    ///< with given values, so that no frequency was measured
    std::optional<double> hertz; ///< the trace clock that the receiver states, where it states one
    diagnosis::RunLog log;       ///< of the log or, where there is none, of the files
    std::vector<AttemptResult> attempts;
    std::optional<diagnosis::CalFile> calibration; ///< of the attempt that was kept, otherwise of the last one

    std::vector<std::pair<std::string, std::string>> files; ///< what, where
    std::string doctorTakes; ///< what `orvtrace doctor` and `report` take for this run; empty before any calibration
    std::vector<std::string> notes;    ///< what a user should know about these results
    std::vector<std::string> troubles; ///< diagnostic files that could not be read: "FILE:LINE: WHAT"
};

} // namespace host
