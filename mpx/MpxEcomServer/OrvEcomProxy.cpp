#include "mpx/MpxEcomServer/OrvEcomProxy.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "link/GdbTcpipIo.h"
#include "mpx/MpxEcomServer/EcomWire.h"
#include "mpx/MpxEcomServer/ProxyNames.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace VX_QRS::ORV {

namespace {

constexpr const char* serverHost = "127.0.0.1";
constexpr const char* serverFolderVariable = "COMMON_HELIX";
constexpr std::uint32_t bufferReservation = 0x100000;
constexpr double pollingIntervalSeconds = 1.0;
constexpr double pollDelaySeconds = 5.0;
// With this count the timer never fires and its thread ends by itself: records are delivered only with the replies to
// the client's own requests.
constexpr std::uint32_t pollRepeats = 0;

} // namespace

OrvEcomProxy::OrvEcomProxy(std::uint32_t port, std::uint32_t chunk) : OrvEcomProxy(platformProcesses(), port, chunk) {}

OrvEcomProxy::OrvEcomProxy(ProcessAccess& access, std::uint32_t port, std::uint32_t chunk)
    : processes(access), chunkSize(chunk) {
    try {
        begin(port);
    } catch (...) {
        // The destructor does not run: end the server here.
        closeLink();
        terminateServer();
        throw;
    }
}

OrvEcomProxy::OrvEcomProxy(std::unique_ptr<MPX_GDB_AGENT::IGdbIo> connected, std::uint32_t chunk, ProcessAccess& access)
    : processes(access), link(std::move(connected)), chunkSize(chunk) {
    sendBuffer.create(chunkSize + 1);
    receiveBuffer.create(chunkSize + 1);
    try {
        beginTalk();
    } catch (...) {
        logError("MpxEcomProxy: version check failed");
        closeLink();
        throw;
    }
}

OrvEcomProxy::~OrvEcomProxy() {
    logEntry(proxySourceName, "OrvEcomProxy::~OrvEcomProxy");
    timer.stop();
    try {
        beginRequest(wire::command::quit);
        endRequest();
        sendRequest();
    } catch (...) {
        // The server may have ended; its process is terminated below in any case.
    }
    closeLink();
    terminateServer();
}

void OrvEcomProxy::begin(std::uint32_t firstPort) {
    sendBuffer.create(chunkSize + 1);
    receiveBuffer.create(chunkSize + 1);

    // The server is started by its bare name, so its folder has to be the working directory.
    uEnvironment::ScopedDirectoryChanger directory(nullptr);
    const std::string folder = uEnvironment::get(serverFolderVariable);
    if (!folder.empty()) {
        logMessage("MpxEcomProxy: changing directory to %s", folder.c_str());
        directory.change(folder.c_str());
    }
    const StartedServer server = startServer(processes, firstPort);
    serverPid = server.id;
    serverPort = server.port;
    connectServer();
    try {
        spareSocket.connect(serverHost, static_cast<std::uint16_t>(serverPort));
        watchesServer = true;
        beginTalk();
        watchesServer = false;
    } catch (...) {
        logError("MpxEcomProxy: version check failed");
        throw;
    }
    startTimer();
}

void OrvEcomProxy::connectServer() {
    try {
        link = std::make_unique<MPX_GDB_AGENT::GdbTcpipIo>(serverPort);
    } catch (const std::exception&) {
        throw std::runtime_error("failed to create io");
    }
    if (link->connectTo(serverHost) != MPX_GDB_AGENT::IoOk) {
        fail("MpxEcomProxy: failed to connect to server", "failed to connect to server", link->lastError());
    }
}

void OrvEcomProxy::beginTalk() {
    // Both have their storage already, so the buffers keep the size of a chunk.
    sendBuffer.reserve(bufferReservation);
    receiveBuffer.reserve(bufferReservation);
    const std::uint32_t version = queryVersion();
    logError("MpxEcomProxy: server version is %u", version);
    if (version != wire::serverVersion) {
        terminateServer();
        throw std::runtime_error("ecom version mismatch");
    }
}

void OrvEcomProxy::startTimer() {
    timer.setPollingInterval(pollingIntervalSeconds);
    timer.registerCallable(this, pollDelaySeconds, pollRepeats);
    timer.start();
}

void OrvEcomProxy::terminateServer() noexcept {
    if (serverPid != 0) {
        processes.terminate(serverPid);
    }
    serverPid = 0;
}

void OrvEcomProxy::closeLink() noexcept {
    if (link != nullptr) {
        link->closeClient();
    }
    link.reset();
}

DataClient* createDataClient(std::uint32_t port) {
    try {
        return new OrvEcomProxy(port, OrvEcomProxy::defaultChunkSize);
    } catch (...) {
        return nullptr;
    }
}

void destroyDataClient(DataClient* client) {
    delete client;
}

} // namespace VX_QRS::ORV
