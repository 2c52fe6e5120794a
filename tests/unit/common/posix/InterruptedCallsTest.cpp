// Blocking calls continue when a signal interrupts them.
#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uStopwatch.h"
#include "common/source/source_utilities/uThread.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/socket.h>
#include <thread>

namespace VX_QRS {
namespace {

std::atomic<int> signalsSeen{0};

void countSignal(int) {
    ++signalsSeen;
}

class InterruptedCalls : public testing::Test {
protected:
    void SetUp() override {
        signalsSeen = 0;
        struct sigaction action{};
        action.sa_handler = countSignal; // without SA_RESTART
        sigaction(SIGUSR1, &action, &before);
        ASSERT_EQ(server.listen(0), uSocket::done);
        ASSERT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done);
        accepted = server.accept();
        ASSERT_NE(accepted, nullptr);
    }
    void TearDown() override { sigaction(SIGUSR1, &before, nullptr); }

    // Runs a blocking call, interrupts it a few times and then lets it end.
    static void interrupt(const std::function<void()>& waiting, const std::function<void()>& release) {
        std::atomic<bool> ended{false};
        std::thread thread([&] {
            waiting();
            ended = true;
        });
        for (int i = 0; i < 5; ++i) {
            uThread::sleep(5);
            pthread_kill(thread.native_handle(), SIGUSR1);
        }
        while (signalsSeen == 0) {
            uThread::sleep(1);
        }
        EXPECT_FALSE(ended);
        release();
        thread.join();
    }

    struct sigaction before{};
    uSocket server;
    uSocket client;
    std::unique_ptr<uSocket> accepted;
};

TEST_F(InterruptedCalls, ReadWaitsForItsData) {
    std::array<char, 4> buffer{};
    std::int32_t count = 0;
    int status = -1;
    interrupt([&] { status = accepted->read(buffer.data(), 4, 0, count); },
              [&] {
                  std::int32_t written = 0;
                  client.write("a", 1, 0, written);
              });
    EXPECT_EQ(status, uSocket::done);
    EXPECT_EQ(buffer[0], 'a');
}

TEST_F(InterruptedCalls, AcceptWaitsForItsConnection) {
    std::unique_ptr<uSocket> other;
    uSocket second;
    interrupt([&] { other = server.accept(); }, [&] { second.connect("127.0.0.1", server.localPort()); });
    EXPECT_NE(other, nullptr);
}

TEST_F(InterruptedCalls, WaitReadableWithoutALimitWaitsForData) {
    bool readable = false;
    interrupt([&] { readable = accepted->waitReadable(-1); },
              [&] {
                  std::int32_t written = 0;
                  client.write("a", 1, 0, written);
              });
    EXPECT_TRUE(readable);
}

TEST_F(InterruptedCalls, WaitReadableKeepsItsLimit) {
    bool readable = true;
    double seconds = 0;
    interrupt(
        [&] {
            uStopwatch watch;
            readable = accepted->waitReadable(200);
            seconds = watch.elapsed();
        },
        [] {});
    EXPECT_FALSE(readable);
    EXPECT_GE(seconds, 0.199);
}

TEST_F(InterruptedCalls, SleepLastsItsTime) {
    double seconds = 0;
    interrupt(
        [&] {
            uStopwatch watch;
            uThread::sleep(200);
            seconds = watch.elapsed();
        },
        [] {});
    EXPECT_GE(seconds, 0.199);
}

TEST(SocketDescriptors, AreNotInherited) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    uSocket client;
    ASSERT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done);
    const auto accepted = server.accept();
    int sockets = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        int type = 0;
        socklen_t size = sizeof type;
        sockaddr_in name{};
        socklen_t nameSize = sizeof name;
        const bool isSocket = getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0;
        if (isSocket && getsockname(descriptor, reinterpret_cast<sockaddr*>(&name), &nameSize) == 0 &&
            name.sin_family == AF_INET) {
            const std::uint16_t port = ntohs(name.sin_port);
            if (port == server.localPort() || port == client.localPort()) {
                ++sockets;
                EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
            }
        }
    }
    EXPECT_EQ(sockets, 3);
}

} // namespace
} // namespace VX_QRS
