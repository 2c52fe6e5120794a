#pragma once

#include "client/FrontEndChannel.h"
#include "rcvr/framework/CChannelDriver.h"

#include <cstdint>
#include <string>

// Translates a channel's snapshot for the framework and its user.

namespace Vx::Qrs::Trace::OrvRcvr {

/// Code, text and flags. An unknown state leaves code and text unchanged. `bufferBytes` is the size of
/// the capture buffer, 0 while that is not known.
void describeStatus(const VX_QRS::ORV::CLIENT::ChannelMetrics& metrics, std::uint32_t bufferBytes,
                    ChannelStatus& status);

/// A rate as " : 1.9 Mbits/second": prefixes are decimal letters on the scale of 1024.
std::string rateText(double bitsPerSecond);

struct CalibrationProgress {
    int percent = -1;
    const char* text = "";
};
CalibrationProgress describeProgress(const VX_QRS::ORV::CLIENT::ChannelMetrics& metrics);

} // namespace Vx::Qrs::Trace::OrvRcvr
