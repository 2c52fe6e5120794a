#include "rcvr/StatusText.h"

#include "common/source/source_utilities/uString.h"

#include <cmath>

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::uString;
using namespace VX_QRS::ORV::CLIENT;

namespace {

/// What a state allows, as a sum.
enum Ability : unsigned { nothing = 0, configurable = 1, startable = 2, stoppable = 4, hasData = 8 };

constexpr bool replaced = false; // what the text held before; the other choice is to append

struct StateRow {
    std::int32_t state;
    std::uint32_t code;
    const char* text;
    unsigned abilities;

    constexpr bool allows(Ability ability) const { return (abilities & ability) != 0; }
};

constexpr StateRow stateRows[] = {
    {Uncalibrated, ChannelStatus::eNotCalibrated, "Ready to calibrate", nothing},
    {Calibrating, ChannelStatus::eNotCalibrated, "Calibrating ...", nothing},
    {Calibrated, ChannelStatus::eReady, "Ready to record", configurable | startable},
    {Recording, ChannelStatus::eBusy, "Recording", configurable | stoppable},
    {Failed, ChannelStatus::eError, "Stopped by error", configurable | startable | hasData},
    {Idle, ChannelStatus::eBufferFull, "Stopped by buffer full", configurable | startable | hasData},
    {Stopped, ChannelStatus::eStoppedByUser, "Stopped by user", configurable | startable | hasData},
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
    uString::toText(whole > 0.0 ? part * 100.0 / whole : 0.0, text, replaced, format);
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
    constexpr bool asSymbol = true;
    constexpr bool withIecPrefix = false;
    const double scale = uString::prefixBinary(bitsPerSecond, asSymbol, withIecPrefix, prefix);
    std::string text;
    uString::toText(bitsPerSecond / scale, text, replaced, " : %3.1f ");
    return text + prefix + "bits/second";
}

void describeStatus(const ChannelMetrics& metrics, std::uint32_t bufferBytes, ChannelStatus& status) {
    if (const StateRow* row = findRow(metrics.state)) {
        status.code = row->code;
        status.text = row->text;
        status.configurable = row->allows(configurable);
        status.startable = row->allows(startable);
        status.stoppable = row->allows(stoppable);
        status.hasData = row->allows(hasData);
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
