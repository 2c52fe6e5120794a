#include "host/session/Recording.h"

#include "host/platform/InterruptAnswer.h"
#include "host/session/Receiver.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <fstream>
#include <string_view>
#include <thread>
#include <vector>
#include <zlib.h>

namespace host {

using toolkit::ExitCode;
using Vx::Qrs::Trace::CChannelDriver;
using Vx::Qrs::Trace::ChannelStatus;
using Clock = std::chrono::steady_clock;

namespace {

constexpr bool unusedFlag = false; ///< argument of StartRecording()
constexpr unsigned chunk = 8192;   ///< samples that are read back at once
constexpr std::string_view uploadedMark = "upload complete";
constexpr double errorGrace = 2.0; // seconds
/// While it records: a status then costs the transmitter a question.
constexpr std::chrono::milliseconds recordingPoll(10);

/// Short against the wait so far: a short upload does not last longer by it, and a long one costs little.
Clock::duration uploadPoll(Clock::duration waited) {
    return std::clamp<Clock::duration>(waited / 64, std::chrono::microseconds(100), std::chrono::milliseconds(1));
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

ChannelStatus statusOf(CChannelDriver& channel, ProgressLine& progress, std::optional<double> expected = {}) {
    ChannelStatus status;
    guarded(ExitCode::RecordingError, [&] { channel.GetChannelStatus(&status); });
    ProgressStep step = stepOfStatus(status.text);
    if (status.stoppable) {
        step.expectedSeconds = expected;
    }
    progress.show(step);
    return status;
}

/// Until the channel no longer records; the end is asked for when it is due.
void waitForEnd(CChannelDriver& channel, const RecordingPlan& plan, ProgressLine& progress, Clock::time_point start) {
    const InterruptAnswer answer("stopping the recording");
    bool triggered = false;
    const std::optional<double> expected = plan.untilFull ? std::nullopt : std::optional(plan.seconds);
    for (;;) {
        const bool due = !plan.untilFull && secondsSince(start) >= plan.seconds;
        if (interrupted() || (due && plan.triggerFile.empty())) {
            guarded(ExitCode::RecordingError, [&] { channel.StopRecording(); });
        } else if (due && !triggered) {
            std::ofstream(plan.triggerFile).put('\n');
            triggered = true;
        }
        if (!statusOf(channel, progress, expected).stoppable) {
            return;
        }
        const std::chrono::duration<double> rest(due || plan.untilFull ? 1.0 : plan.seconds - secondsSince(start));
        std::this_thread::sleep_for(std::min<std::chrono::duration<double>>(recordingPoll, rest));
    }
}

/// The code alone does not show the end of the upload: before its first byte it looks finished. But after an error without
/// a byte the upload may never end, as when the system refused the receiver its thread.
ChannelStatus waitForUpload(CChannelDriver& channel, ProgressLine& progress) {
    const auto begin = Clock::now();
    ChannelStatus status = statusOf(channel, progress);
    while (status.text.find(uploadedMark) == std::string::npos &&
           (status.code != ChannelStatus::eError || secondsSince(begin) < errorGrace)) {
        std::this_thread::sleep_for(uploadPoll(Clock::now() - begin));
        status = statusOf(channel, progress);
    }
    return status;
}

/// The receiver adds the reason of an error to its words about the upload, in whatever state the recording ended.
std::string reasonIn(const std::string& status) {
    constexpr std::string_view separator = " : ";
    const std::size_t mark = status.find(uploadedMark);
    const std::string rest = mark == std::string::npos ? std::string() : status.substr(mark + uploadedMark.size());
    return rest.starts_with(separator) ? rest.substr(separator.size()) : std::string();
}

/// The number of captured samples is unknown: the receiver counts those in transit twice.
std::string cameText(const ReadBack& back) {
    return back.samples == 0 ? "no samples came"
                             : "the " + std::to_string(back.samples) + " samples that came are kept";
}

} // namespace

RecordingEnd runRecording(CChannelDriver& channel, const RecordingPlan& plan, ProgressLine& progress) {
    RecordingEnd end;
    guarded(ExitCode::RecordingError, [&] { channel.StartRecording(unusedFlag); });
    const auto start = Clock::now();
    waitForEnd(channel, plan, progress, start);
    end.seconds = secondsSince(start);
    const InterruptAnswer answer("stopping when what was captured is uploaded");
    const ChannelStatus status = waitForUpload(channel, progress);
    progress.clear();
    end.state = status.text;
    end.error = reasonIn(status.text);
    end.failed = status.code == ChannelStatus::eError || !end.error.empty();
    if (end.failed && end.error.empty()) {
        end.error = end.state;
    }
    return end;
}

SampleReader::SampleReader(CChannelDriver& used, ProgressLine& line) : channel(used), progress(line), samples(chunk) {
    unsigned total = 0;
    guarded(ExitCode::RecordingError, [&] { total = channel.GetNumSamples(); });
    back.announced = total;
}

std::span<const std::uint64_t> SampleReader::next() {
    unsigned read = 0;
    if (back.samples < back.announced) {
        const auto start = static_cast<unsigned>(back.samples);
        guarded(ExitCode::RecordingError, [&] { channel.SeekReadTraceData(start, chunk, samples.data(), &read); });
    }
    if (read == 0) {
        progress.clear();
        return {};
    }
    back.samples += read;
    progress.show(
        {"reading back", {}, static_cast<double>(back.samples) / static_cast<double>(back.announced), "read", {}});
    return std::span(samples).first(read);
}

ReadBack readBack(CChannelDriver& channel, ProgressLine& progress, const SampleSink& sink) {
    SampleReader reader(channel, progress);
    for (auto samples = reader.next(); !samples.empty(); samples = reader.next()) {
        sink(samples);
    }
    return reader.soFar();
}

std::uint32_t checksumOf(std::uint32_t earlier, std::span<const std::uint64_t> samples) {
    static_assert(std::endian::native == std::endian::little, "bytes in memory are those of a file");
    if (samples.empty()) {
        return earlier; // zlib returns its initial value for a null pointer
    }
    const std::span<const std::byte> bytes = std::as_bytes(samples);
    return static_cast<std::uint32_t>(crc32_z(earlier, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

std::optional<toolkit::Failure> faultOf(const RecordingEnd& end, const ReadBack& back) {
    if (end.failed) {
        return toolkit::Failure(ExitCode::RecordingError, end.error + "; " + cameText(back));
    }
    if (back.whole()) {
        return std::nullopt;
    }
    return toolkit::Failure(ExitCode::RecordingError, "the receiver announces " + std::to_string(back.announced) +
                                                          " samples but its file holds only " +
                                                          std::to_string(back.samples) + "; is the disk full?");
}

} // namespace host
