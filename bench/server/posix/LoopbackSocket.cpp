#include "bench/server/LoopbackSocket.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace bench {

namespace {

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int newSocket() {
    return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

void setOption(int socket, int level, int option) {
    const int on = 1;
    ::setsockopt(socket, level, option, &on, sizeof on);
}

} // namespace

LoopbackSocket LoopbackSocket::listenOn(std::uint16_t port) {
    LoopbackSocket result(newSocket());
    const int socket = static_cast<int>(result.handle);
    // Connections of an earlier run that are still closing do not block the port.
    setOption(socket, SOL_SOCKET, SO_REUSEADDR);
    const sockaddr_in address = loopback(port);
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || ::listen(socket, 8) != 0) {
        result.close();
    }
    return result;
}

LoopbackSocket LoopbackSocket::connectTo(std::uint16_t port) {
    LoopbackSocket result(newSocket());
    const int socket = static_cast<int>(result.handle);
    const sockaddr_in address = loopback(port);
    setOption(socket, IPPROTO_TCP, TCP_NODELAY);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        result.close();
    }
    return result;
}

bool LoopbackSocket::readable(int milliseconds) const {
    pollfd what{static_cast<int>(handle), POLLIN, 0};
    return ::poll(&what, 1, milliseconds) > 0;
}

LoopbackSocket LoopbackSocket::accept() const {
    const int socket = ::accept4(static_cast<int>(handle), nullptr, nullptr, SOCK_CLOEXEC);
    if (socket >= 0) {
        setOption(socket, IPPROTO_TCP, TCP_NODELAY);
    }
    return LoopbackSocket(socket);
}

std::size_t LoopbackSocket::receive(std::span<std::uint8_t> out) const {
    ssize_t count = 0;
    do {
        count = ::recv(static_cast<int>(handle), out.data(), out.size(), 0);
    } while (count < 0 && errno == EINTR);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

bool LoopbackSocket::sendAll(std::span<const std::uint8_t> bytes) const {
    while (!bytes.empty()) {
        const ssize_t count = ::send(static_cast<int>(handle), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

void LoopbackSocket::close() {
    if (handle != none) {
        const int socket = static_cast<int>(std::exchange(handle, none));
        ::shutdown(socket, SHUT_RDWR);
        ::close(socket);
    }
}

} // namespace bench
