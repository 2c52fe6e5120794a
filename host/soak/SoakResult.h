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

/// The result of `soak`.
struct SoakResult : SessionResult {
    std::optional<unsigned> dataPins; ///< known once a channel was calibrated
    std::string dataRate;             ///< with its unit; may be empty
    std::optional<double> bitsPerSecond;
    unsigned rounds = 0;      ///< recorded and checked
    bool interrupted = false; ///< the user ended it
    std::uint64_t words = 0;
    std::uint64_t errors = 0;
    std::vector<RoundError> firstErrors;
    double seconds = 0.0;

    /// Counts a round. The first errors of all rounds are kept.
    void addRound(const GeneratorCheck& check);
    double wordsPerSecond() const { return seconds > 0.0 ? static_cast<double>(words) / seconds : 0.0; }
};

/// The failure of rounds that all ended; nothing when all is in order. Wrong words precede the user's interruption.
std::optional<toolkit::Failure> verdictOf(const SoakResult& result);

/// The result for a person; empty when no round was finished.
std::string soakText(const SoakResult& result);

/// The same for a script.
nlohmann::json soakJson(const SoakResult& result);

} // namespace host
