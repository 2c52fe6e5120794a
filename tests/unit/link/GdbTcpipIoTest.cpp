#include "common/source/source_utilities/uThread.h"
#include "link/GdbTcpipIo.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>

using namespace MPX_GDB_AGENT;
using VX_QRS::uSocket;

namespace {

constexpr std::int32_t patience = 20000; // ms; only a defect makes a test wait this long

std::uint32_t freePort() {
    uSocket probe;
    EXPECT_EQ(probe.listen(0), uSocket::done);
    return probe.localPort();
}

// A listening and a connected end, both of the class under test.
class GdbTcpipIoTest : public ::testing::Test {
protected:
    GdbTcpipIoTest() : portNumber(freePort()), server(portNumber), client(portNumber) {}
    ~GdbTcpipIoTest() override {
        client.closeClient();
        server.closeClient();
    }

    void pair() {
        ASSERT_EQ(server.listenOn(), IoOk);
        ASSERT_EQ(client.connectTo("127.0.0.1"), IoOk);
        ASSERT_EQ(server.acceptClient(patience), IoOk);
    }

    std::string receive(GdbTcpipIo& io, std::uint32_t expected) {
        std::uint32_t count = 99;
        char bytes[64] = {};
        EXPECT_EQ(io.receive(bytes, sizeof bytes, count), expected);
        return {bytes, count};
    }

    std::uint32_t portNumber;
    GdbTcpipIo server;
    GdbTcpipIo client;
};

} // namespace

TEST_F(GdbTcpipIoTest, UnconnectedEverythingAnswersNotConnected) {
    std::uint32_t count = 5;
    char byte = 0;
    EXPECT_EQ(client.port(), portNumber);
    EXPECT_EQ(client.send(&byte, 1, count), IoNotConnected);
    EXPECT_EQ(count, 0u);
    count = 5;
    EXPECT_EQ(client.receive(&byte, 1, count), IoNotConnected);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(client.waitReadable(patience), IoNotConnected);
    EXPECT_EQ(client.waitWritable(patience), IoNotConnected);
    EXPECT_STREQ(client.peerName(), "");
    client.closeClient();
}

TEST_F(GdbTcpipIoTest, BytesPassBothWays) {
    pair();
    std::uint32_t count = 0;
    EXPECT_EQ(client.waitWritable(0), IoOk);
    EXPECT_EQ(client.send("$v#00", 5, count), IoOk);
    EXPECT_EQ(count, 5u);
    ASSERT_EQ(server.waitReadable(patience), IoOk);
    EXPECT_EQ(receive(server, IoOk), "$v#00");
    EXPECT_EQ(server.send("$OK", 3, count), IoOk);
    ASSERT_EQ(client.waitReadable(-1), IoOk);
    EXPECT_EQ(receive(client, IoOk), "$OK");
}

TEST_F(GdbTcpipIoTest, ASecondConnectOrAcceptFindsTheFirst) {
    pair();
    EXPECT_EQ(client.connectTo("127.0.0.1"), IoOk);
    EXPECT_EQ(server.acceptClient(0), IoOk);
    std::uint32_t count = 0;
    EXPECT_EQ(client.send("x", 1, count), IoOk);
    ASSERT_EQ(server.waitReadable(patience), IoOk);
    EXPECT_EQ(receive(server, IoOk), "x");
}

TEST_F(GdbTcpipIoTest, AQuietPeerTimesOut) {
    pair();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(client.waitReadable(30), IoTimeout);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(25));
    EXPECT_EQ(client.waitReadable(0), IoTimeout);
}

TEST_F(GdbTcpipIoTest, AWaitWithoutALimitLastsUntilThePeerSpeaks) {
    pair();
    std::thread later([this] {
        VX_QRS::uThread::sleep(60);
        std::uint32_t count = 0;
        EXPECT_EQ(server.send("x", 1, count), IoOk);
    });
    EXPECT_EQ(client.waitReadable(-1), IoOk);
    later.join();
    EXPECT_EQ(receive(client, IoOk), "x");
}

TEST_F(GdbTcpipIoTest, APeerThatComesLateIsAccepted) {
    ASSERT_EQ(server.listenOn(), IoOk);
    for (const std::int32_t wait : {patience, -1}) {
        std::thread later([this] {
            VX_QRS::uThread::sleep(60);
            EXPECT_EQ(client.connectTo("127.0.0.1"), IoOk);
        });
        EXPECT_EQ(server.acceptClient(wait), IoOk);
        later.join();
        EXPECT_EQ(server.waitWritable(0), IoOk);
        client.closeClient();
        server.closeClient();
    }
}

TEST_F(GdbTcpipIoTest, AReadTakesNoMoreThanItAskedFor) {
    pair();
    std::uint32_t count = 0;
    ASSERT_EQ(server.send("abcdef", 6, count), IoOk);
    char bytes[] = "......";
    ASSERT_EQ(client.receive(bytes, 2, count), IoOk);
    EXPECT_EQ(count, 2u);
    EXPECT_STREQ(bytes, "ab....");
    EXPECT_EQ(receive(client, IoOk), "cdef");
}

TEST_F(GdbTcpipIoTest, AcceptingWithoutAPeerTimesOut) {
    ASSERT_EQ(server.listenOn(), IoOk);
    EXPECT_EQ(server.acceptClient(20), IoTimeout);
}

TEST_F(GdbTcpipIoTest, AcceptWithoutListeningTimesOutAfterItsWait) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(server.acceptClient(30), IoTimeout);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(25));
    EXPECT_EQ(server.acceptClient(0), IoTimeout);
}

TEST_F(GdbTcpipIoTest, AcceptWithoutListeningAndWithoutALimitTimesOutAtOnce) {
    EXPECT_EQ(server.acceptClient(-1), IoTimeout);
    ASSERT_EQ(server.listenOn(), IoOk);
    EXPECT_EQ(server.stopListening(), IoOk);
    EXPECT_EQ(server.acceptClient(-1), IoTimeout);
}

TEST_F(GdbTcpipIoTest, ASocketThatDidNotConnectIsNeverReadable) {
    EXPECT_EQ(client.connectTo("127.0.0.1"), IoFailed);
    EXPECT_EQ(client.waitReadable(1), IoTimeout);
    EXPECT_EQ(client.waitReadable(-1), IoTimeout);
    EXPECT_EQ(receive(client, IoFailed), "") << "no connection was lost";
    std::uint32_t count = 0;
    EXPECT_EQ(client.send("x", 1, count), IoFailed);
    EXPECT_EQ(client.waitWritable(0), IoOk) << "the socket object stays in place";
    client.closeClient();
    EXPECT_EQ(client.waitReadable(-1), IoNotConnected);
}

TEST_F(GdbTcpipIoTest, TheReasonOfALostConnectionIsKeptUntilTheNextOne) {
    EXPECT_STREQ(client.lastError(), "");
    pair();
    EXPECT_STREQ(client.lastError(), "");
    server.closeClient();
    ASSERT_EQ(client.waitReadable(patience), IoOk);
    EXPECT_EQ(receive(client, IoDisconnected), "");
    EXPECT_EQ(std::string(client.lastError()).rfind("socket closed: read error: ", 0), 0u) << client.lastError();
    EXPECT_EQ(receive(client, IoNotConnected), "");
    EXPECT_NE(std::string(client.lastError()), "");
    ASSERT_EQ(client.connectTo("127.0.0.1"), IoOk);
    EXPECT_STREQ(client.lastError(), "");
}

TEST_F(GdbTcpipIoTest, ARefusedConnectionHasItsReason) {
    EXPECT_EQ(client.connectTo("127.0.0.1"), IoFailed);
    EXPECT_STREQ(client.lastError(), "Error on socket connect: Connection refused (ECONNREFUSED)");
}

TEST_F(GdbTcpipIoTest, AnOrderlyEndOfThePeerIsReportedOnceAndTheSocketIsGone) {
    pair();
    server.closeClient();
    ASSERT_EQ(client.waitReadable(patience), IoOk);
    EXPECT_EQ(receive(client, IoDisconnected), "");
    EXPECT_EQ(receive(client, IoNotConnected), "");
    std::uint32_t count = 0;
    EXPECT_EQ(client.send("x", 1, count), IoNotConnected);
}

TEST_F(GdbTcpipIoTest, SendingToAPeerThatIsGoneDisconnectsInTheEnd) {
    pair();
    server.closeClient();
    std::uint32_t count = 0;
    std::uint32_t result = IoOk;
    // The first bytes may still be sent: the peer's reset reports the failure.
    for (int i = 0; i < 2000 && result == IoOk; ++i) {
        result = client.send("x", 1, count);
        if (result == IoOk) {
            VX_QRS::uThread::sleep(10);
        }
    }
    EXPECT_EQ(result, IoDisconnected);
    EXPECT_EQ(std::string(client.lastError()).rfind("socket write error: ", 0), 0u) << client.lastError();
    EXPECT_EQ(client.send("x", 1, count), IoNotConnected);
}

TEST_F(GdbTcpipIoTest, ANullBufferIsAFailureThatKeepsTheConnection) {
    pair();
    std::uint32_t count = 0;
    EXPECT_EQ(client.send(nullptr, 1, count), IoFailed);
    EXPECT_EQ(client.receive(nullptr, 1, count), IoFailed);
    EXPECT_EQ(client.send("x", 1, count), IoOk);
}

TEST_F(GdbTcpipIoTest, ConnectingToAClosedPortFailsAndMayBeRetried) {
    EXPECT_EQ(client.connectTo("127.0.0.1"), IoFailed);
    EXPECT_STREQ(client.peerName(), "");
    EXPECT_EQ(client.waitWritable(0), IoOk) << "the socket object stays in place";
    ASSERT_EQ(server.listenOn(), IoOk);
    EXPECT_EQ(client.connectTo("127.0.0.1"), IoOk);
    EXPECT_EQ(server.acceptClient(patience), IoOk);
}

TEST_F(GdbTcpipIoTest, AHostNameIsNotResolved) {
    ASSERT_EQ(server.listenOn(), IoOk);
    EXPECT_EQ(client.connectTo("localhost"), IoFailed);
}

TEST_F(GdbTcpipIoTest, ListeningOnATakenPortFails) {
    ASSERT_EQ(server.listenOn(), IoOk);
    GdbTcpipIo second(portNumber);
    EXPECT_EQ(second.listenOn(), IoListenFailed);
    EXPECT_EQ(second.stopListening(), IoOk);
}

TEST_F(GdbTcpipIoTest, StoppedListeningRefusesConnections) {
    ASSERT_EQ(server.listenOn(), IoOk);
    EXPECT_EQ(server.stopListening(), IoOk);
    EXPECT_EQ(client.connectTo("127.0.0.1"), IoFailed);
}

TEST(GdbTcpipIoPeer, ThePeersNameEndsInThePortsLowByteWhateverThatIs) {
    for (const std::uint32_t highestBit : {0u, 0x80u}) {
        std::uint32_t port = freePort();
        while ((port & 0x80) != highestBit) {
            port = freePort();
        }
        GdbTcpipIo server(port);
        GdbTcpipIo client(port);
        ASSERT_EQ(server.listenOn(), IoOk);
        ASSERT_EQ(client.connectTo("127.0.0.1"), IoOk);
        const std::string expected = "127.0.0.1:" + std::string(1, static_cast<char>(port & 0xFF));
        EXPECT_STREQ(client.peerName(), expected.c_str());
        EXPECT_STREQ(client.peerName(), expected.c_str());
        client.closeClient();
        EXPECT_STREQ(client.peerName(), "");
    }
}

TEST_F(GdbTcpipIoTest, AnAcceptedPeerReplacesASocketThatDidNotConnect) {
    EXPECT_EQ(server.connectTo("127.0.0.1"), IoFailed);
    pair(); // a sanitized build reports a first socket that is not freed
    std::uint32_t count = 0;
    EXPECT_EQ(client.send("x", 1, count), IoOk);
    ASSERT_EQ(server.waitReadable(patience), IoOk);
    EXPECT_EQ(receive(server, IoOk), "x");
}
