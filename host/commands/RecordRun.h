#pragma once

#include "host/results/ResultText.h"
#include "host/session/Session.h"
#include "host/verification/WordVerification.h"

#include <string>

// A calibration, and the recordings that follow it.

namespace host {

struct RecordOptions {
    SessionOptions session;
    double seconds = 1.0;     ///< length of the recording
    bool untilFull = false;   ///< record until the unit's buffer is full instead
    bool triggerFile = false; ///< end by the trigger file instead of a stop
    bool wrap = false;        ///< let the buffer wrap
    unsigned repeat = 1;      ///< 0: calibrate only
    std::string save;         ///< trace data file
    std::string raw;          ///< raw copy
    bool verify = false;      ///< compare known words
    std::string calibration;  ///< place of an earlier one to use again
    bool tune = false;        ///< search values where the receiver's are not sound
    bool noVerify = false;    ///< not even where the receiver's own verification looks at no words
    double errorRate = usualErrorRate;
};

/// From the inputs to the files of the run. `result` has what came also when this throws Failure.
void runRecord(const RecordOptions& options, RecordResult& result);

} // namespace host
