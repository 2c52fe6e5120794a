#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/scenarios/ChannelCall.h"
#include "tests/simulation/scenarios/Lists.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/channel/ChannelRig.h"

namespace simulation {

namespace {

using VX_QRS::uThread;

/// Another thread stops the recording and looks at its status.
void stopFromAnotherThread() {
    ChannelRig rig;
    if (!rig.isReady() || !rig.start()) {
        return;
    }
    SideThread other([&rig] {
        rig.look();
        uThread::sleep(20);
        rig.stop();
        rig.look();
    });
    rig.awaitEnd();
    rig.judgeRecording();
}

/// The unit fills; who waits for the end starts again at once.
void fillAndStartAgain() {
    ChannelRig rig;
    rig.unit().tellsFull = true;
    for (int recording = 0; recording < 2 && rig.isReady() && rig.start(); ++recording) {
        rig.awaitEnd();
        rig.judgeRecording();
    }
}

/// A start while the earlier recording is still uploaded: its rest is lost, and no thread waits for ever.
void startDuringUpload() {
    ChannelRig rig;
    if (!rig.isReady() || !rig.start()) {
        return;
    }
    uThread::sleep(20);
    rig.stop();
    if (rig.start()) {
        uThread::sleep(10);
        rig.stop();
        rig.awaitEnd();
        rig.judgeRecording();
    }
}

/// New settings while a recording ends, with a second thread that looks.
void settingsWhileEnding() {
    ChannelRig rig;
    if (!rig.isReady() || !rig.start()) {
        return;
    }
    SideThread other([&rig] {
        for (int i = 0; i < 4; ++i) {
            rig.look();
            uThread::sleep(5);
        }
        rig.stop();
    });
    uThread::sleep(20);
    attempt([&] { rig.channel().applySettings(); });
}

/// The channel is deleted while it records.
void deleteWhileRecording() {
    ChannelRig rig;
    if (!rig.isReady() || !rig.start()) {
        return;
    }
    uThread::sleep(7);
}

/// Two threads look while the controlling one sends the end of the trace, looks at the signal and stops.
void lookFromTwoThreads() {
    ChannelRig rig(ChannelRig::Unit::model, "orvBufMode=wrap\n");
    if (!rig.isReady() || !rig.start()) {
        return;
    }
    const auto looks = [&rig] {
        for (int i = 0; i < 6; ++i) {
            rig.look();
            uThread::sleep(4);
        }
    };
    SideThread one(looks);
    SideThread other(looks);
    attempt([&] { rig.channel().endTransmission(true); });
    attempt([&] { rig.channel().ovs(true, true); });
    rig.stop();
    rig.awaitEnd();
    rig.judgeRecording();
}

/// A calibration, which a second thread watches and tries to stop, and a recording after it.
void calibrateAndRecord() {
    ChannelRig rig(ChannelRig::Unit::bench);
    if (!rig.isReady()) {
        return;
    }
    SideThread other([&rig] {
        for (int i = 0; i < 5; ++i) {
            rig.look();
            uThread::sleep(30);
        }
        rig.stop();
    });
    const bool isCalibrated = rig.calibrate();
    other.join();
    if (isCalibrated && rig.start()) {
        uThread::sleep(10);
        rig.stop();
        rig.awaitEnd();
        rig.judgeRecording();
    }
}

/// A calibration while the earlier recording is still uploaded, and a recording after it, whether it succeeded or not.
void calibrateDuringUpload() {
    ChannelRig rig(ChannelRig::Unit::bench);
    if (!rig.isReady() || !rig.calibrate() || !rig.start()) {
        return;
    }
    uThread::sleep(10);
    rig.stop();
    rig.calibrate();
    if (rig.start()) {
        rig.stop();
        rig.awaitEnd();
        rig.judgeRecording();
    }
}

} // namespace

std::vector<Scenario> channelScenarios() {
    return {
        {"channel.stopFromAnotherThread", stopFromAnotherThread},
        {"channel.fillAndStartAgain", fillAndStartAgain},
        {"channel.startDuringUpload", startDuringUpload},
        {"channel.settingsWhileEnding", settingsWhileEnding},
        {"channel.deleteWhileRecording", deleteWhileRecording},
        {"channel.lookFromTwoThreads", lookFromTwoThreads},
        {"channel.calibrateAndRecord", calibrateAndRecord},
        {"channel.calibrateDuringUpload", calibrateDuringUpload},
    };
}

} // namespace simulation
