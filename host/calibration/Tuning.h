#pragma once

#include "diagnosis/tune/Search.h"
#include "host/calibration/ChosenValues.h"

#include <optional>
#include <string>
#include <vector>

namespace host {

/// What was done at one of the target's settings.
struct TunedSetting {
    unsigned setting = 0;
    double hertz = 0.0;
    std::string refusal; ///< the receiver's, of its calibration of this setting alone; empty if it was content
    std::string rule;    ///< of its own rules, the one that was in the way
    diagnosis::tune::Found found;
};

/// The host's own search, beside the receiver's calibration.
struct TuneAnswer {
    bool needed = false;                ///< the receiver's calibration is not sound
    std::string before;                 ///< how it ended: "refused: ...", "thin: ..."
    std::vector<TunedSetting> settings; ///< in the order tried
    std::optional<std::size_t> kept;    ///< of them; nothing when none carries the words
};

/// After the receiver's calibration, which was refused with `refusal` or is what `result` says. Where it is not sound,
/// searches values for the target's settings, fast to slow, and leaves the unit with the best that it found; otherwise, or
/// if there are none, with the receiver's own. `errorRate` is the one that known words have to exclude. Throws Failure,
/// `refusal` itself if nothing better was found.
TuneAnswer tune(ChosenValues& values, Session& session, SessionResult& result, diagnosis::WordCheck::When when,
                double errorRate, const std::optional<toolkit::Failure>& refusal, ProgressLine& line);

} // namespace host
