#pragma once

#include "diagnosis/files/ChecksFile.h"
#include "host/session/Progress.h"
#include "host/session/Session.h"
#include "host/verification/PatternTransmitter.h"

#include <cstdint>
#include <filesystem>
#include <string>

// Comparing recorded words with those that the target was made to send, as many as an error rate asks for.

namespace host {

/// Costs about a second at 400 Mbit/s.
inline constexpr double usualErrorRate = 1e-8;
/// As many bits as the receiver's own verification looks at, where it looks.
inline constexpr double briefErrorRate = 1.5e-6;

/// A calibrated channel, as far as a verification has to know it.
struct VerifiedChannel {
    Vx::Qrs::Trace::CChannelDriver& channel;
    std::string exportKind{}; ///< "pti", "tpiu", "tpiulite"
    unsigned dataPins = 0;
    bool ownGenerator = false; ///< the unit sends to itself
    bool programmed = true;    ///< false: the signal is none that the receiver programs
    std::uint64_t bufferBytes = 0;
    bool stopsWhenFull = true;    ///< otherwise the buffer wraps
    double clockHertz = 0.0;      ///< of the trace clock; 0: unknown
    std::filesystem::path file{}; ///< that recordings go to
    RemovedAtEnd* leftovers = nullptr;

    double bitsPerSecond() const { return 2.0 * clockHertz * dataPins; }
};

/// What a target is made to send: every lane shows single ones, with a long and a short run of zeros between; a bit of
/// any neighbour differs.
inline constexpr auto usualPattern = PatternTransmitter::Pattern::Walk;
/// The other half of a verification on two lanes and more: every lane changes in every slot, against its neighbours, so
/// that what couples from one to the next is at its worst.
inline constexpr auto opposedPattern = PatternTransmitter::Pattern::A5;
/// The name of the pattern that a verification records first, and a scan alone.
std::string verificationPattern(const VerifiedChannel& target);
/// Why no words of it are known; empty if they are.
std::string verificationObstacle(const VerifiedChannel& target);

/// What is known of a recording of trace.
diagnosis::StreamForm traceForm(const VerifiedChannel& target);

VerifiedChannel verifiedChannel(Session& session, const SessionResult& result);

/// Fills `check`, whose `when` and `askedErrorRate` are set: records the patterns until so many bits are compared that the
/// rate is excluded, half of them of each, in as many recordings as the buffer needs; the user's interruption ends it.
/// Where the library refuses the second pattern, the first one has all bits. What cannot be verified
/// says why in `check.failure` and is no Failure. A recording that fails is one, and leaves what was measured.
///
/// The samples that the receiver holds afterwards are those of the pattern.
void verifyWords(const VerifiedChannel& target, PatternTransmitter& transmitter, diagnosis::WordCheck& check,
                 ProgressLine& line);

/// The receiver's file of samples, put aside during the object's life: a verification overwrites it. At the end that of
/// the verification is removed and the other one is back in its place.
class FileAside {
public:
    /// A file of the verification that cannot be removed at the end goes to `leftovers`, which may be null.
    explicit FileAside(const std::filesystem::path& file, RemovedAtEnd* leftovers = nullptr);
    ~FileAside();
    FileAside(const FileAside&) = delete;
    FileAside& operator=(const FileAside&) = delete;

private:
    std::filesystem::path place;
    RemovedAtEnd* leftovers;
    std::filesystem::path aside; ///< empty: there was no file
};

} // namespace host
