#include "tests/simulation/scenarios/channel/ChannelRig.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/backend/Files.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scenarios/ChannelCall.h"
#include "tests/simulation/scenarios/ProcessFolder.h"
#include "tests/simulation/scenarios/Scenario.h"
#include "tests/simulation/scenarios/doubles/ServerSubstitute.h"
#include "tests/simulation/scheduler/Scheduler.h"
#include "tests/support/register_model/ChannelInspector.h"

#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <new>
#include <vector>

namespace simulation {

using namespace VX_QRS::ORV::CLIENT;

ChannelRig::ChannelRig(Unit kind, const std::string& lines)
    : bench(kind == Unit::bench ? std::make_unique<BenchDouble>() : nullptr),
      client(bench != nullptr ? bench->client() : unitDouble) {
    const std::string path = processFolder() + "/props.txt";
    {
        std::ofstream file(path);
        file << "[Global]\norv=unit\n[Channel 0]\nfile=" << processFolder() << "/trace\npinMap=0,1,2,3,4\n" << lines;
        std::filesystem::remove(binPath());
    }
    ready = open(path);
}

bool ChannelRig::open(const std::string& propertiesFile) {
    substituteServer(&client);
    const bool opened = attempt([&] {
        Transmitter* sender = bench != nullptr ? &bench->transmitter() : static_cast<Transmitter*>(&transmitter);
        frontEnd = std::make_unique<FrontEnd_1>(substituteFactory());
        object = std::make_unique<FrontEndChannel_1>(frontEnd.get(), sender);
        frontEnd->setProperty("propsFile", propertiesFile.c_str());
        object->setProperty("propsFile", propertiesFile.c_str());
        object->applySettings();
    });
    if (opened && bench == nullptr) {
        ChannelInspector{*object}.control().state = Calibrated;
    }
    return opened;
}

bool ChannelRig::calibrate() {
    return change([&] { object->calibrate(); });
}

ChannelRig::~ChannelRig() {
    if (ready) {
        recover();
    }
    attempt([&] { object.reset(); });
    attempt([&] { frontEnd.reset(); });
}

bool ChannelRig::change(const std::function<void()>& operation) {
    ++changes;
    lastSeen.clear();
    const bool done = attempt(operation);
    ++changes;
    lastSeen.clear();
    return done;
}

bool ChannelRig::start() {
    return change([&] { object->start(false); });
}

void ChannelRig::stop() {
    attempt([&] { object->stop(); });
}

ChannelMetrics ChannelRig::look() {
    ChannelMetrics metrics;
    const unsigned changesBefore = changes;
    if (attempt([&] { object->status(metrics); })) {
        expect(!metrics.hasError || std::strlen(metrics.errorText) != 0, "error without a text", "status");
        expect(bench != nullptr || metrics.bytesReady + metrics.bytesTotal <= unitDouble.capacity,
               "bytes counted twice",
               std::to_string(metrics.bytesReady) + " on the unit and " + std::to_string(metrics.bytesTotal) +
                   " in the file of " + std::to_string(unitDouble.capacity));
        judgeState(metrics.state, changesBefore);
    }
    return metrics;
}

/// Between two changes a state stays, or a recording ends.
void ChannelRig::judgeState(std::int32_t state, unsigned changesBefore) {
    expect(state >= Uncalibrated && state <= Stopped, "state", std::to_string(state));
    if (changesBefore != changes || changes % 2 != 0) {
        return;
    }
    const auto [last, isFirst] = lastSeen.try_emplace(Scheduler::instance().self(), state);
    expect(isFirst || state == last->second || (last->second == Recording && state >= Failed), "state",
           std::to_string(state) + " after " + std::to_string(last->second));
    last->second = state;
}

void ChannelRig::awaitEnd() {
    constexpr std::uint32_t pollInterval = 10; // milliseconds
    for (ChannelMetrics metrics = look(); !metrics.threadDone && !metrics.threadAbsent; metrics = look()) {
        VX_QRS::uThread::sleep(pollInterval);
    }
    expect(filesLeftOpen() == 0, "done too early", "the recording's file is open when the thread is done");
}

void ChannelRig::judgeRecording() {
    const ChannelMetrics metrics = look();
    if (metrics.hasError) {
        expect(Faults::instance().haveFailed(), "failed without a fault", metrics.errorText);
    }
    if (!metrics.threadDone || metrics.hasError) {
        return;
    }
    const std::vector<std::uint8_t> file = contentOf(binPath());
    const bool isWhole = bench != nullptr || client.delivered() == unitDouble.content();
    if (isWhole && file == client.delivered() && metrics.bytesTotal == file.size()) {
        return;
    }
    // A write that the disk refuses is told by the log alone: the upload has to come to its end.
    const bool diskFailed = Faults::instance().haveFailed();
    expect(diskFailed, "lost data",
           std::to_string(file.size()) + " bytes in the file, " + std::to_string(metrics.bytesTotal) + " counted, " +
               std::to_string(client.delivered().size()) + " sent by the unit");
}

void ChannelRig::recover() {
    Faults::instance().end();
    stop();
    change([&] { object->applySettings(); });
    expect(attempt([&] { object->applySettings(); }), "no recovery", "settings are refused without a fault");
    if (bench != nullptr) {
        expect(calibrate(), "no recovery", "a calibration fails without a fault");
    } else {
        ChannelInspector{*object}.control().state = Calibrated;
    }
    expect(start(), "no recovery", "a start is refused without a fault");
    stop();
    awaitEnd();
    judgeRecording();
}

std::string ChannelRig::binPath() const {
    return processFolder() + "/trace.bin";
}

} // namespace simulation
