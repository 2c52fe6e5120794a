#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/scenarios/Lists.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/channel/ChannelRig.h"

namespace simulation {

namespace {

using VX_QRS::uThread;

/// Waits as the channel driver does before a start: a recording that has begun and ended, with a thread still at work.
void awaitReady(ChannelRig& rig) {
    using namespace VX_QRS::ORV::CLIENT;
    const auto isEnding = [](const ChannelMetrics& metrics) {
        return metrics.state >= Failed && metrics.state <= Stopped && !metrics.threadDone && !metrics.threadAbsent;
    };
    while (isEnding(rig.look())) {
        uThread::sleep(5);
    }
}

/// A start may fail halfway; who waits as the driver does can start again.
void startAfterAFailedOne() {
    ChannelRig rig;
    for (int recording = 0; recording < 2 && rig.isReady(); ++recording) {
        rig.start();
        uThread::sleep(10);
        rig.stop();
        awaitReady(rig);
    }
    rig.judgeRecording();
}

/// A calibration, which fails, during an upload. The next recording is whole.
void calibrateDuringUpload() {
    ChannelRig rig;
    if (!rig.isReady() || !rig.start()) {
        return;
    }
    uThread::sleep(20);
    rig.stop();
    rig.attempt([&] { rig.channel().calibrate(); });
    if (rig.start()) {
        uThread::sleep(10);
        rig.stop();
        rig.awaitEnd();
        rig.judgeRecording();
    }
}

/// Others watch a whole recording and its upload.
void lookDuringUpload() {
    ChannelRig rig;
    rig.unit().tellsFull = true;
    if (!rig.isReady() || !rig.start()) {
        return;
    }
    SideThread other([&rig] {
        for (int i = 0; i < 8; ++i) {
            rig.look();
            uThread::sleep(5);
        }
    });
    rig.awaitEnd();
    rig.judgeRecording();
}

} // namespace

std::vector<Scenario> uploadScenarios() {
    return {
        {"channel.startAfterAFailedOne", startAfterAFailedOne},
        {"channel.calibrateDuringUpload", calibrateDuringUpload},
        {"channel.lookDuringUpload", lookDuringUpload},
    };
}

} // namespace simulation
