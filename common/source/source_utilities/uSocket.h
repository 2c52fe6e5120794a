#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace VX_QRS {

/// A TCP socket, client or server, over the platform's own. Nothing is thrown: operations return a status number and set
/// a text in lastError(), which is empty when there is no memory for it. read and write make one system call each and
/// may transfer fewer bytes than requested. Calls block indefinitely unless noted. Not thread-safe. A lost peer raises
/// no signal, and started processes do not inherit the handle.
class uSocket {
public:
    /// Results of the operations.
    static constexpr int done = 0;
    static constexpr int setUpFailed = 1;
    static constexpr int nullBuffer = 2;
    static constexpr int failed = 4;
    static constexpr int connectionGone = 5;

    using Handle = std::intptr_t;
    static constexpr Handle invalidHandle = -1;

    struct Peer {
        std::string address; // dotted
        std::uint16_t port = 0;
    };

    uSocket() = default;

    /// Takes over a connected handle.
    uSocket(Handle connected, const Peer& from);

    uSocket(const uSocket&) = delete;
    uSocket& operator=(const uSocket&) = delete;

    /// Closes.
    virtual ~uSocket();

    /// `host` is a dotted address; names are not resolved. A refusal is reported after one to two seconds, since the
    /// platform, or else this class, retries first. Status 0, 1 or 4. An open handle is closed first; after a failure
    /// none is open.
    int connect(const char* host, std::uint16_t port);

    /// Listens at all addresses of this machine with a backlog of 1. Port 0 means any free port. Status 0 or 1.
    int listen(std::uint16_t port);

    /// Waits for the next connection; null on failure, and at once on a client.
    std::unique_ptr<uSocket> accept();

    /// Ends the connection in both directions. May be repeated.
    void close();

    /// At most `size` bytes to or from `buffer` + `offset`. `count` is the number transferred: -1 after a failed read, 0
    /// after a failed write. Status 0, 2, 4 or 5; 5 means that the connection is closed. A read blocks until the first
    /// byte; an orderly end of the peer is status 5 with a count of 0.
    int read(void* buffer, std::uint32_t size, std::uint32_t offset, std::int32_t& count);
    int write(const void* buffer, std::uint32_t size, std::uint32_t offset, std::int32_t& count);

    /// Waits for data, a connection to accept, or a failure that the next call will report. A negative time is
    /// unlimited. False only on a timeout.
    bool waitReadable(int milliseconds);

    bool isOpen() const { return handle != invalidHandle; }
    std::uint16_t localPort() const { return local; }
    std::uint16_t remotePort() const { return remote; }
    const std::string& peerAddress() const { return peer; }
    const std::string& lastError() const { return error; }

    /// Text of an error number, which is one of Windows Sockets on all systems, or -1.
    static std::string errorText(int code);

private:
    void openHandle();
    bool knock(std::uint16_t port);
    int failOpen(const char* prefix, int status);
    int recordError(const char* prefix);

    bool isServer = false;
    Handle handle = invalidHandle;
    std::uint16_t local = 0;
    std::uint16_t remote = 0;
    std::string peer;
    std::string error;
};

} // namespace VX_QRS
