#include "link/GdbTcpipIo.h"

#include "common/source/source_utilities/uThread.h"

#include <limits>
#include <new>
#include <string>

namespace MPX_GDB_AGENT {

using VX_QRS::uSocket;
using VX_QRS::uThread;

namespace {

constexpr std::uint32_t neverCreated = 1;

// Counts of a socket are signed.
std::uint32_t oneCall(std::uint32_t size) {
    constexpr auto most = static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());
    return size < most ? size : most;
}

std::uint32_t moved(std::int32_t count) {
    return count > 0 ? static_cast<std::uint32_t>(count) : 0;
}

// A closed socket never becomes readable: the wait times out, and an unlimited one ends at once.
bool waitFor(uSocket* socket, std::int32_t waitMs) {
    if (socket != nullptr && socket->isOpen()) {
        return socket->waitReadable(waitMs);
    }
    if (waitMs > 0) {
        uThread::sleep(static_cast<std::uint32_t>(waitMs));
    }
    return false;
}

} // namespace

GdbTcpipIo::GdbTcpipIo(std::uint32_t port) : listener(new(std::nothrow) uSocket), portNumber(port) {}

GdbTcpipIo::~GdbTcpipIo() = default;

bool GdbTcpipIo::isConnected() const {
    return client != nullptr && client->isOpen();
}

std::uint32_t GdbTcpipIo::listenOn() {
    if (listener == nullptr) {
        return neverCreated;
    }
    return listener->listen(static_cast<std::uint16_t>(portNumber)) == uSocket::done ? IoOk : IoListenFailed;
}

std::uint32_t GdbTcpipIo::stopListening() {
    if (listener != nullptr) {
        listener->close();
    }
    return IoOk;
}

std::uint32_t GdbTcpipIo::acceptClient(std::int32_t waitMs) {
    if (isConnected()) {
        return IoOk;
    }
    if (!waitFor(listener.get(), waitMs)) {
        return IoTimeout;
    }
    std::unique_ptr<uSocket> accepted = listener->accept();
    if (accepted == nullptr) {
        return IoFailed;
    }
    closeClient();
    client = accepted.release();
    return IoOk;
}

const char* GdbTcpipIo::peerName() {
    static std::string name;
    try {
        name.clear();
        if (isConnected()) {
            name = client->peerAddress();
            name += ':';
            // One character; callers expect it.
            name += static_cast<char>(client->remotePort() & 0xFF);
        }
    } catch (const std::bad_alloc&) {
        name.clear();
    }
    return name.c_str();
}

void GdbTcpipIo::closeClient() {
    if (client != nullptr) {
        client->close();
    }
    delete client;
    client = nullptr;
}

std::uint32_t GdbTcpipIo::receive(void* buffer, std::uint32_t size, std::uint32_t& count) {
    count = 0;
    if (client == nullptr) {
        return IoNotConnected;
    }
    std::int32_t got = 0;
    const int status = client->read(buffer, oneCall(size), 0, got);
    if (status != uSocket::done) {
        keepReason(*client);
    }
    if (status == uSocket::connectionGone || (status == uSocket::done && got == 0)) {
        closeClient();
        return IoDisconnected;
    }
    if (status != uSocket::done) {
        return IoFailed;
    }
    count = moved(got);
    return IoOk;
}

std::uint32_t GdbTcpipIo::waitReadable(std::int32_t waitMs) {
    if (client == nullptr) {
        return IoNotConnected;
    }
    return waitFor(client, waitMs) ? IoOk : IoTimeout;
}

std::uint32_t GdbTcpipIo::send(const void* buffer, std::uint32_t size, std::uint32_t& count) {
    count = 0;
    if (client == nullptr) {
        return IoNotConnected;
    }
    std::int32_t went = 0;
    const int status = client->write(buffer, oneCall(size), 0, went);
    if (status != uSocket::done) {
        keepReason(*client);
    }
    if (status == uSocket::connectionGone) {
        closeClient();
        return IoDisconnected;
    }
    if (status != uSocket::done) {
        return IoFailed;
    }
    count = moved(went);
    return IoOk;
}

std::uint32_t GdbTcpipIo::waitWritable(std::int32_t) {
    return client == nullptr ? IoNotConnected : IoOk;
}

std::uint32_t GdbTcpipIo::connectTo(const char* host) {
    if (isConnected()) {
        return IoOk;
    }
    if (client == nullptr) {
        client = new (std::nothrow) uSocket;
    }
    if (client == nullptr) {
        return IoFailed;
    }
    const int status = client->connect(host, static_cast<std::uint16_t>(portNumber));
    keepReason(*client);
    return status == uSocket::done ? IoOk : IoFailed;
}

void GdbTcpipIo::keepReason(const uSocket& failed) noexcept {
    try {
        reason = failed.lastError();
    } catch (const std::bad_alloc&) {
        reason.clear();
    }
}

} // namespace MPX_GDB_AGENT
