#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace bench {

// A TCP socket on 127.0.0.1 and nowhere else. Nothing here throws; a socket is used by one thread at a time.
class LoopbackSocket {
public:
    LoopbackSocket() = default;
    LoopbackSocket(LoopbackSocket&& other) noexcept;
    LoopbackSocket& operator=(LoopbackSocket&& other) noexcept;
    ~LoopbackSocket();

    // Empty when the port is taken, which is the one thing that is to be expected, or cannot be had.
    static LoopbackSocket listenOn(std::uint16_t port);
    // Empty when nobody listens there.
    static LoopbackSocket connectTo(std::uint16_t port);

    explicit operator bool() const { return handle != none; }

    // Of a listening socket: true when a connection waits; of a connected one: when there is something to
    // receive or the peer is gone.
    bool readable(int milliseconds) const;
    LoopbackSocket accept() const;
    // The bytes received, 0 when the peer is gone.
    std::size_t receive(std::span<std::uint8_t> out) const;
    // False when the peer is gone.
    bool sendAll(std::span<const std::uint8_t> bytes) const;
    void close();

private:
    using Handle = std::intptr_t;
    static constexpr Handle none = -1;
    explicit LoopbackSocket(Handle value) : handle(value) {}

    Handle handle = none;
};

} // namespace bench
