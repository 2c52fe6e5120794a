#pragma once

#include "client/FrontEndChannel.h"
#include "client/frontend/FrontEnd_1.h"
#include "client/frontend/Waits.h"
#include "common/source/ChannelSettings.h"
#include "tests/support/bench_run/BenchRun.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>

namespace recording_benchmark {

using Clock = std::chrono::steady_clock;

/// Real sleeps, timed.
class TimedWaits final : public VX_QRS::ORV::CLIENT::Waits {
public:
    void sleep(std::uint32_t milliseconds) override;
    /// Seconds spent in sleeps so far by all threads, including the current sleep.
    double slept() const;
    /// Seconds of all sleeps that were asked for so far.
    double ordered() const { return static_cast<double>(orderedMilliseconds) / 1e3; }
    std::uint64_t sleeps() const { return count; }

private:
    std::atomic<std::int64_t> total{0}; // nanoseconds
    std::atomic<std::uint64_t> orderedMilliseconds{0};
    std::atomic<std::uint64_t> count{0};
    std::atomic<std::int64_t> since{0}; // start of the current sleep, nanoseconds of the clock; 0 for none
};

/// How fast the unit's buffer fills.
enum class Filling {
    Slow, ///< not within a measurement
    Fast  ///< 128 MiB within 30 ms
};

/// A calibrated channel over the bench's server process. One at a time.
class RecordingRig {
public:
    explicit RecordingRig(Filling filling);
    RecordingRig(const RecordingRig&) = delete;
    RecordingRig& operator=(const RecordingRig&) = delete;
    ~RecordingRig();

    VX_QRS::ORV::CLIENT::ChannelMetrics status();
    void waitUntilDone();

    bench_run::BenchRun bench;
    bench_run::XmtrLibrary xmtr;
    TimedWaits waits;
    VX_QRS::ORV::CLIENT::ChannelSettings settings;
    std::unique_ptr<VX_QRS::ORV::CLIENT::FrontEnd_1> frontEnd;
    VX_QRS::ORV::CLIENT::FrontEndChannel* channel = nullptr;
};

/// The rig of this process. Another filling than that of the call before makes another rig.
RecordingRig& rig(Filling filling = Filling::Slow);

inline constexpr std::uint32_t uploadedBytes = 0x8000000; ///< of a full buffer

/// Processor time of this process in seconds, all threads.
double processorSeconds();

} // namespace recording_benchmark
