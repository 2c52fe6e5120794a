#pragma once

#include "host/session/Session.h"
#include "host/soak/SoakResult.h"

namespace host {

/// Length of a soak. The last round is finished.
struct SoakLength {
    double seconds = 10.0; ///< without `rounds`
    unsigned rounds = 0;   ///< 0: as many as fit into the seconds
};

/// The options of a session with the capture unit's own generator instead of a target; on the bench without a settings
/// file.
SessionOptions generatorSession(SessionOptions given);

/// Calibrates, records until the buffer is full and checks every word, at least once. Fills the result, also when it
/// throws Failure; wrong words, and the user's interruption, are failures.
void soak(const SessionOptions& options, const SoakLength& length, SoakResult& result);

} // namespace host
