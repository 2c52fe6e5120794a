#include "common/source/source_utilities/NativeSocket.h"

#include <windows.h>
#include <winsock2.h>

namespace VX_QRS::nativeSocket {

namespace {

SOCKET native(Handle handle) {
    return static_cast<SOCKET>(handle);
}

// Not inherited by started processes.
Handle kept(SOCKET socket) {
    if (socket != INVALID_SOCKET) {
        SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
    }
    return static_cast<Handle>(socket);
}

sockaddr_in addressOf(unsigned long address, std::uint16_t port) {
    sockaddr_in record{};
    record.sin_family = AF_INET;
    record.sin_addr.s_addr = address;
    record.sin_port = htons(port);
    return record;
}

// The system calls accept every kind of address record as this one.
sockaddr* general(sockaddr_in* record) {
    return reinterpret_cast<sockaddr*>(record);
}

} // namespace

bool startLayer() {
    WSADATA data{};
    return WSAStartup(MAKEWORD(1, 1), &data) == 0;
}

Handle create() {
    return kept(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
}

bool setNoDelay(Handle handle) {
    const BOOL on = TRUE;
    return setsockopt(native(handle), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on) == 0;
}

bool connect(Handle handle, const char* address, std::uint16_t port) {
    sockaddr_in record = addressOf(inet_addr(address), port);
    return ::connect(native(handle), general(&record), sizeof record) == 0;
}

bool bindToAnyAddress(Handle handle, std::uint16_t port) {
    sockaddr_in record = addressOf(htonl(INADDR_ANY), port);
    return bind(native(handle), general(&record), sizeof record) == 0;
}

bool listen(Handle handle, int backlog) {
    return ::listen(native(handle), backlog) == 0;
}

Handle accept(Handle handle, uSocket::Peer& peer) {
    sockaddr_in record{};
    int size = sizeof record;
    const SOCKET accepted = ::accept(native(handle), general(&record), &size);
    if (accepted != INVALID_SOCKET) {
        peer.address = inet_ntoa(record.sin_addr);
        peer.port = ntohs(record.sin_port);
    }
    return kept(accepted);
}

std::uint16_t localPort(Handle handle) {
    sockaddr_in record{};
    int size = sizeof record;
    getsockname(native(handle), general(&record), &size);
    return ntohs(record.sin_port);
}

std::uint16_t remotePort(Handle handle) {
    sockaddr_in record{};
    int size = sizeof record;
    getpeername(native(handle), general(&record), &size);
    return ntohs(record.sin_port);
}

std::int32_t receive(Handle handle, void* data, std::int32_t size) {
    return recv(native(handle), static_cast<char*>(data), size, 0);
}

std::int32_t send(Handle handle, const void* data, std::int32_t size) {
    return ::send(native(handle), static_cast<const char*>(data), size, 0);
}

void shutDownAndClose(Handle handle) {
    shutdown(native(handle), SD_BOTH);
    closesocket(native(handle));
}

bool waitReadable(Handle handle, int milliseconds) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(native(handle), &readable);
    timeval limit{milliseconds / 1000, milliseconds % 1000 * 1000};
    return select(0, &readable, nullptr, nullptr, milliseconds < 0 ? nullptr : &limit) != 0;
}

int lastError() {
    return WSAGetLastError();
}

} // namespace VX_QRS::nativeSocket
