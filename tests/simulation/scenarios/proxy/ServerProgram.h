#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace simulation {

/// How a scenario's data server behaves.
struct ServerPlan {
    std::uint32_t version = 1;
    std::uint32_t opensAfter = 0;                ///< milliseconds until it listens
    std::uint32_t slowest = 0;                   ///< each reply is late by up to so many milliseconds
    std::size_t requestsServed = SIZE_MAX;       ///< at the next one the process ends without a reply
    std::size_t requestsWithoutError = SIZE_MAX; ///< the next one is answered by a text of the server's own
};

/// What the servers of a schedule did.
struct ServerRecord {
    std::size_t requested = 0; ///< bytes of recorded data that were asked for
    std::size_t sent = 0;      ///< bytes of recorded data in replies
};

inline constexpr const char* serverImage = "mpx_ecom_server.exe";

/// The recorded byte at a position; all values occur, those of the framing too.
std::uint8_t recordedByte(std::size_t position);
/// The content of a register that was not written.
std::uint32_t registerContent(std::uint32_t address);

/// The body of the server's process: listens at the port of its arguments ("1 <port>"), serves one client and ends with
/// it. Recorded data go out in records of drawn sizes with the replies to requests for data and status, the rest with
/// the reply to a flush.
void runServer(const ServerPlan& plan, ServerRecord& record, const std::string& arguments);

/// The body of a program that is no data server: it holds the port for that time or, with 0, until it is ended, and
/// takes connections without an answer.
void holdPort(const std::string& arguments, std::uint32_t milliseconds);

} // namespace simulation
