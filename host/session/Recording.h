#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "host/session/Progress.h"
#include "rcvr/framework/CChannelDriver.h"

namespace host {

/// How a recording is to end.
struct RecordingPlan {
    double seconds = 1.0;
    bool untilFull = false;            ///< only the unit ends it
    std::filesystem::path triggerFile; ///< not empty: created instead of a stop, when the seconds are over
};

struct RecordingEnd {
    std::string state; ///< the receiver's words once the upload has ended
    bool failed = false;
    double seconds = 0.0;
};

/// Starts a recording, watches it to its end as planned or until the user interrupts, and waits for the upload.
/// Throws Failure.
RecordingEnd runRecording(Vx::Qrs::Trace::CChannelDriver& channel, const RecordingPlan& plan, ProgressLine& progress);

/// Called with the samples in their order, as they come.
using SampleSink = std::function<void(std::span<const std::uint64_t>)>;

/// Reads every sample back, as a trace view would, and gives their number. Throws Failure, also when fewer samples
/// come than the receiver announces, unless `mayEndEarly`.
std::uint64_t readBack(Vx::Qrs::Trace::CChannelDriver& channel, ProgressLine& progress, bool mayEndEarly,
                       const SampleSink& sink);

} // namespace host
