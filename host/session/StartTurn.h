#pragma once

#include "host/platform/FileLock.h"
#include "host/session/Progress.h"

#include <chrono>
#include <filesystem>

namespace host {

/// The turn to start a simulated data server. Every run's server begins with the same port, and the receiver connects as
/// soon as it sees the process: two runs that start at once would meet each other's servers. So runs on the bench start
/// theirs one after the other; a server leaves the port before the next turn.
class StartTurn {
public:
    static constexpr std::chrono::seconds longestWait{300}; ///< beyond a start that goes through all eight ports

    /// Blocks until the turn comes, and reports after a second that it waits. Without a usable file there are no turns.
    /// Throws Failure: Interrupted after Ctrl-C, NoSystem after `longest`.
    explicit StartTurn(ProgressLine& line, const std::filesystem::path& file = userLockFile("orvtrace-bench"),
                       std::chrono::milliseconds longest = longestWait);

private:
    FileLock lock;
};

} // namespace host
