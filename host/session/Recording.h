#pragma once

#include "host/session/Progress.h"
#include "rcvr/framework/CChannelDriver.h"
#include "toolkit/ExitCode.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace host {

/// How a recording is to end.
struct RecordingPlan {
    double seconds = 1.0;
    bool untilFull = false;            ///< only the unit ends it
    std::filesystem::path triggerFile; ///< not empty: created instead of a stop, when the seconds are over
};

struct RecordingEnd {
    std::string state;   ///< the receiver's words once the upload has ended
    std::string error;   ///< the receiver's reason when `failed`
    bool failed = false; ///< an error ended the recording, or the upload after it
    double seconds = 0.0;
};

/// Starts a recording, watches it to its end as planned or until the user interrupts, and waits for the upload.
/// Throws Failure.
RecordingEnd runRecording(Vx::Qrs::Trace::CChannelDriver& channel, const RecordingPlan& plan, ProgressLine& progress);

/// Called with the samples in their order, as they come.
using SampleSink = std::function<void(std::span<const std::uint64_t>)>;

/// How many samples were read back, of those that the receiver announces. A full disk leaves fewer, and so does an
/// error in an upload, after which the announced number counts samples twice that were on their way.
struct ReadBack {
    std::uint64_t announced = 0;
    std::uint64_t samples = 0;
    bool whole() const { return samples >= announced; }
};

/// Reads every sample back, as a trace view would, to the last one that came. Throws Failure.
ReadBack readBack(Vx::Qrs::Trace::CChannelDriver& channel, ProgressLine& progress, const SampleSink& sink);

/// What went wrong with a recording, the receiver's reason first; nothing when all is in order.
std::optional<toolkit::Failure> faultOf(const RecordingEnd& end, const ReadBack& back);

} // namespace host
