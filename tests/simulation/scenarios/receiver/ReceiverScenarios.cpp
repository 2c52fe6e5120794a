#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/scenarios/Lists.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/receiver/ReceiverRig.h"
#include "tests/simulation/scenarios/receiver/Siblings.h"

#include <string>

namespace simulation {

namespace {

using namespace Vx::Qrs::Trace;
using VX_QRS::uThread;

/// A whole life: create, calibrate, record, read, save, release, destroy.
void wholeLife() {
    ReceiverRig rig;
    if (!rig.isReady() || !rig.configure() || !rig.start()) {
        return;
    }
    uThread::sleep(5);
    rig.stop();
    rig.awaitEnd();
    rig.readAndJudge();
    rig.saveAndJudge(CChannelDriver::eSaveRaw);
    rig.saveAndJudge(CChannelDriver::eSaveTraceDataFile);
    rig.release();
}

/// A panel polls status, attributes and progress while the channel is configured, records and uploads.
void watchedLife() {
    ReceiverRig rig;
    if (!rig.isReady()) {
        return;
    }
    SideThread panel([&rig] {
        for (int i = 0; i < 12; ++i) {
            unsigned first = 0;
            int percent = 0;
            std::string text;
            TraceAttribute attribute;
            rig.attempt("GetProgress", [&] { rig.channel().GetProgress(&first, &percent, &text); });
            rig.look();
            rig.attempt("GetAttribute", [&] { rig.channel().GetAttribute("targetSync", &attribute); });
            uThread::sleep(25);
        }
    });
    if (rig.configure() && rig.start()) {
        uThread::sleep(5);
        rig.stop();
        rig.awaitEnd();
        rig.readAndJudge();
    }
    panel.join();
}

/// Reads and saves while the recording is still uploaded, and another recording right after.
void saveDuringUpload() {
    ReceiverRig rig;
    if (!rig.isReady() || !rig.configure() || !rig.start()) {
        return;
    }
    uThread::sleep(5);
    rig.stop();
    rig.saveAndJudge(CChannelDriver::eSaveRaw);
    if (rig.start()) {
        rig.stop();
        rig.readWhileUploading();
        rig.awaitEnd();
        rig.readAndJudge();
    }
}

/// The target runs and halts, the job changes; the channel follows, watched by a second thread.
void followTheTarget() {
    ReceiverRig rig;
    if (!rig.isReady() || !rig.configure()) {
        return;
    }
    SideThread panel([&rig] {
        for (int i = 0; i < 10; ++i) {
            rig.look();
            uThread::sleep(7);
        }
    });
    const auto tell = [&rig](unsigned state) {
        rig.attempt("OnTargetStateChange", [&rig, state] { rig.receiver().OnTargetStateChange(cpuName, state); });
    };
    tell(CTargetStateNotification::eRunning);
    uThread::sleep(5);
    rig.attempt("OnTraceSystemStateChange", [&rig] { rig.receiver().OnTraceSystemStateChange(cpuName, 0); });
    uThread::sleep(5);
    tell(CTargetStateNotification::eHalted);
    panel.join();
    rig.awaitEnd();
    rig.readAndJudge();
}

/// The channel is released while it uploads, and made anew.
void releaseDuringUpload() {
    ReceiverRig rig;
    if (!rig.isReady() || !rig.configure() || !rig.start()) {
        return;
    }
    uThread::sleep(5);
    rig.stop();
    rig.release();
}

} // namespace

std::vector<Scenario> receiverScenarios() {
    return {
        {"receiver.wholeLife", wholeLife},
        {"receiver.watchedLife", watchedLife},
        {"receiver.saveDuringUpload", saveDuringUpload},
        {"receiver.followTheTarget", followTheTarget},
        {"receiver.releaseDuringUpload", releaseDuringUpload},
    };
}

} // namespace simulation
