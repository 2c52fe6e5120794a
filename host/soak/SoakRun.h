#pragma once

#include "host/session/Session.h"
#include "host/soak/SoakResult.h"

#include <limits>

namespace host {

/// How long a soak goes on: until one of the two is reached. The last round is finished.
struct SoakLength {
    static constexpr double noLimit = std::numeric_limits<double>::infinity();

    double seconds = 10.0;
    unsigned rounds = std::numeric_limits<unsigned>::max();
};

/// The options of a session with the capture unit's own generator in place of a target; on the bench when no settings
/// file is given.
SessionOptions generatorSession(SessionOptions given);

/// Calibrates, records until the buffer is full and checks every word, again and again. At least one round. What was
/// found goes into the result, also when it throws Failure; wrong words, and the user's interruption, are failures.
void soak(const SessionOptions& options, const SoakLength& length, SoakResult& result);

} // namespace host
