#pragma once

#include "diagnosis/margin/EyeScan.h"
#include "host/verification/Point.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <functional>
#include <memory>

namespace margin_benchmark {

/// A session of orvtrace on the bench's scenario "late-lane", calibrated, and a recorder of its points.
class ScanRig {
public:
    ScanRig();
    ScanRig(const ScanRig&) = delete;
    ScanRig& operator=(const ScanRig&) = delete;

    /// A quick scan, each point of which goes through `around`.
    using Around = std::function<void(const std::function<void()>& measure)>;
    void scan(const Around& around);

private:
    void planScan();
    diagnosis::TapCount measure(const diagnosis::Delays& delays, std::uint64_t bits);

    test_support::TemporaryFolder folder;
    host::SessionResult result;
    host::PatternTransmitter transmitter;
    host::ProgressLine line{host::ProgressStyle::Quiet};
    host::SessionOptions options;
    std::unique_ptr<host::Session> session;
    host::PinValues kept;
    diagnosis::ScanPlan plan;
    std::unique_ptr<host::PointRecorder> points;
};

/// The one of this process.
ScanRig& rig();

} // namespace margin_benchmark
