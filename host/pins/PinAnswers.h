#pragma once

#include "pinmap/PinSearch.h"

#include <optional>
#include <string>
#include <vector>

// Answers of a device's pin-outs to requests, with reasons. The search is the receiver's own.

namespace host {

using Vx::Qrs::Trace::OrvRcvr::PinList;
using Vx::Qrs::Trace::OrvRcvr::Pinouts;

/// The receiver's answer to one request.
struct PinAnswer {
    std::string kind;
    unsigned dataPins = 0;
    PinList asked; ///< the pins by number, clock first; empty: any
    bool granted = false;
    std::string pinout; ///< the pin-out that serves it
    std::string owner;  ///< the part of the device that owns the trace source; may be empty
    PinList pins;       ///< granted, clock first, then bit 0 and up
    std::string remark; ///< why not; or a remark on the grant
};

/// The trace kinds of all pin-outs, in their order.
std::vector<std::string> kindsOf(const Pinouts& pinouts);

/// Why no pin-out grants the request, in one sentence. `asked` may be empty.
std::string refusalReason(const Pinouts& pinouts, const std::string& kind, unsigned dataPins, const PinList& asked);

/// The answer to a request for a number of data pins or, with `asked`, for exactly these pins.
PinAnswer answerOf(const Pinouts& pinouts, const std::string& kind, unsigned dataPins, const PinList& asked);

/// "0,1,2".
std::string pinsText(const PinList& pins);

} // namespace host
