#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uStopwatch.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

namespace VX_QRS {
namespace {

// A server, a client and the server's end of their connection.
class uSocketTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(server.listen(0), uSocket::done) << server.lastError();
        ASSERT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done) << client.lastError();
        accepted = server.accept();
        ASSERT_NE(accepted, nullptr) << server.lastError();
    }

    uSocket server;
    uSocket client;
    std::unique_ptr<uSocket> accepted;
    std::array<char, 64> buffer{};
    std::int32_t count = 77;
};

TEST_F(uSocketTest, BothEndsKnowPortsAndAddress) {
    EXPECT_NE(server.localPort(), 0);
    EXPECT_EQ(server.remotePort(), server.localPort());
    EXPECT_EQ(client.remotePort(), server.localPort());
    EXPECT_EQ(client.peerAddress(), "127.0.0.1");
    EXPECT_EQ(accepted->peerAddress(), "127.0.0.1");
    EXPECT_EQ(accepted->remotePort(), client.localPort());
    EXPECT_EQ(accepted->localPort(), server.localPort());
    EXPECT_TRUE(client.isOpen());
    EXPECT_TRUE(accepted->isOpen());
}

TEST_F(uSocketTest, MovesBytesFromAndToAnOffset) {
    const std::string text = "xxhello";
    ASSERT_EQ(client.write(text.data(), 5, 2, count), uSocket::done);
    EXPECT_EQ(count, 5);
    std::string got;
    while (got.size() < 5) {
        ASSERT_EQ(accepted->read(buffer.data(), 5, 3, count), uSocket::done);
        got.append(buffer.data() + 3, static_cast<std::size_t>(count));
    }
    EXPECT_EQ(got, "hello");
    EXPECT_EQ(buffer[0], 0);
}

TEST_F(uSocketTest, ReadGivesWhatIsThereAndNoMoreThanAskedFor) {
    ASSERT_EQ(client.write("abcdef", 6, 0, count), uSocket::done);
    while (!accepted->waitReadable(1000)) {
    }
    ASSERT_EQ(accepted->read(buffer.data(), 1, 0, count), uSocket::done);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(buffer[0], 'a');
}

TEST_F(uSocketTest, NullBufferIsRefused) {
    EXPECT_EQ(client.read(nullptr, 1, 0, count), uSocket::nullBuffer);
    EXPECT_EQ(client.lastError(), "Data buffer is NULL");
    EXPECT_EQ(count, 77);
    EXPECT_EQ(accepted->write(nullptr, 1, 0, count), uSocket::nullBuffer);
    EXPECT_EQ(accepted->lastError(), "Data buffer is NULL");
    EXPECT_EQ(count, 0);
}

TEST_F(uSocketTest, OrderlyEndOfThePeerIsAReadOfNothing) {
    accepted->close();
    EXPECT_FALSE(accepted->isOpen());
    EXPECT_EQ(client.read(buffer.data(), 10, 0, count), uSocket::connectionGone);
    EXPECT_EQ(count, 0);
    EXPECT_TRUE(client.lastError().starts_with("socket closed: read error: ")) << client.lastError();
}

TEST_F(uSocketTest, ResetByThePeerIsALostConnection) {
    // Closing with unread data resets the connection.
    ASSERT_EQ(client.write("unread", 6, 0, count), uSocket::done);
    ASSERT_TRUE(accepted->waitReadable(-1));
    accepted->close();
    ASSERT_TRUE(client.waitReadable(-1));
    EXPECT_EQ(client.read(buffer.data(), 10, 0, count), uSocket::connectionGone);
    EXPECT_LE(count, 0);
}

TEST_F(uSocketTest, WritingToALostPeerEndsInStatusFiveAndNoSignal) {
    accepted->close();
    const std::vector<char> block(4096);
    int status = uSocket::done;
    // The first writes may still succeed.
    for (int i = 0; i < 100000 && status == uSocket::done; ++i) {
        status = client.write(block.data(), 4096, 0, count);
    }
    EXPECT_EQ(status, uSocket::connectionGone) << client.lastError();
    EXPECT_EQ(count, 0);
    EXPECT_TRUE(client.lastError().starts_with("socket write error: ")) << client.lastError();
    EXPECT_EQ(client.write(block.data(), 4096, 0, count), uSocket::connectionGone) << client.lastError();
}

TEST_F(uSocketTest, WaitReadableReportsDataAndConnections) {
    EXPECT_FALSE(accepted->waitReadable(0));
    uStopwatch watch;
    EXPECT_FALSE(accepted->waitReadable(30));
    EXPECT_GE(watch.elapsed(), 0.029);
    EXPECT_FALSE(server.waitReadable(0));
    ASSERT_EQ(client.write("x", 1, 0, count), uSocket::done);
    EXPECT_TRUE(accepted->waitReadable(-1));
    uSocket second;
    ASSERT_EQ(second.connect("127.0.0.1", server.localPort()), uSocket::done);
    EXPECT_TRUE(server.waitReadable(-1));
    EXPECT_NE(server.accept(), nullptr);
}

TEST_F(uSocketTest, WaitReadableReportsAnEndOfTheConnection) {
    accepted->close();
    EXPECT_TRUE(client.waitReadable(-1));
    client.close();
    EXPECT_TRUE(client.waitReadable(-1)) << "the next call will fail at once";
}

TEST_F(uSocketTest, ClosedSocketFailsAndMayBeClosedAgain) {
    client.close();
    client.close();
    EXPECT_EQ(client.read(buffer.data(), 1, 0, count), uSocket::failed);
    EXPECT_EQ(count, -1);
    EXPECT_EQ(client.lastError(), "socket read error: Socket operation on non-socket(ENOTSOCK)");
    EXPECT_EQ(client.write(buffer.data(), 1, 0, count), uSocket::failed);
    EXPECT_EQ(client.lastError(), "socket write error: Socket operation on non-socket(ENOTSOCK)");
}

TEST_F(uSocketTest, MayConnectAgain) {
    ASSERT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done);
    EXPECT_EQ(accepted->read(buffer.data(), 1, 0, count), uSocket::connectionGone) << "the first connection ended";
    accepted = server.accept();
    ASSERT_NE(accepted, nullptr);
    EXPECT_EQ(accepted->remotePort(), client.localPort());
}

TEST_F(uSocketTest, PortOfAListenerIsTaken) {
    uSocket other;
    EXPECT_EQ(other.listen(server.localPort()), uSocket::setUpFailed);
    EXPECT_EQ(other.lastError(), "Error binding socket: Address already in use (EADDRINUSE)");
    EXPECT_FALSE(other.isOpen());
}

TEST_F(uSocketTest, PortOfAnEndedListenerMayBeTakenAgain) {
    const std::uint16_t port = server.localPort();
    accepted->close(); // this end closes first, so its closing connection keeps the port
    client.close();
    server.close();
    uSocket other;
    EXPECT_EQ(other.listen(port), uSocket::done) << other.lastError();
    EXPECT_EQ(other.localPort(), port);
    EXPECT_EQ(other.remotePort(), port);
}

TEST_F(uSocketTest, LargeTransferArrivesWhole) {
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
    for (std::uint32_t at = 0; at < got.size(); at += static_cast<std::uint32_t>(count)) {
        ASSERT_EQ(accepted->read(got.data(), static_cast<std::uint32_t>(got.size()) - at, at, count), 0);
    }
    sender.join();
    EXPECT_EQ(got, sent);
}

TEST(uSocket, NamesAreNotLookedUp) {
    uSocket socket;
    EXPECT_EQ(socket.connect("localhost", 1), uSocket::failed);
    EXPECT_TRUE(socket.lastError().starts_with("Error on socket connect: ")) << socket.lastError();
    EXPECT_EQ(socket.peerAddress(), "localhost");
    EXPECT_EQ(socket.remotePort(), 1);
    EXPECT_FALSE(socket.isOpen());
    EXPECT_EQ(socket.connect(nullptr, 1), uSocket::failed);
}

TEST(uSocket, RefusedConnectionFails) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    const std::uint16_t port = server.localPort();
    server.close();
    uSocket socket;
    EXPECT_EQ(socket.connect("127.0.0.1", port), uSocket::failed);
    EXPECT_EQ(socket.lastError(), "Error on socket connect: Connection refused (ECONNREFUSED)");
    EXPECT_FALSE(socket.isOpen());
}

TEST(uSocket, AcceptIsForServersOnly) {
    uSocket socket;
    EXPECT_EQ(socket.accept(), nullptr);
    EXPECT_EQ(socket.lastError(), "AcceptClient() is only valid on server socket");
}

TEST(uSocket, AcceptOnAClosedServerFails) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    server.close();
    EXPECT_EQ(server.accept(), nullptr);
    EXPECT_EQ(server.lastError(), "Error accepting socket: Socket operation on non-socket(ENOTSOCK)");
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
