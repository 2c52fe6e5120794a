#include "host/session/Recording.h"

#include <chrono>
#include <fstream>
#include <thread>
#include <vector>

#include "host/session/Receiver.h"

namespace host {

using Vx::Qrs::Trace::CChannelDriver;
using Vx::Qrs::Trace::ChannelStatus;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto pollInterval = std::chrono::milliseconds(10);
constexpr const char* uploadedMark = "upload complete";

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

ChannelStatus statusOf(CChannelDriver& channel, ProgressLine& progress, std::optional<double> expected = {}) {
    ChannelStatus status;
    guarded(ExitCode::RecordingError, [&] { channel.GetChannelStatus(&status); });
    ProgressStep step = stepOfStatus(status.text);
    if (status.stoppable)
        step.expectedSeconds = expected;
    progress.show(step);
    return status;
}

/// Until the channel no longer records; the end is asked for when it is due.
void waitForEnd(CChannelDriver& channel, const RecordingPlan& plan, ProgressLine& progress, Clock::time_point start) {
    bool triggered = false;
    const std::optional<double> expected = plan.untilFull ? std::nullopt : std::optional(plan.seconds);
    while (statusOf(channel, progress, expected).stoppable) {
        const bool due = !plan.untilFull && secondsSince(start) >= plan.seconds;
        if (interrupted() || (due && plan.triggerFile.empty())) {
            guarded(ExitCode::RecordingError, [&] { channel.StopRecording(); });
        } else if (due && !triggered) {
            std::ofstream(plan.triggerFile).put('\n');
            triggered = true;
        }
        std::this_thread::sleep_for(pollInterval);
    }
}

} // namespace

RecordingEnd runRecording(CChannelDriver& channel, const RecordingPlan& plan, ProgressLine& progress) {
    RecordingEnd end;
    guarded(ExitCode::RecordingError, [&] { channel.StartRecording(false); });
    const auto start = Clock::now();
    waitForEnd(channel, plan, progress, start);
    end.seconds = secondsSince(start);
    // The code alone does not tell that the upload has ended: before its first byte it looks finished.
    ChannelStatus status = statusOf(channel, progress);
    while (status.text.find(uploadedMark) == std::string::npos) {
        std::this_thread::sleep_for(pollInterval);
        status = statusOf(channel, progress);
    }
    progress.clear();
    end.state = status.text;
    end.failed = status.code == ChannelStatus::eError;
    return end;
}

std::uint64_t readBack(CChannelDriver& channel, ProgressLine& progress, bool mayEndEarly, const SampleSink& sink) {
    constexpr unsigned chunk = 8192;
    unsigned total = 0;
    guarded(ExitCode::RecordingError, [&] { total = channel.GetNumSamples(); });
    std::vector<std::uint64_t> samples(chunk);
    std::uint64_t count = 0;
    for (unsigned start = 0; start < total;) {
        unsigned read = 0;
        guarded(ExitCode::RecordingError, [&] { channel.SeekReadTraceData(start, chunk, samples.data(), &read); });
        if (read == 0 && mayEndEarly)
            break;
        if (read == 0)
            throw Failure(ExitCode::RecordingError, "the receiver announces " + std::to_string(total) +
                                                        " samples but its file holds only " + std::to_string(start) +
                                                        "; is the disk full?");
        sink(std::span(samples).first(read));
        start += read;
        count += read;
        progress.show({"reading back", {}, static_cast<double>(count) / total, "read", {}});
    }
    progress.clear();
    return count;
}

} // namespace host
