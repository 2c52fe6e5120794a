#pragma once

#include <cstdint>

namespace VX_QRS::ORV {

/// Process operations that starting and ending a server needs.
class ProcessAccess {
public:
    virtual ~ProcessAccess() = default;
    /// Starts a process, detached from any console. Returns its id, or 0.
    virtual std::uint32_t start(const char* image, const char* arguments) = 0;
    /// Returns the id of a running process of that image with that id, 0 when there is none. An id of 0 matches any
    /// process of the image.
    virtual std::uint32_t find(const char* image, std::uint32_t id) = 0;
    /// Whether that process has certainly ended; true for 0. Allocates nothing, nor does the next function.
    virtual bool hasEnded(std::uint32_t id) noexcept = 0;
    virtual void terminate(std::uint32_t id) noexcept = 0;
    virtual void sleep(std::uint32_t milliseconds) = 0;
};

/// The platform's own processes.
ProcessAccess& platformProcesses();

/// Result of startServer.
struct StartedServer {
    std::uint32_t id = 0;   ///< 0 when the start failed and no process of the image runs; the connection then fails
    std::uint32_t port = 0; ///< the port it was started with
};

/// Starts the data server by its bare name with `firstPort` or, when no process is found then, with one of the seven
/// ports after it. Blocks for at least 100 ms and up to 5 s for each port that fails. Throws `std::runtime_error`
/// "failed to start server", or whatever the platform throws. A process other than the returned one is terminated at
/// the end of its attempt.
StartedServer startServer(ProcessAccess& processes, std::uint32_t firstPort);

} // namespace VX_QRS::ORV
