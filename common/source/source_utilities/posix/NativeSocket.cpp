#include "common/source/source_utilities/NativeSocket.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace VX_QRS::nativeSocket {

namespace {

int descriptor(Handle handle) {
    return static_cast<int>(handle);
}

// Repeats a call for as long as a signal interrupts it.
template <class Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

bool setOn(Handle handle, int level, int option) {
    const int on = 1;
    return setsockopt(descriptor(handle), level, option, &on, sizeof on) == 0;
}

sockaddr_in addressOf(in_addr_t address, std::uint16_t port) {
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

// An interrupted connect continues by itself; wait for its outcome.
bool finishConnect(Handle handle) {
    pollfd request{descriptor(handle), POLLOUT, 0};
    uninterrupted([&] { return poll(&request, 1, -1); });
    int outcome = 0;
    socklen_t size = sizeof outcome;
    if (getsockopt(descriptor(handle), SOL_SOCKET, SO_ERROR, &outcome, &size) != 0) {
        return false;
    }
    errno = outcome;
    return outcome == 0;
}

struct ErrorPair {
    int platform;
    int code;
};

constexpr std::array<ErrorPair, 39> errorPairs{{
    {EPIPE, -1},
    {EINTR, 10004},
    {EBADF, 10038}, // as Windows reports a handle that is no socket
    {EACCES, 10013},
    {EFAULT, 10014},
    {EINVAL, 10022},
    {EMFILE, 10024},
    {EWOULDBLOCK, 10035},
    {EINPROGRESS, 10036},
    {EALREADY, 10037},
    {ENOTSOCK, 10038},
    {EDESTADDRREQ, 10039},
    {EMSGSIZE, 10040},
    {EPROTOTYPE, 10041},
    {ENOPROTOOPT, 10042},
    {EPROTONOSUPPORT, 10043},
    {ESOCKTNOSUPPORT, 10044},
    {EOPNOTSUPP, 10045},
    {EPFNOSUPPORT, 10046},
    {EAFNOSUPPORT, 10047},
    {EADDRINUSE, 10048},
    {EADDRNOTAVAIL, 10049},
    {ENETDOWN, 10050},
    {ENETUNREACH, 10051},
    {ENETRESET, 10052},
    {ECONNABORTED, 10053},
    {ECONNRESET, 10054},
    {ENOBUFS, 10055},
    {ENOMEM, 10055},
    {EISCONN, 10056},
    {ENOTCONN, 10057},
    {ESHUTDOWN, 10058},
    {ETOOMANYREFS, 10059},
    {ETIMEDOUT, 10060},
    {ECONNREFUSED, 10061},
    {EHOSTDOWN, 10064},
    {EHOSTUNREACH, 10065},
    {EUSERS, 10068},
    {EDQUOT, 10069},
}};

} // namespace

bool startLayer() {
    return true;
}

Handle create() {
    return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
}

bool setNoDelay(Handle handle) {
    return setOn(handle, IPPROTO_TCP, TCP_NODELAY);
}

bool connect(Handle handle, const char* address, std::uint16_t port) {
    sockaddr_in record = addressOf(inet_addr(address), port);
    if (::connect(descriptor(handle), general(&record), sizeof record) == 0) {
        return true;
    }
    return errno == EINTR && finishConnect(handle);
}

bool bindToAnyAddress(Handle handle, std::uint16_t port) {
    // Permits a port with closing connections, but not one that another socket listens at.
    setOn(handle, SOL_SOCKET, SO_REUSEADDR);
    sockaddr_in record = addressOf(htonl(INADDR_ANY), port);
    return bind(descriptor(handle), general(&record), sizeof record) == 0;
}

bool listen(Handle handle, int backlog) {
    return ::listen(descriptor(handle), backlog) == 0;
}

Handle accept(Handle handle, uSocket::Peer& peer) {
    sockaddr_in record{};
    const Handle accepted = uninterrupted([&] {
        socklen_t size = sizeof record;
        return accept4(descriptor(handle), general(&record), &size, SOCK_CLOEXEC);
    });
    if (accepted != uSocket::invalidHandle) {
        std::array<char, INET_ADDRSTRLEN> text{};
        inet_ntop(AF_INET, &record.sin_addr, text.data(), text.size());
        peer.address = text.data();
        peer.port = ntohs(record.sin_port);
    }
    return accepted;
}

std::uint16_t localPort(Handle handle) {
    sockaddr_in record{};
    socklen_t size = sizeof record;
    getsockname(descriptor(handle), general(&record), &size);
    return ntohs(record.sin_port);
}

std::uint16_t remotePort(Handle handle) {
    sockaddr_in record{};
    socklen_t size = sizeof record;
    getpeername(descriptor(handle), general(&record), &size);
    return ntohs(record.sin_port);
}

std::int32_t receive(Handle handle, void* data, std::int32_t size) {
    return static_cast<std::int32_t>(
        uninterrupted([&] { return recv(descriptor(handle), data, static_cast<std::size_t>(size), 0); }));
}

std::int32_t send(Handle handle, const void* data, std::int32_t size) {
    return static_cast<std::int32_t>(
        uninterrupted([&] { return ::send(descriptor(handle), data, static_cast<std::size_t>(size), MSG_NOSIGNAL); }));
}

void shutDownAndClose(Handle handle) {
    shutdown(descriptor(handle), SHUT_RDWR);
    close(descriptor(handle));
}

bool waitReadable(Handle handle, int milliseconds) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    pollfd request{descriptor(handle), POLLIN, 0};
    if (handle == uSocket::invalidHandle) {
        return true; // poll would ignore it and wait
    }
    int left = milliseconds;
    for (;;) {
        const int result = poll(&request, 1, left);
        if (result >= 0 || errno != EINTR) {
            return result != 0;
        }
        if (milliseconds >= 0) {
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            left = rest.count() > 0 ? static_cast<int>(rest.count()) : 0;
        }
    }
}

int lastError() {
    const int error = errno;
    for (const ErrorPair& pair : errorPairs) {
        if (pair.platform == error) {
            return pair.code;
        }
    }
    return error;
}

} // namespace VX_QRS::nativeSocket
