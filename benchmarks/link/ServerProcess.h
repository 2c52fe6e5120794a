#pragma once

#include "link/IGdbIo.h"
#include "mpx/MpxEcomServer/OrvEcomProxy.h"

#include <cstdint>
#include <memory>

/// The process that answers this program's requests. Started on first use, ended with the program.
class ServerProcess {
public:
    static ServerProcess& get();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess();

    /// A new connection. Throws `std::runtime_error` when it fails.
    std::unique_ptr<MPX_GDB_AGENT::IGdbIo> connect() const;
    /// A client over such a connection, with the chunk size that a receiver uses.
    std::unique_ptr<VX_QRS::ORV::OrvEcomProxy> client() const;

private:
    ServerProcess();

    std::uint32_t port = 0;
    std::uint32_t pid = 0;
};
