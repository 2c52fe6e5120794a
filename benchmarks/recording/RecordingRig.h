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

private:
    std::atomic<std::int64_t> total{0}; // nanoseconds
    std::atomic<std::int64_t> since{0}; // start of the current sleep, nanoseconds of the clock; 0 for none
};

/// A calibrated channel over the bench's server process. One per process.
class RecordingRig {
public:
    RecordingRig();
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

/// The rig of this process, created by the first call.
RecordingRig& rig();

/// Processor time of this process in seconds, all threads.
double processorSeconds();

} // namespace recording_benchmark
