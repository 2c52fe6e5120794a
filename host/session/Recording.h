#pragma once

#include "host/platform/InterruptAnswer.h"
#include "host/session/Progress.h"
#include "rcvr/framework/CChannelDriver.h"
#include "toolkit/ExitCode.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace host {

/// How a recording ends.
struct RecordingPlan {
    double seconds = 1.0;
    bool untilFull = false;            ///< only the unit ends it
    std::filesystem::path triggerFile; ///< not empty: created after the seconds, instead of a stop
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

/// Samples that were read back and that the receiver announces. There are fewer on a full disk, and after an error in an
/// upload, when the announced number counts samples in transit twice.
struct ReadBack {
    std::uint64_t announced = 0;
    std::uint64_t samples = 0;
    bool whole() const { return samples >= announced; }
};

/// Reads samples back in their order, as a trace view would. Throws Failure.
class SampleReader {
public:
    SampleReader(Vx::Qrs::Trace::CChannelDriver& used, ProgressLine& line);

    /// The next samples, valid until the next call; none past the last one that came.
    std::span<const std::uint64_t> next();
    const ReadBack& soFar() const { return back; }

private:
    Vx::Qrs::Trace::CChannelDriver& channel;
    ProgressLine& progress;
    InterruptAnswer answer{"stopping when what was captured is read back"};
    std::vector<std::uint64_t> samples;
    ReadBack back;
};

/// Reads every sample back, to the last one that came. Throws Failure.
ReadBack readBack(Vx::Qrs::Trace::CChannelDriver& channel, ProgressLine& progress, const SampleSink& sink);

/// Continues a CRC-32 over samples as a file has them, lowest byte first; start with 0.
std::uint32_t checksumOf(std::uint32_t earlier, std::span<const std::uint64_t> samples);

/// The fault of a recording, the receiver's reason first; nothing if it has none.
std::optional<toolkit::Failure> faultOf(const RecordingEnd& end, const ReadBack& back);

} // namespace host
