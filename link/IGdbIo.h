#pragma once

#include <cstdint>

namespace MPX_GDB_AGENT {

/// Results of all transport operations.
inline constexpr std::uint32_t IoOk = 0;
inline constexpr std::uint32_t IoFailed = 32;       ///< transport failure; the connection is kept
inline constexpr std::uint32_t IoDisconnected = 33; ///< the peer is gone; the client socket was closed
inline constexpr std::uint32_t IoListenFailed = 34; ///< the listening socket could not be set up
inline constexpr std::uint32_t IoTimeout = 35;      ///< nothing happened within the wait
inline constexpr std::uint32_t IoNotConnected = 36; ///< there is no client socket

/// Transport of packets: at most one listening socket and one connected one, called the client. Nothing throws. Not
/// thread-safe. Waits are in milliseconds; a negative one is unlimited.
class IGdbIo {
public:
    virtual ~IGdbIo() = default;

    virtual std::uint32_t listenOn() = 0;
    virtual std::uint32_t stopListening() = 0;
    /// Waits for a peer, which becomes the client; `IoOk` at once when there is a client. Without `listenOn` no peer
    /// can connect: `IoTimeout` after the wait, at once for an unlimited one.
    virtual std::uint32_t acceptClient(std::int32_t waitMs) = 0;
    /// Address and port of the peer, empty when unconnected. All objects share the text; it is valid until the next
    /// call.
    virtual const char* peerName() = 0;
    /// Closes the client, if any.
    virtual void closeClient() = 0;
    /// One read of at most `size` bytes; blocks until there is at least one. @param count bytes read, 0 unless the
    /// result is `IoOk`.
    virtual std::uint32_t receive(void* buffer, std::uint32_t size, std::uint32_t& count) = 0;
    /// Waits until `receive` would not block.
    virtual std::uint32_t waitReadable(std::int32_t waitMs) = 0;
    /// One write of at most `size` bytes. @param count bytes sent.
    virtual std::uint32_t send(const void* buffer, std::uint32_t size, std::uint32_t& count) = 0;
    /// Does not wait: reports only whether there is a client.
    virtual std::uint32_t waitWritable(std::int32_t waitMs) = 0;
    /// Connects to a host, given as a dotted address; `IoOk` at once when connected. After `IoFailed` call
    /// `closeClient`, since the unconnected socket is still open.
    virtual std::uint32_t connectTo(const char* host) = 0;
    virtual std::uint32_t port() const = 0;
    /// The transport's text for the latest failure; kept after the client is closed. Empty without a failure since the
    /// last connection, or without a text. Valid until the next operation.
    virtual const char* lastError() const { return ""; }
};

} // namespace MPX_GDB_AGENT
