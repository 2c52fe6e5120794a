// Whole recordings of a channel through the data client, its sockets and a server process over the unit's model.

#include "client/frontend/FrontEndChannel_1.h"
#include "client/frontend/FrontEnd_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uThread.h"
#include "mpx/MpxEcomServer/DataClient.h"
#include "tests/simulation/backend/Processes.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scenarios/ChannelCall.h"
#include "tests/simulation/scenarios/ScratchFolder.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/doubles/TransmitterDouble.h"
#include "tests/simulation/scenarios/doubles/UnitDouble.h"
#include "tests/simulation/scenarios/proxy/ProxyLists.h"
#include "tests/simulation/scenarios/proxy/ServerProgram.h"
#include "tests/simulation/scenarios/proxy/UnitServer.h"
#include "tests/support/register_model/ChannelInspector.h"

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace simulation {

namespace {

using namespace VX_QRS::ORV::CLIENT;
using VX_QRS::uThread;

/// A calibrated channel, unless a fault of the schedule prevents it.
class Rig {
public:
    Rig() : unit(std::make_shared<UnitDouble>()) {
        unit->capacity = 16384;
        installProgram(serverImage,
                       [served = unit](const std::string& arguments) { runUnitServer(*served, arguments); });
        folder.write("props.txt", "[Global]\norv=unit\n[Channel 0]\nfile=" + folder.path("trace") + "\npinMap=0,1\n");
        const std::string properties = folder.path("props.txt");
        ready = attempt([&] {
            frontEnd = std::make_unique<FrontEnd_1>(
                DataClientFactory{VX_QRS::ORV::createDataClient, VX_QRS::ORV::destroyDataClient});
            channel = std::make_unique<FrontEndChannel_1>(frontEnd.get(), &transmitter);
            frontEnd->setProperty("propsFile", properties.c_str());
            channel->setProperty("propsFile", properties.c_str());
            channel->applySettings();
        });
        if (ready) {
            ChannelInspector{*channel}.control().state = Calibrated;
        }
    }
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;
    ~Rig() {
        attempt([&] { channel.reset(); });
        attempt([&] { frontEnd.reset(); });
        expect(runningChildren() == 0, "process left", "after the front end");
        awaitEndedProcesses();
    }

    bool start() {
        return ready && attempt([&] { channel->start(false); });
    }
    void stop() {
        attempt([&] { channel->stop(); });
    }

    ChannelMetrics look() {
        ChannelMetrics metrics;
        attempt([&] { channel->status(metrics); });
        return metrics;
    }

    /// Waits for the end; the recording is whole then, or it says that it failed.
    void judgeEnd() {
        ChannelMetrics metrics = look();
        for (; !metrics.threadDone && !metrics.threadAbsent; metrics = look()) {
            uThread::sleep(10);
        }
        if (!metrics.threadDone || metrics.hasError || Faults::instance().haveFailed()) {
            return;
        }
        const std::string file = folder.read("trace.bin");
        const std::string recorded(unit->content().begin(), unit->content().end());
        expect(file == recorded && metrics.bytesTotal == file.size(), "lost data",
               std::to_string(file.size()) + " bytes in the file, " + std::to_string(metrics.bytesTotal) +
                   " counted, " + std::to_string(recorded.size()) + " recorded");
    }

    std::shared_ptr<UnitDouble> unit;

private:
    const ScratchFolder folder;
    TransmitterDouble transmitter;
    std::unique_ptr<FrontEnd_1> frontEnd;
    std::unique_ptr<FrontEndChannel_1> channel;
    bool ready = false;
};

/// Another thread stops the recording and looks at its status.
void stopThroughTheServer() {
    Rig rig;
    if (!rig.start()) {
        return;
    }
    SideThread other([&rig] {
        rig.look();
        uThread::sleep(20);
        rig.stop();
    });
    rig.judgeEnd();
}

/// The unit says that it is full, by a record before a reply.
void fullThroughTheServer() {
    Rig rig;
    rig.unit->tellsFull = true;
    if (rig.start()) {
        rig.judgeEnd();
    }
}

/// The channel and its server are deleted while it records.
void deletedThroughTheServer() {
    Rig rig;
    if (rig.start()) {
        uThread::sleep(7);
    }
}

constexpr Time longest = 200000000;

} // namespace

std::vector<Scenario> recordingScenarios() {
    return {
        {"proxy.recording.stop", stopThroughTheServer, longest},
        {"proxy.recording.full", fullThroughTheServer, longest},
        {"proxy.recording.deleted", deletedThroughTheServer, longest},
    };
}

} // namespace simulation
