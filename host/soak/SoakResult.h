#pragma once

#include "host/session/SessionResult.h"
#include "host/soak/GeneratorCheck.h"
#include "toolkit/ExitCode.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// A wrong word and the round that it came in.
struct RoundError {
    unsigned round = 0; ///< from 1
    WordError error;
};

/// Everything that `soak` leaves to tell.
struct SoakResult : SessionResult {
    toolkit::ExitCode code = toolkit::ExitCode::Done;
    std::string failure; ///< the line for the user when code is not Done
    std::string where;
    std::optional<unsigned> dataPins; ///< known once a channel was calibrated
    std::string dataRate;             ///< with its unit; may be empty
    unsigned rounds = 0;              ///< recorded and checked
    bool interrupted = false;         ///< the user ended it
    std::uint64_t words = 0;
    std::uint64_t errors = 0;
    std::vector<RoundError> firstErrors;
    double seconds = 0.0;

    /// Counts a round with what was found in it. The first errors of all are kept.
    void addRound(const GeneratorCheck& check);
    double wordsPerSecond() const { return seconds > 0.0 ? static_cast<double>(words) / seconds : 0.0; }
};

/// What the rounds come to when nothing else has failed: nothing when all is in order. Wrong words weigh more than the
/// user's interruption: whoever stops a soak wants to know of them.
std::optional<toolkit::Failure> verdictOf(const SoakResult& result);

/// The result for a person; empty when no round was finished.
std::string soakText(const SoakResult& result);

/// The same for a script: one JSON object.
std::string soakJson(const SoakResult& result);

} // namespace host
