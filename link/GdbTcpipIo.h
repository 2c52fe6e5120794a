#pragma once

#include "common/source/source_utilities/uSocket.h"
#include "link/IGdbIo.h"

#include <memory>
#include <string>

namespace MPX_GDB_AGENT {

/// The transport over TCP. See `IGdbIo` for the contract of the operations.
class GdbTcpipIo : public IGdbIo {
public:
    /// @param port to listen at and to connect to. Does no input or output.
    explicit GdbTcpipIo(std::uint32_t port);
    /// Does not close the client: call `closeClient` before.
    ~GdbTcpipIo() override;
    GdbTcpipIo(const GdbTcpipIo&) = delete;
    GdbTcpipIo& operator=(const GdbTcpipIo&) = delete;

    std::uint32_t listenOn() override;
    std::uint32_t stopListening() override;
    std::uint32_t acceptClient(std::int32_t waitMs) override;
    const char* peerName() override;
    void closeClient() override;
    std::uint32_t receive(void* buffer, std::uint32_t size, std::uint32_t& count) override;
    std::uint32_t waitReadable(std::int32_t waitMs) override;
    std::uint32_t send(const void* buffer, std::uint32_t size, std::uint32_t& count) override;
    std::uint32_t waitWritable(std::int32_t waitMs) override;
    std::uint32_t connectTo(const char* host) override;
    std::uint32_t port() const override { return portNumber; }
    const char* lastError() const override { return reason.c_str(); }

private:
    bool isConnected() const;
    void keepReason(const VX_QRS::uSocket& failed) noexcept;

    std::unique_ptr<VX_QRS::uSocket> listener;
    VX_QRS::uSocket* client = nullptr; // owned, but not closed by the destructor
    std::uint32_t portNumber;
    std::string reason; // of the latest failure; its socket may be gone
};

} // namespace MPX_GDB_AGENT
