#include "rcvr/ChannelDriver.h"
#include "rcvr/Guard.h"
#include "rcvr/StatusText.h"

// The status word and the progress of a calibration.

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::logEntry;

void ChannelDriver::GetChannelStatus(ChannelStatus* out) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::GetChannelStatus");
    if (isDisconnected()) {
        return;
    }
    if (out == nullptr) {
        throwError(channelDriverUnit, eNullParameter);
    }
    out->code = ChannelStatus::eNone;
    out->configurable = out->startable = out->resumable = out->stoppable = out->hasData = false;
    guarded("GetChannelStatus", lock.get(), [&] {
        ChannelMetrics metrics;
        channel->status(metrics);
        describeStatus(metrics, orvBufSizeBytes, *out);
    });
}

void ChannelDriver::GetProgress(unsigned* first, int* percent, std::string* text) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::GetProgress");
    if (first == nullptr || percent == nullptr || text == nullptr) {
        throwError(channelDriverUnit, eNullParameter);
    }
    *first = 1;
    *percent = -1;
    guarded("GetProgress", nullptr, [&] {
        *text = "Kite R2 Trace - ";
        ChannelMetrics metrics;
        channel->status(metrics);
        const CalibrationProgress progress = describeProgress(metrics);
        *percent = progress.percent;
        *text += progress.text;
        VX_QRS::logMessage("%s : %s - %s at state=%d", programLabel, "GetProgress", text->c_str(), metrics.state);
    });
}

} // namespace Vx::Qrs::Trace::OrvRcvr
