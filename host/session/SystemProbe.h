#pragma once

#include <filesystem>
#include <string>
#include <vector>

// Whether everything that a run needs is there, without starting it.

namespace host {

/// One part that a run needs.
struct ProbedPart {
    enum class State {
        Ok,
        Warning, ///< a run starts without it
        Missing, ///< no run starts
        Unknown, ///< it was not asked
    };
    std::string name; ///< slug, such as "receiver-library"
    State state = State::Unknown;
    std::string text;   ///< what was found
    std::string remedy; ///< what to do; empty if nothing
};

/// "ok", "warning", "missing", "unknown".
const char* stateName(ProbedPart::State state);

struct ProbeRequest {
    std::string library;  ///< name or path of the receiver
    std::string version;  ///< of this program
    bool bench = false;   ///< a run on the simulated bench, instead of one with a real unit
    bool connect = false; ///< starts the data server and asks it
};

/// All parts, in the order in which a run needs them. Loads libraries and unloads them again; changes no file. With `connect`
/// the receiver is made, which makes its folders and its log.
std::vector<ProbedPart> probeSystem(const ProbeRequest& request);

/// No part is missing.
bool wouldStart(const std::vector<ProbedPart>& parts);

} // namespace host
