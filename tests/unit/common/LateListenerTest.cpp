#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uThread.h"

#include <gtest/gtest.h>

#include <thread>

using VX_QRS::uSocket;
using VX_QRS::uThread;

// Windows retries before it reports a refusal; elsewhere the class does.
TEST(uSocket, ConnectReachesAListenerThatComesUpAMomentLater) {
    uSocket probe;
    ASSERT_EQ(probe.listen(0), uSocket::done);
    const std::uint16_t port = probe.localPort();
    probe.close();

    uSocket server;
    int listening = -1;
    std::thread late([&] {
        uThread::sleep(100);
        listening = server.listen(port);
    });
    uSocket client;
    const int connected = client.connect("127.0.0.1", port);
    late.join();
    ASSERT_EQ(listening, uSocket::done);
    EXPECT_EQ(connected, uSocket::done) << client.lastError();
}
