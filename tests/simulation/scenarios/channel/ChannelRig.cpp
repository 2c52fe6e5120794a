#include "tests/simulation/scenarios/channel/ChannelRig.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scenarios/Scenario.h"
#include "tests/support/register_model/ChannelInspector.h"

#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <unistd.h>
#include <vector>

namespace simulation {

using namespace VX_QRS::ORV::CLIENT;

namespace {

VX_QRS::ORV::DataClient* currentClient = nullptr;

DataClientFactory factoryOf(VX_QRS::ORV::DataClient& client) {
    currentClient = &client;
    return {[](std::uint32_t) { return currentClient; }, [](VX_QRS::ORV::DataClient*) {}};
}

/// In memory, and one for each process of the search.
const std::string& folder() {
    static const std::string* path = [] {
        const std::string base = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
        auto* made = new std::string(base + "/orv_simulation_" + std::to_string(getpid()));
        std::filesystem::create_directories(*made);
        return made;
    }();
    return *path;
}

std::vector<std::uint8_t> contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

ChannelRig::ChannelRig(Unit kind, const std::string& lines)
    : bench(kind == Unit::bench ? std::make_unique<BenchDouble>() : nullptr),
      client(bench != nullptr ? bench->client() : unitDouble) {
    const std::string path = folder() + "/props.txt";
    {
        std::ofstream file(path);
        file << "[Global]\norv=unit\n[Channel 0]\nfile=" << folder() << "/trace\npinMap=0,1,2,3,4\n" << lines;
        std::filesystem::remove(binPath());
    }
    ready = open(path);
}

bool ChannelRig::open(const std::string& propertiesFile) {
    const bool opened = attempt([&] {
        Transmitter* sender = bench != nullptr ? &bench->transmitter() : static_cast<Transmitter*>(&transmitter);
        frontEnd = std::make_unique<FrontEnd_1>(factoryOf(client));
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
    return attempt([&] { object->calibrate(); });
}

ChannelRig::~ChannelRig() {
    if (ready) {
        recover();
    }
    attempt([&] { object.reset(); });
    attempt([&] { frontEnd.reset(); });
}

bool ChannelRig::attempt(const std::function<void()>& operation) {
    const ProductCall product;
    try {
        operation();
        return true;
    } catch (const Exception&) {
    } catch (const std::bad_alloc&) {
    } catch (const std::runtime_error& e) {
        // The unit's own failures travel unchanged.
        expect(Faults::instance().haveFailed(), "exception without a fault", e.what());
    }
    return false;
}

bool ChannelRig::start() {
    return attempt([&] { object->start(false); });
}

void ChannelRig::stop() {
    attempt([&] { object->stop(); });
}

ChannelMetrics ChannelRig::look() {
    ChannelMetrics metrics;
    attempt([&] { object->status(metrics); });
    expect(!metrics.hasError || std::strlen(metrics.errorText) != 0, "error without a text", "status");
    expect(bench != nullptr || metrics.bytesReady + metrics.bytesTotal <= unitDouble.capacity, "bytes counted twice",
           std::to_string(metrics.bytesReady) + " on the unit and " + std::to_string(metrics.bytesTotal) +
               " in the file of " + std::to_string(unitDouble.capacity));
    expect(metrics.state != Triggered && metrics.state >= Uncalibrated, "state", std::to_string(metrics.state));
    return metrics;
}

void ChannelRig::awaitEnd() {
    constexpr std::uint32_t pollInterval = 10; // milliseconds
    for (ChannelMetrics metrics = look(); !metrics.threadDone && !metrics.threadAbsent; metrics = look()) {
        VX_QRS::uThread::sleep(pollInterval);
    }
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
    attempt([&] { object->applySettings(); });
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
    return folder() + "/trace.bin";
}

} // namespace simulation
