#include "bench/server/LoopbackSocket.h"

#include <windows.h>
#include <winsock2.h>
#include <algorithm>
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

SOCKET newSocket() {
    static const bool ready = [] {
        WSADATA data{};
        return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return ready ? ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP) : INVALID_SOCKET;
}

void setOption(SOCKET socket, int level, int option) {
    const BOOL on = TRUE;
    ::setsockopt(socket, level, option, reinterpret_cast<const char*>(&on), sizeof on);
}

SOCKET native(std::intptr_t handle) {
    return static_cast<SOCKET>(handle);
}

constexpr std::size_t largestCall = 0x100000;

} // namespace

LoopbackSocket LoopbackSocket::listenOn(std::uint16_t port) {
    LoopbackSocket result(static_cast<Handle>(newSocket()));
    const SOCKET socket = native(result.handle);
    // No option: a listener excludes another one, and connections of a closed listener do not block the port.
    // With SO_EXCLUSIVEADDRUSE they would, and with SO_REUSEADDR two listeners could share it.
    const sockaddr_in address = loopback(port);
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || ::listen(socket, 8) != 0) {
        result.close();
    }
    return result;
}

LoopbackSocket LoopbackSocket::connectTo(std::uint16_t port) {
    LoopbackSocket result(static_cast<Handle>(newSocket()));
    const SOCKET socket = native(result.handle);
    const sockaddr_in address = loopback(port);
    setOption(socket, IPPROTO_TCP, TCP_NODELAY);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        result.close();
    }
    return result;
}

bool LoopbackSocket::readable(int milliseconds) const {
    fd_set set;
    set.fd_count = 1;
    set.fd_array[0] = native(handle);
    timeval wait{milliseconds / 1000, milliseconds % 1000 * 1000};
    return ::select(0, &set, nullptr, nullptr, &wait) != 0;
}

LoopbackSocket LoopbackSocket::accept() const {
    const SOCKET socket = ::accept(native(handle), nullptr, nullptr);
    if (socket != INVALID_SOCKET) {
        setOption(socket, IPPROTO_TCP, TCP_NODELAY);
    }
    return LoopbackSocket(static_cast<Handle>(socket));
}

std::size_t LoopbackSocket::receive(std::span<std::uint8_t> out) const {
    const int size = static_cast<int>(std::min(out.size(), largestCall));
    const int count = ::recv(native(handle), reinterpret_cast<char*>(out.data()), size, 0);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

bool LoopbackSocket::sendAll(std::span<const std::uint8_t> bytes) const {
    while (!bytes.empty()) {
        const int size = static_cast<int>(std::min(bytes.size(), largestCall));
        const int count = ::send(native(handle), reinterpret_cast<const char*>(bytes.data()), size, 0);
        if (count <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

void LoopbackSocket::close() {
    if (handle != none) {
        const SOCKET socket = native(std::exchange(handle, none));
        ::shutdown(socket, SD_BOTH);
        ::closesocket(socket);
    }
}

} // namespace bench
