#pragma once

#include "pinmap/PinSearch.h"

#include <optional>
#include <string>
#include <vector>

// What a device's pin-outs can give, and in words why they cannot. The search is the receiver's own.

namespace host {

using Vx::Qrs::Trace::OrvRcvr::PinList;
using Vx::Qrs::Trace::OrvRcvr::Pinouts;

/// What the receiver would do with one wish.
struct PinAnswer {
    std::string kind;
    unsigned dataPins = 0;
    PinList asked; ///< the pins by number, clock first; empty: any
    bool granted = false;
    std::string pinout; ///< the pin-out that serves it
    std::string owner;  ///< the part of the device that owns the trace source; may be empty
    PinList pins;       ///< granted, clock first, then bit 0 and up
    std::string remark; ///< why not; or what a user should know about the grant
};

/// The trace kinds of all pin-outs, in their order.
std::vector<std::string> kindsOf(const Pinouts& pinouts);

/// Why no pin-out serves the wish, in one sentence. `asked` may be empty.
std::string refusalReason(const Pinouts& pinouts, const std::string& kind, unsigned dataPins, const PinList& asked);

/// What the receiver answers to "so many data pins", or with `asked` to "exactly these pins".
PinAnswer answerOf(const Pinouts& pinouts, const std::string& kind, unsigned dataPins, const PinList& asked);

/// "0,1,2".
std::string pinsText(const PinList& pins);

} // namespace host
