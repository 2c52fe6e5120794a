#pragma once

#include "common/source/source_utilities/uSocket.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace simulation {

/// The little-endian number at a position of a request's arguments.
std::uint32_t wordAt(const std::string& bytes, std::size_t at);
inline constexpr std::size_t wordSize = 4;
inline constexpr std::size_t accessSize = 3 * wordSize;

/// The port of a server's arguments, "1 <port>".
std::uint16_t portOf(const std::string& arguments);

struct Request {
    char command = 0;
    std::string arguments; ///< without escapes
};

/// A server's side of the connections that one client makes.
class ServerTalk {
public:
    /// Waits for the client. False when the port is taken.
    bool open(std::uint16_t port);
    /// Waits for the next request; empty when the client has gone.
    std::optional<Request> next();
    /// False when the client has gone.
    bool send(const std::string& bytes);

private:
    void acceptSilent();

    VX_QRS::uSocket listener;
    std::unique_ptr<VX_QRS::uSocket> client;
    std::unique_ptr<VX_QRS::uSocket> silent; // carries nothing; a client that could not make it is served all the same
    std::string pending;
};

} // namespace simulation
