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

/// Transport of packets: one listening socket at most and one connected one, called the client. Nothing throws. One
/// caller at a time. Waits are in milliseconds, and a negative one has no limit.
class IGdbIo {
public:
    virtual ~IGdbIo() = default;

    virtual std::uint32_t listenOn() = 0;
    virtual std::uint32_t stopListening() = 0;
    /// Waits for a peer and takes it as the client; `IoOk` at once when there is one already. Without `listenOn`
    /// no peer can come: `IoTimeout` after the wait, at once for one that has no limit.
    virtual std::uint32_t acceptClient(std::int32_t waitMs) = 0;
    /// Address and port of the peer, empty when unconnected. The text is one for all objects and stays valid until
    /// the next call.
    virtual const char* peerName() = 0;
    /// Closes the client; nothing happens when there is none.
    virtual void closeClient() = 0;
    /// One read of at most `size` bytes; blocks until there is one at least. @param count what was read, 0 on any
    /// other result than `IoOk`.
    virtual std::uint32_t receive(void* buffer, std::uint32_t size, std::uint32_t& count) = 0;
    /// Waits until `receive` would not block.
    virtual std::uint32_t waitReadable(std::int32_t waitMs) = 0;
    /// One write of at most `size` bytes. @param count what went out.
    virtual std::uint32_t send(const void* buffer, std::uint32_t size, std::uint32_t& count) = 0;
    /// Does not wait: tells only whether there is a client.
    virtual std::uint32_t waitWritable(std::int32_t waitMs) = 0;
    /// Connects to a host, given as a dotted address; `IoOk` at once when connected. After `IoFailed` call
    /// `closeClient`: the unconnected socket is still held.
    virtual std::uint32_t connectTo(const char* host) = 0;
    virtual std::uint32_t port() const = 0;
    /// Why the latest operation failed, in the transport's words; kept after the client is closed. Empty when nothing
    /// has failed since the last connection, or when the words are not known. Valid until the next operation.
    virtual const char* lastError() const { return ""; }
};

} // namespace MPX_GDB_AGENT
