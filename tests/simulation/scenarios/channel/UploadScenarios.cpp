#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/scenarios/ChannelCall.h"
#include "tests/simulation/scenarios/Lists.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/channel/ChannelRig.h"

namespace simulation {

namespace {

using VX_QRS::uThread;

bool isAtWork(const VX_QRS::ORV::CLIENT::ChannelMetrics& metrics) {
    return !metrics.threadDone && !metrics.threadAbsent;
}

/// Waits as the channel driver does before a start: a recording that has begun and ended, with a thread still at work.
void awaitReady(ChannelRig& rig) {
    using namespace VX_QRS::ORV::CLIENT;
    const auto isEnding = [](const ChannelMetrics& metrics) {
        return metrics.state >= Failed && metrics.state <= Stopped && isAtWork(metrics);
    };
    while (isEnding(rig.look())) {
        uThread::sleep(5);
    }
}

/// A start may fail halfway; who waits as the driver does can start again.
void startAfterAFailedOne() {
    ChannelRig rig;
    if (!rig.isReady()) {
        return;
    }
    for (int recording = 0; recording < 2; ++recording) {
        rig.start();
        uThread::sleep(10);
        rig.stop();
        awaitReady(rig);
    }
    rig.judgeRecording();
}

/// A calibration, which fails, during an upload. The next recording is whole.
void failedCalibrationDuringUpload() {
    ChannelRig rig;
    if (!rig.isReady() || !rig.start()) {
        return;
    }
    uThread::sleep(20);
    rig.stop();
    attempt([&] { rig.channel().calibrate(); });
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

/// New settings come at once after a start: they end the thread and are refused.
void settingsAtOnce() {
    ChannelRig rig;
    if (!rig.isReady() || !rig.start()) {
        return;
    }
    attempt([&] { rig.channel().applySettings(); });
    rig.stop();
}

/// A stop may come while a start is still at work.
void stopDuringStart() {
    ChannelRig rig;
    if (!rig.isReady()) {
        return;
    }
    SideThread other([&rig] {
        uThread::sleep(1);
        rig.stop();
    });
    const bool isStarted = rig.start();
    other.join();
    if (isStarted) {
        rig.stop();
        rig.awaitEnd();
        rig.judgeRecording();
    }
}

/// A start when all data have come and the thread of the recording is about to end.
void startAtTheEndOfAnUpload() {
    using namespace VX_QRS::ORV::CLIENT;
    ChannelRig rig;
    rig.unit().tellsFull = true;
    if (!rig.isReady()) {
        return;
    }
    for (int recording = 0; recording < 2 && rig.start(); ++recording) {
        for (ChannelMetrics metrics = rig.look();
             isAtWork(metrics) && (metrics.state == Recording || metrics.bytesReady != 0); metrics = rig.look()) {
            uThread::sleep(1);
        }
    }
    rig.awaitEnd();
    rig.judgeRecording();
}

/// Short recordings in a row. When the disk refuses their files, each start meets the end of a thread that has failed.
void manyShortRecordings() {
    ChannelRig rig;
    rig.unit().capacity = 16384;
    rig.unit().tellsFull = true;
    for (int recording = 0; recording < 6 && rig.isReady() && rig.start(); ++recording) {
        while (isAtWork(rig.look())) {
            uThread::sleep(1);
        }
        rig.judgeRecording();
    }
}

/// A recording of two passes.
void shortRecording() {
    ChannelRig rig;
    rig.unit().capacity = 16384;
    rig.unit().tellsFull = true;
    if (rig.isReady() && rig.start()) {
        rig.awaitEnd();
        rig.judgeRecording();
    }
}

} // namespace

std::vector<Scenario> uploadScenarios() {
    return {
        {"channel.startAfterAFailedOne", startAfterAFailedOne},
        {"channel.failedCalibrationDuringUpload", failedCalibrationDuringUpload},
        {"channel.lookDuringUpload", lookDuringUpload},
        {.name = "channel.settingsAtOnce", .run = settingsAtOnce, .isSmall = true},
        {.name = "channel.stopDuringStart", .run = stopDuringStart, .isSmall = true},
        {.name = "channel.shortRecording", .run = shortRecording, .isSmall = true},
        {"channel.startAtTheEndOfAnUpload", startAtTheEndOfAnUpload},
        {"channel.manyShortRecordings", manyShortRecordings},
    };
}

} // namespace simulation
