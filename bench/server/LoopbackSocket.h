#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace bench {

/// A TCP socket on 127.0.0.1. Throws nothing. One thread at a time.
class LoopbackSocket {
public:
    LoopbackSocket() = default;
    LoopbackSocket(LoopbackSocket&& other) noexcept;
    LoopbackSocket& operator=(LoopbackSocket&& other) noexcept;
    ~LoopbackSocket();

    /// Empty when the port is taken or cannot be opened.
    static LoopbackSocket listenOn(std::uint16_t port);
    /// Empty when no process listens there.
    static LoopbackSocket connectTo(std::uint16_t port);

    explicit operator bool() const { return handle != none; }

    /// True when a connection waits (listening socket), or when bytes can be received or the peer has
    /// disconnected (connected socket).
    bool readable(int milliseconds) const;
    LoopbackSocket accept() const;
    /// Number of bytes received; 0 when the peer has disconnected.
    std::size_t receive(std::span<std::uint8_t> out) const;
    /// False when the peer has disconnected.
    bool sendAll(std::span<const std::uint8_t> bytes) const;
    void close();

private:
    using Handle = std::intptr_t;
    static constexpr Handle none = -1;
    explicit LoopbackSocket(Handle value) : handle(value) {}

    Handle handle = none;
};

} // namespace bench
