#pragma once

#include "diagnosis/files/BurstFile.h"
#include "host/session/GivenValues.h"
#include "host/verification/WordVerification.h"

#include <optional>
#include <string>

namespace host {

/// Sets the unit to values that the host chooses, at one of the target's settings, and measures what they do. A session
/// that has ended here records with them.
class ChosenValues {
public:
    /// `session` is open, with `transmitter` in place of its library's own.
    ChosenValues(Session& used, SessionResult& filled, PatternTransmitter& sender, ProgressLine& shown)
        : session(used), result(filled), transmitter(sender), line(shown) {}

    /// Has the receiver measure this setting's rate, by its own calibration of it alone and without its verification. How
    /// that calibration ended does not matter: see refusal(). Throws Failure for all but that, and when no rate was
    /// measured.
    void measureRate(unsigned setting);
    /// Why the receiver's calibration of this setting was refused; empty when it was not.
    const std::string& refusal() const { return refused; }

    /// Sets the values while the target sends a pattern, after measureRate(). The burst shows what they do. Throws Failure.
    diagnosis::Burst set(const PinValues& values, PatternTransmitter::Pattern pattern);

    /// Compares known words with the values that are set. Throws Failure.
    diagnosis::WordCheck compareWords(diagnosis::WordCheck::When when, double errorRate);

    /// All settings of the target and the receiver's own method again, for the next calibration.
    void leave();

private:
    Session& session;
    SessionResult& result;
    PatternTransmitter& transmitter;
    ProgressLine& line;
    std::string refused;
};

/// As a kept calibration has them, the clock's first.
PinValues defaultValues(std::size_t pins);

} // namespace host
