#include "rcvr/StatusText.h"

#include "common/source/source_utilities/uString.h"

#include <cmath>

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::uString;
using namespace VX_QRS::ORV::CLIENT;

namespace {

struct StateRow {
    std::int32_t state;
    std::uint32_t code;
    const char* text;
    bool configurable;
    bool startable;
    bool stoppable;
    bool hasData;
};

constexpr StateRow stateRows[] = {
    {Uncalibrated, ChannelStatus::eNotCalibrated, "Ready to calibrate", false, false, false, false},
    {Calibrating, ChannelStatus::eNotCalibrated, "Calibrating ...", false, false, false, false},
    {Calibrated, ChannelStatus::eReady, "Ready to record", true, true, false, false},
    {Recording, ChannelStatus::eBusy, "Recording", true, false, true, false},
    {Failed, ChannelStatus::eError, "Stopped by error", true, true, false, true},
    {Idle, ChannelStatus::eBufferFull, "Stopped by buffer full", true, true, false, true},
    {Stopped, ChannelStatus::eStoppedByUser, "Stopped by user", true, true, false, true},
};

const StateRow* findRow(std::int32_t state) {
    for (const StateRow& row : stateRows) {
        if (row.state == state) {
            return &row;
        }
    }
    return nullptr;
}

std::string percentText(const char* format, double part, double whole) {
    std::string text;
    uString::toText(whole > 0.0 ? part * 100.0 / whole : 0.0, text, false, format);
    return text;
}

void addUpload(const ChannelMetrics& metrics, ChannelStatus& status) {
    if (metrics.threadDone) {
        status.text += " : upload complete";
        return;
    }
    const std::uint64_t total = std::uint64_t{metrics.bytesReady} + metrics.bytesTotal;
    if (total != 0) {
        status.code = ChannelStatus::eBusy;
    }
    status.text += percentText(" : uploading data : %3.0f%% complete", metrics.bytesTotal, static_cast<double>(total));
}

} // namespace

std::string rateText(double bitsPerSecond) {
    std::string prefix;
    const double scale = uString::prefixBinary(bitsPerSecond, true, false, prefix);
    std::string text;
    uString::toText(bitsPerSecond / scale, text, false, " : %3.1f ");
    return text + prefix + "bits/second";
}

void describeStatus(const ChannelMetrics& metrics, std::uint32_t bufferBytes, ChannelStatus& status) {
    if (const StateRow* row = findRow(metrics.state)) {
        status.code = row->code;
        status.text = row->text;
        status.configurable = row->configurable;
        status.startable = row->startable;
        status.stoppable = row->stoppable;
        status.hasData = row->hasData;
    }
    if (metrics.state == Recording) {
        status.text += rateText(metrics.dataRate) + percentText(" : %3.0f%% full", metrics.bytesReady, bufferBytes);
    }
    if (metrics.state >= Failed && metrics.state <= Stopped) {
        addUpload(metrics, status);
    }
    if (metrics.hasError) {
        const char* text = metrics.errorText;
        status.text.append(" : ").append(text != nullptr && *text != '\0' ? text : "channel error detected");
    }
}

CalibrationProgress describeProgress(const ChannelMetrics& metrics) {
    switch (metrics.state) {
    case Uncalibrated:
        return {-1, "Ready for calibration"};
    case Calibrating:
        return {std::isfinite(metrics.progress) ? static_cast<int>(100.0 * metrics.progress) : 0,
                "Calibration in progress"};
    default:
        return {100, "Calibration complete"};
    }
}

} // namespace Vx::Qrs::Trace::OrvRcvr
