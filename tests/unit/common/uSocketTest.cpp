#include "common/source/source_utilities/uSocket.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <thread>

namespace VX_QRS {
namespace {

TEST(uSocket, LargeTransferArrivesWhole) {
    uSocket server;
    uSocket client;
    ASSERT_EQ(server.listen(0), uSocket::done) << server.lastError();
    ASSERT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done) << client.lastError();
    const std::unique_ptr<uSocket> accepted = server.accept();
    ASSERT_NE(accepted, nullptr) << server.lastError();
    std::string sent(3000000, '\0');
    for (std::size_t i = 0; i < sent.size(); ++i) {
        sent[i] = static_cast<char>(i * 7 / 3);
    }
    std::thread sender([&] {
        std::int32_t moved = 0;
        for (std::uint32_t at = 0; at < sent.size(); at += static_cast<std::uint32_t>(moved)) {
            ASSERT_EQ(client.write(sent.data(), static_cast<std::uint32_t>(sent.size()) - at, at, moved), 0);
        }
    });
    std::string got(sent.size(), '\0');
    std::int32_t count = 0;
    for (std::uint32_t at = 0; at < got.size(); at += static_cast<std::uint32_t>(count)) {
        ASSERT_EQ(accepted->read(got.data(), static_cast<std::uint32_t>(got.size()) - at, at, count), 0);
    }
    sender.join();
    EXPECT_EQ(got, sent);
}

TEST(uSocket, NewObjectIsUnconnected) {
    const uSocket socket;
    EXPECT_FALSE(socket.isOpen());
    EXPECT_EQ(socket.localPort(), 0);
    EXPECT_EQ(socket.remotePort(), 0);
    EXPECT_EQ(socket.peerAddress(), "");
    EXPECT_EQ(socket.lastError(), "");
}

TEST(uSocket, EveryErrorHasItsWords) {
    struct Case {
        int code;
        const char* text;
    };
    constexpr std::array<Case, 37> cases{{
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
        {-1, "Broken pipe (EPIPE)"},
        {0, "Unknown Socket Error (0x0)"},
        {10071, "Unknown Socket Error (0x2757)"},
    }};
    for (const Case& expected : cases) {
        EXPECT_EQ(uSocket::errorText(expected.code), expected.text);
    }
}

} // namespace
} // namespace VX_QRS
