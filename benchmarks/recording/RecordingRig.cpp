#include "benchmarks/recording/RecordingRig.h"

#include "common/source/Exception.h"

#include <ctime>
#include <stdexcept>
#include <thread>

namespace recording_benchmark {

using namespace VX_QRS::ORV::CLIENT;

namespace {

std::int64_t nanoseconds() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

bench_run::Target targetOf(Filling filling) {
    bench_run::Target target;
    target.frequency = 12.5e6;
    target.speed = filling == Filling::Slow ? 1.0 : 400.0;
    return target;
}

} // namespace

void TimedWaits::sleep(std::uint32_t milliseconds) {
    orderedMilliseconds += milliseconds;
    ++count;
    since = nanoseconds();
    systemWaits().sleep(milliseconds);
    total += nanoseconds() - since.exchange(0);
}

double TimedWaits::slept() const {
    const std::int64_t begun = since;
    return static_cast<double>(total + (begun != 0 ? nanoseconds() - begun : 0)) / 1e9;
}

RecordingRig::RecordingRig(Filling filling) : bench(targetOf(filling)) {
    bench_run::untilServerListens(
        [&] {
            try {
                frontEnd = std::make_unique<FrontEnd_1>(serverDataClient(), waits);
            } catch (const Exception&) {
                // Repeated.
            }
        },
        [&] { return frontEnd == nullptr; });
    if (frontEnd == nullptr) {
        throw std::runtime_error("no data server");
    }
    channel = frontEnd->alloc("bench/app", xmtr.object, 0, 0, 0, &settings);
    const std::string path = bench.folder.file("props.txt");
    test_support::writeText(path, "[Global]\norv=bench\n[Channel 0]\nfile=" + bench.folder.file("trace") +
                                      "\npinMap=0,1,2,3,4\norvBufSize=9\n");
    frontEnd->setProperty("propsFile", path.c_str());
    channel->setProperty("propsFile", path.c_str());
    channel->applySettings();
    channel->calibrate();
}

RecordingRig::~RecordingRig() {
    if (frontEnd != nullptr) {
        frontEnd->release(channel);
    }
}

ChannelMetrics RecordingRig::status() {
    ChannelMetrics now;
    channel->status(now);
    return now;
}

void RecordingRig::waitUntilDone() {
    while (!status().threadDone) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

RecordingRig& rig(Filling filling) {
    static std::unique_ptr<RecordingRig> one;
    static Filling present = filling;
    if (one == nullptr || present != filling) {
        one.reset();
        one = std::make_unique<RecordingRig>(filling);
        present = filling;
    }
    return *one;
}

double processorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

} // namespace recording_benchmark
