#include "benchmarks/margin/ScanRig.h"

#include "diagnosis/analysis/DiagnosticSet.h"
#include "diagnosis/analysis/LaneMargins.h"

#include <algorithm>

namespace margin_benchmark {

ScanRig::ScanRig() {
    options.scenario = "late-lane";
    options.out = folder.file("run");
    options.buffer = "16M";
    options.stopOnFull = true;
    options.quiet = true;
    session = std::make_unique<host::Session>(options, result);
    session->checkInputs();
    session->prepare();
    session->open(line, [this](Vx::Qrs::Trace::IXmtrLibrary& library) {
        transmitter.attach(library);
        return &transmitter;
    });
    session->calibrate(line);
    kept = host::valuesOf(result.calibration.value()).value();
    points = std::make_unique<host::PointRecorder>(*session, result, transmitter, kept);
    planScan();
}

/// As `orvtrace margin --quick` does.
void ScanRig::planScan() {
    plan.kept.clock = kept.delays.front();
    plan.kept.lanes.assign(kept.delays.begin() + 1, kept.delays.end());
    plan.transitionShare = points->transitionShare();
    plan.coarseBits = 20'000;
    plan.wallBits = 1'000'000;
    plan.keptBits = plan.wallBits;
    const diagnosis::DiagnosticSet set = diagnosis::readDiagnostics(session->fileStem());
    plan.bitSamples = set.sampleRate() / (2.0 * result.hertz.value());
    const diagnosis::Burst& burst = set.attempts.back().burst.value();
    for (std::size_t pin = 1; pin <= plan.kept.lanes.size(); ++pin) {
        const auto lane = diagnosis::measureLane(burst, pin);
        plan.expected.push_back(lane ? std::optional(diagnosis::ExpectedWalls{lane->setup, lane->hold}) : std::nullopt);
    }
}

diagnosis::TapCount ScanRig::measure(const diagnosis::Delays& delays, std::uint64_t bits) {
    host::PinValues values = kept;
    values.delays.front() = delays.clock;
    std::ranges::copy(delays.lanes, values.delays.begin() + 1);
    const host::Point point = points->measure(values, bits);
    diagnosis::TapCount count;
    count.bits = point.bits;
    count.astray = point.astray;
    for (const host::PointLane& lane : point.lanes) {
        count.lanes.push_back({lane.errors, lane.early, lane.late});
    }
    return count;
}

void ScanRig::scan(const Around& around) {
    diagnosis::scanEyes(plan,
                        [&](const diagnosis::Delays& delays, std::uint64_t bits) -> std::optional<diagnosis::TapCount> {
                            diagnosis::TapCount count;
                            around([&] { count = measure(delays, bits); });
                            return count;
                        });
}

ScanRig& rig() {
    static ScanRig one;
    return one;
}

} // namespace margin_benchmark
