#include "benchmarks/link/ServerProcess.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uSocket.h"
#include "link/GdbTcpipIo.h"

#include <stdexcept>
#include <string>

using namespace VX_QRS;
using MPX_GDB_AGENT::GdbTcpipIo;
using MPX_GDB_AGENT::IGdbIo;

namespace {

std::uint16_t freePort() {
    uSocket probe;
    if (probe.listen(0) != uSocket::done) {
        throw std::runtime_error("no port to listen at");
    }
    return probe.localPort();
}

} // namespace

ServerProcess& ServerProcess::get() {
    static ServerProcess server;
    return server;
}

ServerProcess::ServerProcess() : port(freePort()) {
    const std::string image = BENCHMARK_SERVER_FOLDER "/benchmark_link_server";
    pid = uEnvironment::startProcess(image.c_str(), std::to_string(port).c_str(), uEnvironment::detachedMode);
    if (pid == 0) {
        throw std::runtime_error("the server did not start");
    }
}

ServerProcess::~ServerProcess() {
    uEnvironment::terminateProcess(pid);
}

std::unique_ptr<IGdbIo> ServerProcess::connect() const {
    auto link = std::make_unique<GdbTcpipIo>(port);
    if (link->connectTo("127.0.0.1") != MPX_GDB_AGENT::IoOk) {
        link->closeClient();
        throw std::runtime_error("the server does not answer");
    }
    return link;
}

std::unique_ptr<ORV::OrvEcomProxy> ServerProcess::client() const {
    return std::make_unique<ORV::OrvEcomProxy>(connect(), ORV::OrvEcomProxy::defaultChunkSize);
}
