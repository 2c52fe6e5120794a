#include "common/source/source_utilities/uSocket.h"

#include "common/source/source_utilities/NativeSocket.h"
#include "common/source/source_utilities/uStopwatch.h"
#include "common/source/source_utilities/uThread.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <new>
#include <utility>

namespace VX_QRS {

namespace {

constexpr int brokenPipe = -1;
constexpr int connectionAborted = 10053;
constexpr int connectionReset = 10054;
constexpr int connectionRefused = 10061;

struct ErrorText {
    int code;
    const char* text;
};

constexpr std::array<ErrorText, 35> errorTexts{{
    {10022, "Invalid parameter (EIVAL)"},
    {10035, "Operation would have blocked (EWOULDBLOCK/EGAIN)"},
    {10036, "Connection already in progress (EINPROGRESS)"},
    {10037, "Socket already connected (EALREADY)"},
    {10038, "Socket operation on non-socket(ENOTSOCK)"},
    {10039, "Socket already connected (EDESTADDRREQ)"},
    {10040, "Message too long (EMSGSIZE)"},
    {10041, "Invalid protocol type (EPROTOTYPE)"},
    {10042, "Protocol not available (ENOPROTOOPT)"},
    {10043, "Unknown protocol (EPROTONOTSUPPORT)"},
    {10044, "Socket type not supported (ESOCKTNOSUPPORT)"},
    {10045, "Operation not supported (EOPNOTSUPP)"},
    {10046, "Protocol family not supported (EPFNOSUPPORT)"},
    {10047, "Address family not supported (EAFNOSUPPORT)"},
    {10048, "Address already in use (EADDRINUSE)"},
    {10049, "Address not available (EADDRNOTAVAIL)"},
    {10050, "Network interface is not configured (ENETDOWN)"},
    {10051, "Network is unreachable (ENETUNREACH)"},
    {10052, "Network has been reset (ENETRESET)"},
    {10053, "Connection aborted (ECONNABORTED)"},
    {10054, "Connection reset by peer (ECONNRESET)"},
    {10055, "No buffer space available (ENOBUFS)"},
    {10056, "Socket is connected (EISCONN)"},
    {10057, "Socket is not connected (ENOTCONN)"},
    {10058, "Can't send after socket shutdown (ESHUTDOWN)"},
    {10059, "Too many open sockets (ETOOMANYREFS)"},
    {10060, "Connection timed out (ETIMEDOUT)"},
    {10061, "Connection refused (ECONNREFUSED)"},
    {10064, "Host is down (EHOSTDOWN)"},
    {10065, "Host is unreachable (EHOSTUNREACH)"},
    {10067, "Operation would exceed limits (EPROCLIM)"},
    {10068, "Too many open users (EUSERS)"},
    {10069, "Quota exceeded (EDQUOT)"},
    {10070, "Stale handle (ESTALE)"},
    {brokenPipe, "Broken pipe (EPIPE)"},
}};

std::int32_t limited(std::uint32_t size) {
    constexpr std::uint32_t most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(size, most));
}

int statusOf(int code) {
    const bool gone = code == connectionAborted || code == connectionReset || code == brokenPipe;
    return gone ? uSocket::connectionGone : uSocket::failed;
}

// Without memory for the text only the status is reported.
void assign(std::string& to, const char* text) noexcept {
    try {
        to = text;
    } catch (const std::bad_alloc&) {
        to.clear();
    }
}

} // namespace

uSocket::uSocket(Handle connected, const Peer& from)
    : handle(connected), local(nativeSocket::localPort(connected)), remote(from.port), peer(from.address) {}

uSocket::~uSocket() {
    close();
}

void uSocket::openHandle() {
    handle = nativeSocket::create();
    if (!nativeSocket::setNoDelay(handle)) {
        recordError("Error setting TCP_NODELAY");
    }
}

// Recorded before close(), which changes the error number.
int uSocket::failOpen(const char* prefix, int status) {
    recordError(prefix);
    close();
    return status;
}

// Windows retries a refused connection for about two seconds, and callers that connect to a newly started process rely
// on it. Where a refusal is reported sooner, this class retries. A thread may be held up in a call for a while, so only a
// refusal that took as long as the caller has to wait counts as retried.
bool uSocket::knock(std::uint16_t port) {
    constexpr int attempts = 4;
    constexpr std::uint32_t pauseMilliseconds = 500;
    constexpr double retriedByThePlatform = 1.0; // seconds
    for (int attempt = 1;; ++attempt) {
        openHandle();
        uStopwatch watch;
        if (nativeSocket::connect(handle, peer.c_str(), port)) {
            return true;
        }
        const bool refused = nativeSocket::lastError() == connectionRefused;
        if (!refused || attempt == attempts || watch.elapsed() > retriedByThePlatform) {
            return false;
        }
        close();
        uThread::sleep(pauseMilliseconds);
    }
}

int uSocket::connect(const char* host, std::uint16_t port) {
    close();
    assign(peer, host != nullptr ? host : "");
    remote = port;
    isServer = false;
    if (!nativeSocket::startLayer()) {
        return failOpen("Error starting WinSock", setUpFailed);
    }
    if (!knock(port)) {
        return failOpen("Error on socket connect", failed);
    }
    local = nativeSocket::localPort(handle);
    remote = nativeSocket::remotePort(handle);
    return done;
}

int uSocket::listen(std::uint16_t port) {
    close();
    isServer = true;
    if (!nativeSocket::startLayer()) {
        return failOpen("Error starting WinSock", setUpFailed);
    }
    openHandle();
    if (!nativeSocket::bindToAnyAddress(handle, port)) {
        return failOpen("Error binding socket", setUpFailed);
    }
    local = port != 0 ? port : nativeSocket::localPort(handle);
    remote = local;
    if (!nativeSocket::listen(handle, 1)) {
        return failOpen("Error listening socket", setUpFailed);
    }
    return done;
}

std::unique_ptr<uSocket> uSocket::accept() {
    if (!isServer) {
        assign(error, "AcceptClient() is only valid on server socket");
        return nullptr;
    }
    Peer from;
    const Handle accepted = nativeSocket::accept(handle, from);
    if (accepted == invalidHandle) {
        recordError("Error accepting socket");
        return nullptr;
    }
    std::unique_ptr<uSocket> client(new (std::nothrow) uSocket(accepted, from));
    if (client == nullptr) {
        nativeSocket::shutDownAndClose(accepted);
        assign(error, "Error accepting socket");
    }
    return client;
}

void uSocket::close() {
    const Handle closing = std::exchange(handle, invalidHandle);
    if (closing != invalidHandle) {
        nativeSocket::shutDownAndClose(closing);
    }
}

int uSocket::read(void* buffer, std::uint32_t size, std::uint32_t offset, std::int32_t& count) {
    if (buffer == nullptr) {
        assign(error, "Data buffer is NULL");
        return nullBuffer;
    }
    count = nativeSocket::receive(handle, static_cast<char*>(buffer) + offset, limited(size));
    if (count > 0) {
        return done;
    }
    if (count == 0) {
        recordError("socket closed: read error");
        return connectionGone;
    }
    return statusOf(recordError("socket read error"));
}

int uSocket::write(const void* buffer, std::uint32_t size, std::uint32_t offset, std::int32_t& count) {
    count = 0;
    if (buffer == nullptr) {
        assign(error, "Data buffer is NULL");
        return nullBuffer;
    }
    const std::int32_t sent = nativeSocket::send(handle, static_cast<const char*>(buffer) + offset, limited(size));
    if (sent > 0) {
        count = sent;
        return done;
    }
    return statusOf(recordError(sent == 0 ? "socket closed: write error" : "socket write error"));
}

bool uSocket::waitReadable(int milliseconds) {
    return nativeSocket::waitReadable(handle, milliseconds);
}

int uSocket::recordError(const char* prefix) {
    const int code = nativeSocket::lastError();
    try {
        error = std::string(prefix) + ": " + errorText(code);
    } catch (const std::bad_alloc&) {
        error.clear();
    }
    return code;
}

std::string uSocket::errorText(int code) {
    const auto* const found = std::find_if(errorTexts.begin(), errorTexts.end(),
                                           [code](const ErrorText& entry) { return entry.code == code; });
    if (found != errorTexts.end()) {
        return found->text;
    }
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "Unknown Socket Error (0x%x)", static_cast<unsigned>(code));
    return text.data();
}

} // namespace VX_QRS
