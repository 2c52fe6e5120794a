#include "common/source/source_utilities/uString.h"
#include "common/source/source_utilities/uThread.h"
#include "rcvr/ChannelDriver.h"
#include "rcvr/Guard.h"
#include "rcvr/framework/CReceiver.h"

#include <utility>

// Starting and stopping a recording.

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::logEntry;
using namespace VX_QRS::ORV::CLIENT;

namespace {

constexpr std::uint32_t endingPollMilliseconds = 5;
constexpr bool noEffect = false; // the flag of a channel's start

template <class Step>
class AtEnd {
public:
    explicit AtEnd(Step last) : step(std::move(last)) {}
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;
    ~AtEnd() { step(); }

private:
    Step step;
};

} // namespace

void ChannelDriver::SetTargetState(unsigned state) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::SetTargetState");
    targetState = state;
}

bool ChannelDriver::isDisconnected() const {
    const std::uint32_t state = targetState;
    return state == CTargetStateNotification::eDisconnectedByUser || state == CTargetStateNotification::eDisconnected;
}

// A channel must not be started while the thread of its last recording lives, nor while it records: a start would then
// be ignored but keep the channel's lock.
ChannelDriver::StartState ChannelDriver::startState() {
    ChannelMetrics metrics;
    channel->status(metrics);
    if (metrics.state == Recording) {
        return StartState::Recording;
    }
    const bool ended = metrics.state >= Failed && metrics.state <= Stopped;
    return ended && !metrics.threadDone && !metrics.threadAbsent ? StartState::Ending : StartState::Ready;
}

// Two threads that both found the channel ready would start it twice, and the second start keeps the channel's lock.
template <class Start>
ChannelDriver::StartState ChannelDriver::startIfReady(Start&& start) {
    const VX_QRS::uMutexLock held(startLock);
    const StartState state = startState();
    if (state == StartState::Ready) {
        start();
    }
    return state;
}

// After each start, a failed one too: a configuration that failed late leaves the channel with another buffer than the
// last one that succeeded, and the property is free of a wrap's lost block only once the recording has begun.
void ChannelDriver::noteBufferSize() noexcept {
    try {
        orvBufSizeBytes = VX_QRS::uString::toNumber<std::uint32_t>(propertyText(*channel, "orvBufSize"));
    } catch (...) { // the size that was known stays
    }
}

bool ChannelDriver::startUnlessEnding() {
    const StartState state = startIfReady([this] {
        const AtEnd noted([this] { noteBufferSize(); });
        logStep("StartRecording", "calling FE start");
        channel->start(noEffect);
    });
    if (state == StartState::Ready) {
        logStep("StartRecording", "done calling FE start");
    } else if (state == StartState::Recording) {
        logStep("StartRecording", "already recording, call ignored");
    }
    return state != StartState::Ending;
}

void ChannelDriver::StartRecording(bool /*flag*/) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::StartRecording");
    if (isDisconnected()) {
        throwError(channelDriverUnit, eBadTarget, "StartRecording bad state - disconnected");
    }
    closeReadStream();
    // The lock is free during the waits, so that an upload can be watched meanwhile.
    while (!guarded("StartRecording", lock.get(), [this] { return startUnlessEnding(); })) {
        VX_QRS::uThread::sleep(endingPollMilliseconds);
    }
    logStep("StartRecording", "success");
}

void ChannelDriver::StopRecording() {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::StopRecording");
    if (isDisconnected()) {
        throwError(channelDriverUnit, eBadTarget, "StopRecording bad state - disconnected");
    }
    guarded("StopRecording", lock.get(), [this] { channel->stop(); });
    logStep("StopRecording", "success");
}

void ChannelDriver::ApplyTraceEnd(bool flag) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::ApplyTraceEnd");
    channel->endTransmission(flag);
}

void ChannelDriver::NotifySystemStateChange(unsigned state) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::NotifySystemStateChange");
    if (state != jobModifiedDisableResume) {
        return;
    }
    ChannelStatus status;
    GetChannelStatus(&status);
    if (status.code == ChannelStatus::eBusy) {
        constexpr bool traceEnds = true;
        ApplyTraceEnd(traceEnds);
    }
    VX_QRS::logMessage("OrvRcvr::ChannelDriver NotifySystemStateChange eJOB_MODIFIED_DISABLE_RESUME");
    channel->stop();
    // Texts of properties share one storage, so that other threads' queries and this one take the lock.
    const AtEnd noted([this] {
        const VX_QRS::uMutexLock held(*lock);
        noteBufferSize();
    });
    while (startIfReady([this] { channel->start(noEffect); }) == StartState::Ending) {
        VX_QRS::uThread::sleep(endingPollMilliseconds);
    }
}

void ChannelDriver::ResumeRecording() {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::ResumeRecording");
    throwError(channelDriverUnit, eFailed, "ResumeRecording not supported");
}

} // namespace Vx::Qrs::Trace::OrvRcvr
