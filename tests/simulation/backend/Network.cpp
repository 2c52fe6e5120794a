#include "tests/simulation/backend/Network.h"

#include <algorithm>
#include <array>
#include <vector>

namespace simulation {

namespace {

constexpr std::uint16_t firstFreePort = 49152;
constexpr std::size_t usualCapacity = 65536;

} // namespace

Network& Network::instance() {
    static auto* network = new Network;
    return *network;
}

void Network::begin(std::uint64_t seed) {
    chance = Random(seed);
    sockets.clear();
    lastHandle = 0;
    lastPort = firstFreePort - 1;
    pieces = Pieces::whole;
    capacity = usualCapacity;
    if (seed != 0) {
        constexpr std::array kinds{Pieces::whole, Pieces::any, Pieces::small};
        pieces = kinds.at(chance.below(kinds.size()));
        constexpr double least = 1024;
        capacity = static_cast<std::size_t>(chance.logUniform(least, usualCapacity));
    }
}

SocketHandle Network::create(ProcessNumber process) {
    // Not used again in a schedule: a stale handle is always found out.
    sockets[++lastHandle].process = process;
    return lastHandle;
}

Endpoint* Network::find(SocketHandle handle) {
    const auto found = sockets.find(handle);
    return found == sockets.end() ? nullptr : &found->second;
}

std::uint16_t Network::freePort() {
    return ++lastPort;
}

bool Network::bind(Endpoint& endpoint, std::uint16_t port) {
    const bool isTaken = std::any_of(sockets.begin(), sockets.end(), [port](const auto& entry) {
        const Endpoint& other = entry.second;
        const bool holdsPort = other.state == Endpoint::State::bound || other.state == Endpoint::State::listening;
        return holdsPort && other.local == port;
    });
    if (isTaken) {
        return false;
    }
    endpoint.state = Endpoint::State::bound;
    endpoint.local = port != 0 ? port : freePort();
    return true;
}

Endpoint* Network::listenerAt(std::uint16_t port) {
    for (auto& [handle, endpoint] : sockets) {
        if (endpoint.state == Endpoint::State::listening && endpoint.local == port) {
            return &endpoint;
        }
    }
    return nullptr;
}

// One more than the backlog, as real systems allow.
bool Network::hasSpaceToWait(const Endpoint& listener) {
    return listener.waiting.size() <= listener.backlog;
}

void Network::connect(SocketHandle client, Endpoint& listener) {
    const SocketHandle server = create(listener.process);
    listener.waiting.push_back(server);
    Endpoint& near = sockets.at(client);
    Endpoint& far = sockets.at(server);
    near.state = far.state = Endpoint::State::connected;
    if (near.local == 0) {
        near.local = freePort();
    }
    near.remote = far.local = listener.local;
    far.remote = near.local;
    near.peer = server;
    far.peer = client;
}

std::size_t Network::drawPiece(std::size_t most) {
    constexpr std::size_t smallMost = 8;
    switch (pieces) {
    case Pieces::whole:
        return most;
    case Pieces::any:
        return 1 + chance.below(most);
    case Pieces::small:
        return 1 + chance.below(std::min(most, smallMost));
    }
    return most;
}

bool Network::hasSpaceToSend(const Endpoint& from) {
    const Endpoint* to = find(from.peer);
    return to == nullptr || to->arrived.size() < capacity;
}

std::size_t Network::send(Endpoint& from, const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    Endpoint* to = find(from.peer);
    if (to == nullptr) {
        from.reset = true; // the answer to bytes that arrive where nothing is open
        return size;
    }
    const std::size_t count = drawPiece(std::min(size, capacity - to->arrived.size()));
    to->arrived.insert(to->arrived.end(), data, data + count);
    return count;
}

std::size_t Network::receive(Endpoint& to, std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t count = drawPiece(std::min(size, to.arrived.size()));
    const auto end = to.arrived.begin() + static_cast<std::ptrdiff_t>(count);
    std::copy(to.arrived.begin(), end, data);
    to.arrived.erase(to.arrived.begin(), end);
    return count;
}

void Network::lose(Endpoint& endpoint) {
    endpoint.reset = true;
    if (chance.chance(0.5)) {
        endpoint.arrived.clear(); // some systems discard what was not read before a reset
    }
}

void Network::reset(Endpoint& endpoint) {
    Endpoint* peer = find(endpoint.peer);
    endpoint.peer = VX_QRS::uSocket::invalidHandle;
    endpoint.arrived.clear();
    endpoint.reset = true;
    if (peer != nullptr) {
        peer->peer = VX_QRS::uSocket::invalidHandle;
        lose(*peer);
    }
}

void Network::close(SocketHandle handle) {
    const auto found = sockets.find(handle);
    if (found == sockets.end()) {
        return;
    }
    const Endpoint closed = std::move(found->second);
    sockets.erase(found);
    if (Endpoint* peer = find(closed.peer); peer != nullptr) {
        peer->peer = VX_QRS::uSocket::invalidHandle;
        peer->ended = true;
        if (!closed.arrived.empty()) {
            lose(*peer); // closing with unread bytes resets the connection
        }
    }
    for (const SocketHandle waiting : closed.waiting) {
        if (Endpoint* never = find(waiting); never != nullptr) {
            reset(*never);
            sockets.erase(waiting);
        }
    }
}

void Network::closeAllOf(ProcessNumber process) {
    std::vector<SocketHandle> handles;
    for (const auto& [handle, endpoint] : sockets) {
        if (endpoint.process == process) {
            handles.push_back(handle);
        }
    }
    for (const SocketHandle handle : handles) {
        close(handle);
    }
}

std::size_t Network::openSockets(ProcessNumber process) const {
    return static_cast<std::size_t>(std::count_if(
        sockets.begin(), sockets.end(), [process](const auto& entry) { return entry.second.process == process; }));
}

} // namespace simulation
