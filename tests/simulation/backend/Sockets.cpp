// The platform's sockets over queues of bytes. Every call is a choice point and can fail.

#include "tests/simulation/backend/Sockets.h"

#include "common/source/source_utilities/NativeSocket.h"
#include "tests/simulation/backend/Network.h"
#include "tests/simulation/backend/Processes.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <cstring>
#include <map>
#include <string>

namespace simulation {

namespace {

namespace error = socketError;
using VX_QRS::uSocket;

std::map<ThreadNumber, int>& errors() {
    static auto* all = new std::map<ThreadNumber, int>;
    return *all;
}

ThreadNumber self() {
    return Scheduler::isSimulated() ? Scheduler::instance().self() : 0;
}

/// Results of failed calls.
bool fail(int code) {
    const Quiet quiet;
    errors()[self()] = code;
    return false;
}

std::int32_t failTransfer(int code) {
    fail(code);
    return -1;
}

SocketHandle failOpen(int code) {
    fail(code);
    return uSocket::invalidHandle;
}

Endpoint* find(SocketHandle handle) {
    return Network::instance().find(handle);
}

void begin(const char* what) {
    if (Scheduler::isSimulated()) {
        Scheduler::instance().point({Operation::socket, what});
        leaveEndedProcess();
    }
}

/// A blocked call: whose it is, and at which socket.
struct Call {
    SocketHandle handle = uSocket::invalidHandle;
    std::uint16_t port = 0;
    ProcessNumber process = currentProcess();
};

bool isOver(const Call& call) {
    return isProcessEnded(call.process) || find(call.handle) == nullptr;
}

bool isReadable(const void* context) {
    const Call& call = *static_cast<const Call*>(context);
    if (isOver(call)) {
        return true;
    }
    const Endpoint& endpoint = *find(call.handle);
    switch (endpoint.state) {
    case Endpoint::State::listening:
        return !endpoint.waiting.empty();
    case Endpoint::State::connected:
        return !endpoint.arrived.empty() || endpoint.ended || endpoint.reset;
    default:
        return true; // the next call fails at once
    }
}

bool isWritable(const void* context) {
    const Call& call = *static_cast<const Call*>(context);
    return isOver(call) || find(call.handle)->reset || Network::instance().hasSpaceToSend(*find(call.handle));
}

bool mayConnect(const void* context) {
    const Call& call = *static_cast<const Call*>(context);
    const Endpoint* listener = Network::instance().listenerAt(call.port);
    return isOver(call) || listener == nullptr || Network::hasSpaceToWait(*listener);
}

std::string describe(const void* context) {
    const Call& call = *static_cast<const Call*>(context);
    const Endpoint* endpoint = find(call.handle);
    return "the peer at socket " + std::to_string(call.handle) +
           (endpoint == nullptr ? "" : ", port " + std::to_string(endpoint->local));
}

/// Blocks; true when the condition holds. Ends the thread of a process that ended meanwhile.
bool await(const char* what, bool (*condition)(const void*), const Call& call, Time deadline = never) {
    const bool holds = Scheduler::instance().wait({Operation::socket, what}, {condition, describe, &call}, deadline);
    leaveEndedProcess();
    return holds;
}

Time deadlineIn(std::uint32_t milliseconds) {
    constexpr Time microseconds = 1000;
    return Scheduler::instance().now() + milliseconds * microseconds;
}

/// The error of a lost connection: the first call and later ones differ.
int lossOf(Endpoint& endpoint) {
    const bool isFirst = !endpoint.toldReset;
    endpoint.toldReset = true;
    return isFirst ? error::reset : error::brokenPipe;
}

/// The error that prevents a transfer, or none.
int obstacle(SocketHandle handle) {
    const Endpoint* endpoint = find(handle);
    if (endpoint == nullptr) {
        return error::notASocket;
    }
    return endpoint->state == Endpoint::State::connected ? error::none : error::notConnected;
}

void injectLoss(Endpoint& endpoint) {
    if (fails(Fault::socketReset)) {
        const Quiet quiet;
        Network::instance().reset(endpoint);
    }
}

} // namespace

void beginSockets(std::uint64_t seed) {
    const Quiet quiet;
    errors().clear();
    Network::instance().begin(seed);
}

std::size_t socketsLeftOpen() {
    return Network::instance().openSockets(0);
}

} // namespace simulation

namespace VX_QRS::nativeSocket {

using namespace simulation;

bool startLayer() {
    return true;
}

Handle create() {
    begin("socket");
    if (fails(Fault::socketCreate)) {
        return failOpen(error::tooManyOpen);
    }
    const Quiet quiet;
    return Network::instance().create(currentProcess());
}

bool setNoDelay(Handle handle) {
    begin("setsockopt");
    return find(handle) != nullptr || fail(error::notASocket);
}

bool connect(Handle handle, const char* address, std::uint16_t port) {
    begin("connect");
    const Endpoint* endpoint = find(handle);
    if (endpoint == nullptr) {
        return fail(error::notASocket);
    }
    if (endpoint->state != Endpoint::State::fresh) {
        return fail(error::alreadyConnected);
    }
    if (std::strcmp(address, "127.0.0.1") != 0) {
        return fail(error::unreachable);
    }
    if (fails(Fault::socketConnect)) {
        return fail(error::refused);
    }
    constexpr std::uint32_t patience = 21000; // milliseconds
    if (!await("connect", mayConnect, {handle, port}, deadlineIn(patience))) {
        return fail(error::timedOut);
    }
    Endpoint* listener = Network::instance().listenerAt(port);
    if (listener == nullptr) {
        return fail(error::refused);
    }
    const Quiet quiet;
    Network::instance().connect(handle, *listener);
    return true;
}

bool bindToAnyAddress(Handle handle, std::uint16_t port) {
    begin("bind");
    Endpoint* endpoint = find(handle);
    if (endpoint == nullptr) {
        return fail(error::notASocket);
    }
    if (endpoint->state != Endpoint::State::fresh) {
        return fail(error::invalid);
    }
    const Quiet quiet;
    return Network::instance().bind(*endpoint, port) || fail(error::addressInUse);
}

bool listen(Handle handle, int backlog) {
    begin("listen");
    Endpoint* endpoint = find(handle);
    if (endpoint == nullptr) {
        return fail(error::notASocket);
    }
    if (endpoint->state != Endpoint::State::bound || fails(Fault::socketListen)) {
        return fail(error::invalid);
    }
    endpoint->state = Endpoint::State::listening;
    endpoint->backlog = static_cast<std::size_t>(backlog);
    return true;
}

Handle accept(Handle handle, uSocket::Peer& peer) {
    begin("accept");
    const Endpoint* endpoint = find(handle);
    if (endpoint == nullptr) {
        return failOpen(error::notASocket);
    }
    if (endpoint->state != Endpoint::State::listening) {
        return failOpen(error::invalid);
    }
    await("accept", isReadable, {handle});
    Endpoint* listener = find(handle);
    if (listener == nullptr) {
        return failOpen(error::notASocket);
    }
    if (fails(Fault::socketAccept)) {
        return failOpen(error::tooManyOpen);
    }
    const Handle accepted = listener->waiting.front();
    {
        const Quiet quiet;
        listener->waiting.pop_front();
    }
    peer.address = "127.0.0.1";
    peer.port = find(accepted)->remote;
    return accepted;
}

std::uint16_t localPort(Handle handle) {
    const Endpoint* endpoint = find(handle);
    return endpoint == nullptr ? std::uint16_t{0} : endpoint->local;
}

std::uint16_t remotePort(Handle handle) {
    const Endpoint* endpoint = find(handle);
    return endpoint == nullptr ? std::uint16_t{0} : endpoint->remote;
}

std::int32_t receive(Handle handle, void* data, std::int32_t size) {
    begin("recv");
    if (const int code = obstacle(handle); code != error::none) {
        return failTransfer(code);
    }
    if (fails(Fault::socketEnd)) {
        find(handle)->ended = true;
        fail(error::none);
        return 0;
    }
    injectLoss(*find(handle));
    await("recv", isReadable, {handle});
    Endpoint* endpoint = find(handle);
    if (endpoint == nullptr) {
        return failTransfer(error::notASocket);
    }
    if (!endpoint->arrived.empty()) {
        const Quiet quiet;
        return static_cast<std::int32_t>(
            Network::instance().receive(*endpoint, static_cast<std::uint8_t*>(data), static_cast<std::size_t>(size)));
    }
    if (endpoint->reset) {
        return failTransfer(lossOf(*endpoint));
    }
    fail(error::none);
    return 0;
}

std::int32_t send(Handle handle, const void* data, std::int32_t size) {
    begin("send");
    if (const int code = obstacle(handle); code != error::none) {
        return failTransfer(code);
    }
    injectLoss(*find(handle));
    await("send", isWritable, {handle});
    Endpoint* endpoint = find(handle);
    if (endpoint == nullptr) {
        return failTransfer(error::notASocket);
    }
    if (endpoint->reset) {
        return failTransfer(lossOf(*endpoint));
    }
    const Quiet quiet;
    return static_cast<std::int32_t>(
        Network::instance().send(*endpoint, static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(size)));
}

void shutDownAndClose(Handle handle) {
    // Throws nothing: it runs in destructors, also in those of an ended process.
    if (Scheduler::isSimulated()) {
        Scheduler::instance().point({Operation::socket, "close"});
    }
    const Quiet quiet;
    if (find(handle) == nullptr && !isProcessEnded(currentProcess())) {
        Scheduler::instance().report("closed twice", "socket " + std::to_string(handle));
    }
    Network::instance().close(handle);
}

bool waitReadable(Handle handle, int milliseconds) {
    begin("select");
    const Time deadline = milliseconds < 0 ? never : deadlineIn(static_cast<std::uint32_t>(milliseconds));
    return await("select", isReadable, {handle}, deadline);
}

int lastError() {
    const Quiet quiet;
    return errors()[self()];
}

} // namespace VX_QRS::nativeSocket
