#pragma once

#include <cstdint>

namespace VX_QRS::ORV {

/// What a server's life needs of the platform.
class ProcessAccess {
public:
    virtual ~ProcessAccess() = default;
    /// Starts a process, detached from any console. Its id, or 0.
    virtual std::uint32_t start(const char* image, const char* arguments) = 0;
    /// The id of a running process of that image with that id, 0 when there is none. An id of 0 matches any process
    /// of the image.
    virtual std::uint32_t find(const char* image, std::uint32_t id) = 0;
    /// Whether that process has ended for certain; true for 0. Works without memory, as does the next.
    virtual bool hasEnded(std::uint32_t id) noexcept = 0;
    virtual void terminate(std::uint32_t id) noexcept = 0;
    virtual void sleep(std::uint32_t milliseconds) = 0;
};

/// The platform's own processes.
ProcessAccess& platformProcesses();

/// A process that was started, or that none was seen to contradict.
struct StartedServer {
    std::uint32_t id = 0;   ///< 0 when the start failed, but no server runs at all: the connection will tell
    std::uint32_t port = 0; ///< the port it was told to listen at
};

/// Starts the data server by its bare name, telling it to listen at `firstPort` or, where no process comes to be seen
/// for that, at one of the seven ports after it. Blocks for 100 ms at least and up to 5 s for each port that fails.
/// Throws `std::runtime_error` "failed to start server", or whatever the platform throws. A process that is not the one
/// returned is terminated, at the end of its attempt.
StartedServer startServer(ProcessAccess& processes, std::uint32_t firstPort);

} // namespace VX_QRS::ORV
