// uSocket's results for every answer of the platform.
#include "common/source/source_utilities/uSocket.h"
#include "tests/unit/common/ScriptedPlatform.h"

#include <gtest/gtest.h>

#include <array>

namespace VX_QRS {
namespace {

using test::platform;
using Calls = std::vector<std::string>;

class ScriptedSocket : public testing::Test {
protected:
    ScriptedSocket() { platform() = {}; }

    std::array<char, 16> buffer{};
    std::int32_t count = 77;
};

TEST_F(ScriptedSocket, ConnectGoesItsSteps) {
    uSocket socket;
    EXPECT_EQ(socket.connect("10.1.2.3", 5), uSocket::done);
    EXPECT_EQ(platform().socketCalls,
              (Calls{"startLayer", "create", "setNoDelay", "connect 10.1.2.3 5", "localPort", "remotePort"}));
    EXPECT_EQ(socket.localPort(), 100);
    EXPECT_EQ(socket.remotePort(), 200);
    EXPECT_EQ(socket.peerAddress(), "10.1.2.3");
}

TEST_F(ScriptedSocket, ListenGoesItsStepsWithABacklogOfOne) {
    uSocket socket;
    EXPECT_EQ(socket.listen(5), uSocket::done);
    EXPECT_EQ(platform().socketCalls, (Calls{"startLayer", "create", "setNoDelay", "bind 5", "listen 1"}));
    EXPECT_EQ(socket.localPort(), 5);
    EXPECT_EQ(socket.remotePort(), 5);
}

TEST_F(ScriptedSocket, RefusedOptionIsRecordedAndStopsNothing) {
    platform().takesNoDelay = false;
    platform().error = 10042;
    uSocket client;
    EXPECT_EQ(client.connect("10.1.2.3", 5), uSocket::done);
    EXPECT_TRUE(client.isOpen());
    EXPECT_EQ(client.lastError(), "Error setting TCP_NODELAY: Protocol not available (ENOPROTOOPT)");
    uSocket server;
    EXPECT_EQ(server.listen(5), uSocket::done);
    EXPECT_TRUE(server.isOpen());
    EXPECT_EQ(server.lastError(), "Error setting TCP_NODELAY: Protocol not available (ENOPROTOOPT)");
}

TEST_F(ScriptedSocket, LayerThatDoesNotStartIsStatusOne) {
    platform().layerStarts = false;
    platform().error = 10050;
    uSocket client;
    EXPECT_EQ(client.connect("10.1.2.3", 5), 1);
    EXPECT_EQ(client.lastError(), "Error starting WinSock: Network interface is not configured (ENETDOWN)");
    EXPECT_EQ(client.remotePort(), 5);
    uSocket server;
    EXPECT_EQ(server.listen(5), 1);
    EXPECT_EQ(server.lastError(), "Error starting WinSock: Network interface is not configured (ENETDOWN)");
    EXPECT_EQ(platform().socketCalls, (Calls{"startLayer", "startLayer"}));
}

TEST_F(ScriptedSocket, FailedConnectIsStatusFour) {
    platform().connects = false;
    platform().error = 10060;
    uSocket socket;
    EXPECT_EQ(socket.connect("10.1.2.3", 5), 4);
    EXPECT_EQ(socket.lastError(), "Error on socket connect: Connection timed out (ETIMEDOUT)");
    EXPECT_TRUE(platform().sleeps.empty());
}

TEST_F(ScriptedSocket, RefusalAtOnceIsKnockedAtFourTimes) {
    platform().connects = false;
    platform().error = 10061;
    uSocket socket;
    EXPECT_EQ(socket.connect("10.1.2.3", 5), 4);
    EXPECT_EQ(platform().sleeps, (std::vector<std::uint32_t>{500, 500, 500}));
    EXPECT_EQ(socket.lastError(), "Error on socket connect: Connection refused (ECONNREFUSED)");
}

// The thread may have been held up: the caller still has to wait for a server that is starting.
TEST_F(ScriptedSocket, RefusalAfterLessThanASecondIsKnockedAtAgain) {
    platform().connects = false;
    platform().error = 10061;
    platform().counterStep = 999;
    uSocket socket;
    EXPECT_EQ(socket.connect("10.1.2.3", 5), 4);
    EXPECT_EQ(platform().sleeps.size(), 3U);
}

TEST_F(ScriptedSocket, RefusalThatTookItsTimeIsFinal) {
    platform().connects = false;
    platform().error = 10061;
    platform().counterStep = 1001;
    uSocket socket;
    EXPECT_EQ(socket.connect("10.1.2.3", 5), 4);
    EXPECT_TRUE(platform().sleeps.empty());
}

TEST_F(ScriptedSocket, FailedBindAndListenAreStatusOne) {
    platform().error = 10048;
    platform().listens = false;
    uSocket socket;
    EXPECT_EQ(socket.listen(5), 1);
    EXPECT_EQ(socket.lastError(), "Error listening socket: Address already in use (EADDRINUSE)");
    EXPECT_EQ(socket.localPort(), 5) << "stored before that step";
    platform().binds = false;
    uSocket unbound;
    EXPECT_EQ(unbound.listen(5), 1);
    EXPECT_EQ(unbound.lastError(), "Error binding socket: Address already in use (EADDRINUSE)");
    EXPECT_EQ(unbound.localPort(), 0);
}

TEST_F(ScriptedSocket, AcceptOnAClientAsksThePlatformNothing) {
    uSocket fresh;
    EXPECT_EQ(fresh.accept(), nullptr);
    EXPECT_EQ(fresh.lastError(), "AcceptClient() is only valid on server socket");
    EXPECT_TRUE(platform().socketCalls.empty());
    uSocket client;
    ASSERT_EQ(client.listen(5), uSocket::done);
    ASSERT_EQ(client.connect("10.1.2.3", 5), uSocket::done) << "a client from now on";
    platform().socketCalls.clear();
    EXPECT_EQ(client.accept(), nullptr);
    EXPECT_EQ(client.lastError(), "AcceptClient() is only valid on server socket");
    EXPECT_TRUE(platform().socketCalls.empty());
}

TEST_F(ScriptedSocket, AcceptedConnectionKnowsItsPeer) {
    uSocket server;
    ASSERT_EQ(server.listen(5), uSocket::done);
    platform().accepted = 8;
    const auto accepted = server.accept();
    ASSERT_NE(accepted, nullptr);
    EXPECT_EQ(accepted->peerAddress(), "10.0.0.9");
    EXPECT_EQ(accepted->remotePort(), 900);
    EXPECT_EQ(accepted->localPort(), 100);
    platform().accepted = uSocket::invalidHandle;
    platform().error = 10055;
    EXPECT_EQ(server.accept(), nullptr);
    EXPECT_EQ(server.lastError(), "Error accepting socket: No buffer space available (ENOBUFS)");
}

TEST_F(ScriptedSocket, EndOfThePeerReadsInTheWordsOfTheMoment) {
    uSocket socket(7, {"10.0.0.9", 900});
    platform().received = 0;
    platform().error = 10035;
    EXPECT_EQ(socket.read(buffer.data(), 10, 0, count), 5);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(socket.lastError(), "socket closed: read error: Operation would have blocked (EWOULDBLOCK/EGAIN)");
    platform().error = 0;
    EXPECT_EQ(socket.read(buffer.data(), 10, 0, count), 5);
    EXPECT_EQ(socket.lastError(), "socket closed: read error: Unknown Socket Error (0x0)");
}

TEST_F(ScriptedSocket, OnlyThreeErrorsMeanALostConnection) {
    struct Case {
        int error;
        int status;
        const char* words;
    };
    constexpr std::array<Case, 6> cases{{{10053, 5, "Connection aborted (ECONNABORTED)"},
                                         {10054, 5, "Connection reset by peer (ECONNRESET)"},
                                         {-1, 5, "Broken pipe (EPIPE)"},
                                         {10052, 4, "Network has been reset (ENETRESET)"},
                                         {10057, 4, "Socket is not connected (ENOTCONN)"},
                                         {0, 4, "Unknown Socket Error (0x0)"}}};
    uSocket socket(7, {"10.0.0.9", 900});
    for (const Case& expected : cases) {
        platform().error = expected.error;
        platform().received = -1;
        EXPECT_EQ(socket.read(buffer.data(), 10, 0, count), expected.status);
        EXPECT_EQ(count, -1);
        EXPECT_EQ(socket.lastError(), std::string("socket read error: ") + expected.words);
        for (const std::int32_t sent : {-1, 0}) {
            platform().sent = sent;
            count = 77;
            EXPECT_EQ(socket.write(buffer.data(), 10, 0, count), expected.status);
            EXPECT_EQ(count, 0);
            const char* prefix = sent == 0 ? "socket closed: write error: " : "socket write error: ";
            EXPECT_EQ(socket.lastError(), prefix + std::string(expected.words));
        }
    }
}

TEST_F(ScriptedSocket, ReadAndWriteMakeOneCallEach) {
    uSocket socket(7, {"10.0.0.9", 900});
    platform().socketCalls.clear();
    platform().received = 3;
    platform().sent = 4;
    EXPECT_EQ(socket.read(buffer.data(), 10, 0, count), uSocket::done);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(socket.write(buffer.data(), 11, 0, count), uSocket::done);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(platform().socketCalls, (Calls{"receive 10", "send 11"}));
}

TEST_F(ScriptedSocket, ClosesOnceHoweverOftenItIsAsked) {
    {
        uSocket socket(7, {"10.0.0.9", 900});
        platform().socketCalls.clear();
        socket.close();
        socket.close();
    }
    EXPECT_EQ(platform().socketCalls, (Calls{"close 7"}));
    platform().socketCalls.clear();
    {
        const uSocket socket(9, {"10.0.0.9", 900});
    }
    EXPECT_EQ(platform().socketCalls, (Calls{"localPort", "close 9"}));
}

} // namespace
} // namespace VX_QRS
