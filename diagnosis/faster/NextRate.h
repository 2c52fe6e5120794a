#pragma once

#include "diagnosis/faster/AutomaticAttempt.h"
#include "diagnosis/tune/Search.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// What would buy a target its next rate: whether moving one data wire makes the receiver's automatic calibration succeed
// there, with sound margins; otherwise what stands in its way.

namespace diagnosis::faster {

/// A rate that the automatic calibration refused, measured with values that the host chose.
struct RefusedRate {
    unsigned setting = 0;
    double hertz = 0.0;
    double sampleRate = 0.0;
    std::vector<Burst> bursts; ///< of the calibration's pattern, with its conditioning for the rate and nothing moved
    tune::Found found;         ///< what a search for values finds there
};

/// What the receiver would do at the rates, fast to slow, and what its values leave.
struct Predicted {
    enum class Kind {
        Sound,      ///< it keeps a rate with margins above the limit
        Unclear,    ///< it may keep one with less
        NoPosition, ///< of the slowest rate: how its attempt ends
        LittleMargin,
        WrongWords, ///< its values sample a lane outside of its eye
    };
    Kind kind = Kind::Unclear;
    std::size_t rate = 0; ///< that is kept, as an index; the slowest one otherwise
    AutomaticAttempt attempt;
    tune::Choice choice; ///< what its values leave, where it comes to values
};
/// `rates` are fast to slow, `first` is the number of the burst to begin with, `wires` are as in movedBurst().
Predicted predict(const std::vector<RefusedRate>& rates, std::span<const int> wires, std::size_t first,
                  double errorRate);

/// One data wire made longer or shorter.
struct WireMove {
    std::size_t lane = 0; ///< from 0
    int samples = 0;      ///< later; negative: earlier
    double hertz = 0.0;   ///< the rate that it buys
    double sampleRate = 0.0;
    double margin = 0.0; ///< of the worst lane there, in samples: to one wrong place in a thousand
};

/// The answer about the slowest of the rates.
struct NextRate {
    unsigned setting = 0;
    double hertz = 0.0;
    std::optional<WireMove> move; ///< the smallest that the computation is sure of
    std::string limit;            ///< what stands in the way, as it is wired
    bool tuned = false;           ///< the search has sound values for the rate as it is wired
};
/// `rates`, fast to slow, are all that the target has above its fastest sound one; not empty.
NextRate nextRateOf(const std::vector<RefusedRate>& rates, double errorRate);

/// "95 MHz fails: data 3 (EMU2) comes 1.1 ns late; with it moved the next rate would have 0.8 ns".
std::string nextRateText(const NextRate& next, const std::vector<std::string>& titles);

/// Why the receiver does not keep a rate as it is wired, if it begins there.
std::string limitText(const RefusedRate& rate, const Predicted& asWired);

} // namespace diagnosis::faster
