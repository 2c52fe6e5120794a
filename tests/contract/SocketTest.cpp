#include "common/source/source_utilities/NativeSocket.h"
#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uStopwatch.h"
#include "tests/contract/Contract.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace {

using VX_QRS::uSocket;
using VX_QRS::uStopwatch;
namespace nativeSocket = VX_QRS::nativeSocket;

/// Writes all of a text, in as many calls as it takes.
void writeAll(uSocket& socket, const std::string& text, std::uint32_t offset = 0) {
    std::int32_t count = 0;
    for (std::uint32_t at = offset; at < text.size(); at += static_cast<std::uint32_t>(count)) {
        ASSERT_EQ(socket.write(text.data(), static_cast<std::uint32_t>(text.size()) - at, at, count), uSocket::done);
        ASSERT_GT(count, 0);
    }
}

/// A server, a client and the server's end of their connection.
struct Connection {
    Connection() {
        EXPECT_EQ(server.listen(0), uSocket::done) << server.lastError();
        EXPECT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done) << client.lastError();
        accepted = server.accept();
        EXPECT_NE(accepted, nullptr) << server.lastError();
    }

    uSocket server;
    uSocket client;
    std::unique_ptr<uSocket> accepted;
    std::array<char, 64> buffer{};
    std::int32_t count = 77;
};

CONTRACT(Sockets, BothEndsKnowPortsAndAddress) {
    Connection c;
    EXPECT_NE(c.server.localPort(), 0);
    EXPECT_EQ(c.server.remotePort(), c.server.localPort());
    EXPECT_EQ(c.client.remotePort(), c.server.localPort());
    EXPECT_EQ(c.client.peerAddress(), "127.0.0.1");
    EXPECT_EQ(c.accepted->peerAddress(), "127.0.0.1");
    EXPECT_EQ(c.accepted->remotePort(), c.client.localPort());
    EXPECT_EQ(c.accepted->localPort(), c.server.localPort());
    EXPECT_TRUE(c.client.isOpen());
    EXPECT_TRUE(c.accepted->isOpen());
}

CONTRACT(Sockets, MovesBytesFromAndToAnOffset) {
    Connection c;
    writeAll(c.client, "xxhello", 2);
    std::string got;
    while (got.size() < 5) {
        ASSERT_EQ(c.accepted->read(c.buffer.data(), 5, 3, c.count), uSocket::done);
        got.append(c.buffer.data() + 3, static_cast<std::size_t>(c.count));
    }
    EXPECT_EQ(got, "hello");
    EXPECT_EQ(c.buffer[0], 0);
}

CONTRACT(Sockets, ReadGivesWhatIsThereAndNoMoreThanAskedFor) {
    Connection c;
    ASSERT_EQ(c.client.write("abcdef", 6, 0, c.count), uSocket::done);
    while (!c.accepted->waitReadable(1000)) {
    }
    ASSERT_EQ(c.accepted->read(c.buffer.data(), 1, 0, c.count), uSocket::done);
    EXPECT_EQ(c.count, 1);
    EXPECT_EQ(c.buffer[0], 'a');
}

CONTRACT(Sockets, NullBufferIsRefused) {
    Connection c;
    EXPECT_EQ(c.client.read(nullptr, 1, 0, c.count), uSocket::nullBuffer);
    EXPECT_EQ(c.client.lastError(), "Data buffer is NULL");
    EXPECT_EQ(c.count, 77);
    EXPECT_EQ(c.accepted->write(nullptr, 1, 0, c.count), uSocket::nullBuffer);
    EXPECT_EQ(c.accepted->lastError(), "Data buffer is NULL");
    EXPECT_EQ(c.count, 0);
}

CONTRACT(Sockets, OrderlyEndOfThePeerIsAReadOfNothing) {
    Connection c;
    c.accepted->close();
    EXPECT_FALSE(c.accepted->isOpen());
    EXPECT_EQ(c.client.read(c.buffer.data(), 10, 0, c.count), uSocket::connectionGone);
    EXPECT_EQ(c.count, 0);
    EXPECT_TRUE(c.client.lastError().starts_with("socket closed: read error: ")) << c.client.lastError();
}

CONTRACT(Sockets, ResetByThePeerIsALostConnection) {
    Connection c;
    // Closing with unread data resets the connection.
    ASSERT_EQ(c.client.write("unread", 6, 0, c.count), uSocket::done);
    ASSERT_TRUE(c.accepted->waitReadable(-1));
    c.accepted->close();
    ASSERT_TRUE(c.client.waitReadable(-1));
    EXPECT_EQ(c.client.read(c.buffer.data(), 10, 0, c.count), uSocket::connectionGone);
    EXPECT_LE(c.count, 0);
}

CONTRACT(Sockets, WritingToALostPeerEndsInStatusFiveAndNoSignal) {
    Connection c;
    c.accepted->close();
    const std::vector<char> block(4096);
    int status = uSocket::done;
    // The first writes may still succeed.
    for (int i = 0; i < 100000 && status == uSocket::done; ++i) {
        status = c.client.write(block.data(), 4096, 0, c.count);
    }
    EXPECT_EQ(status, uSocket::connectionGone) << c.client.lastError();
    EXPECT_EQ(c.count, 0);
    EXPECT_TRUE(c.client.lastError().starts_with("socket write error: ")) << c.client.lastError();
    EXPECT_EQ(c.client.write(block.data(), 4096, 0, c.count), uSocket::connectionGone) << c.client.lastError();
}

CONTRACT(Sockets, WaitReadableReportsDataAndConnections) {
    Connection c;
    EXPECT_FALSE(c.accepted->waitReadable(0));
    uStopwatch watch;
    EXPECT_FALSE(c.accepted->waitReadable(30));
    EXPECT_GE(watch.elapsed(), 0.029);
    EXPECT_FALSE(c.server.waitReadable(0));
    ASSERT_EQ(c.client.write("x", 1, 0, c.count), uSocket::done);
    EXPECT_TRUE(c.accepted->waitReadable(-1));
    uSocket second;
    ASSERT_EQ(second.connect("127.0.0.1", c.server.localPort()), uSocket::done);
    EXPECT_TRUE(c.server.waitReadable(-1));
    EXPECT_NE(c.server.accept(), nullptr);
}

CONTRACT(Sockets, WaitReadableReportsAnEndOfTheConnection) {
    Connection c;
    c.accepted->close();
    EXPECT_TRUE(c.client.waitReadable(-1));
    c.client.close();
    EXPECT_TRUE(c.client.waitReadable(-1)) << "the next call will fail at once";
}

CONTRACT(Sockets, ClosedSocketFailsAndMayBeClosedAgain) {
    Connection c;
    c.client.close();
    c.client.close();
    EXPECT_EQ(c.client.read(c.buffer.data(), 1, 0, c.count), uSocket::failed);
    EXPECT_EQ(c.count, -1);
    EXPECT_EQ(c.client.lastError(), "socket read error: Socket operation on non-socket(ENOTSOCK)");
    EXPECT_EQ(c.client.write(c.buffer.data(), 1, 0, c.count), uSocket::failed);
    EXPECT_EQ(c.client.lastError(), "socket write error: Socket operation on non-socket(ENOTSOCK)");
}

CONTRACT(Sockets, MayConnectAgain) {
    Connection c;
    ASSERT_EQ(c.client.connect("127.0.0.1", c.server.localPort()), uSocket::done);
    EXPECT_EQ(c.accepted->read(c.buffer.data(), 1, 0, c.count), uSocket::connectionGone)
        << "the first connection ended";
    c.accepted = c.server.accept();
    ASSERT_NE(c.accepted, nullptr);
    EXPECT_EQ(c.accepted->remotePort(), c.client.localPort());
}

CONTRACT(Sockets, PortOfAListenerIsTaken) {
    Connection c;
    uSocket other;
    EXPECT_EQ(other.listen(c.server.localPort()), uSocket::setUpFailed);
    EXPECT_EQ(other.lastError(), "Error binding socket: Address already in use (EADDRINUSE)");
    EXPECT_FALSE(other.isOpen());
}

CONTRACT(Sockets, PortOfAnEndedListenerMayBeTakenAgain) {
    Connection c;
    const std::uint16_t port = c.server.localPort();
    c.accepted->close(); // this end closes first, so its closing connection keeps the port
    c.client.close();
    c.server.close();
    uSocket other;
    EXPECT_EQ(other.listen(port), uSocket::done) << other.lastError();
    EXPECT_EQ(other.localPort(), port);
    EXPECT_EQ(other.remotePort(), port);
}

CONTRACT(Sockets, TransferArrivesWholeWhileBothEndsWait) {
    Connection c;
    std::string sent(20000, '\0');
    for (std::size_t i = 0; i < sent.size(); ++i) {
        sent[i] = static_cast<char>(i * 7 / 3);
    }
    contract::Thread sender([&] { writeAll(c.client, sent); });
    std::string got(sent.size(), '\0');
    for (std::uint32_t at = 0; at < got.size(); at += static_cast<std::uint32_t>(c.count)) {
        ASSERT_EQ(c.accepted->read(got.data(), static_cast<std::uint32_t>(got.size()) - at, at, c.count), 0);
    }
    EXPECT_EQ(got, sent);
}

CONTRACT(Sockets, BytesSentBeforeTheEndArrive) {
    Connection c;
    writeAll(c.client, "last");
    c.client.close();
    std::string got;
    while (c.accepted->read(c.buffer.data(), 10, 0, c.count) == uSocket::done) {
        got.append(c.buffer.data(), static_cast<std::size_t>(c.count));
    }
    EXPECT_EQ(got, "last");
    EXPECT_EQ(c.count, 0) << "an orderly end";
}

CONTRACT(Sockets, BytesSentBeforeTheAcceptArrive) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    uSocket client;
    ASSERT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done);
    std::int32_t count = 0;
    ASSERT_EQ(client.write("a", 1, 0, count), uSocket::done);
    const std::unique_ptr<uSocket> accepted = server.accept();
    ASSERT_NE(accepted, nullptr);
    char byte = 0;
    EXPECT_EQ(accepted->read(&byte, 1, 0, count), uSocket::done);
    EXPECT_EQ(byte, 'a');
}

CONTRACT(Sockets, BlockedCallsEndWithWhatThePeerDoes) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    const std::uint16_t port = server.localPort();
    contract::Thread peer([port] {
        VX_QRS::uThread::sleep(10);
        uSocket client;
        ASSERT_EQ(client.connect("127.0.0.1", port), uSocket::done);
        VX_QRS::uThread::sleep(10);
        std::int32_t count = 0;
        ASSERT_EQ(client.write("a", 1, 0, count), uSocket::done);
        VX_QRS::uThread::sleep(10);
    });
    const std::unique_ptr<uSocket> accepted = server.accept();
    ASSERT_NE(accepted, nullptr);
    char byte = 0;
    std::int32_t count = 0;
    EXPECT_EQ(accepted->read(&byte, 1, 0, count), uSocket::done);
    EXPECT_EQ(byte, 'a');
    EXPECT_EQ(accepted->read(&byte, 1, 0, count), uSocket::connectionGone);
}

CONTRACT(Sockets, ConnectionsThatWaitEndWithTheListener) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    uSocket client;
    ASSERT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done);
    server.close();
    char byte = 0;
    std::int32_t count = 0;
    EXPECT_EQ(client.read(&byte, 1, 0, count), uSocket::connectionGone);
}

CONTRACT(Sockets, CallsInTheWrongOrderFailWithTheirError) {
    ASSERT_TRUE(nativeSocket::startLayer());
    const uSocket::Handle handle = nativeSocket::create();
    ASSERT_NE(handle, uSocket::invalidHandle);
    char byte = 0;
    EXPECT_EQ(nativeSocket::receive(handle, &byte, 1), -1);
    EXPECT_EQ(nativeSocket::lastError(), 10057) << "not connected";
    EXPECT_TRUE(nativeSocket::bindToAnyAddress(handle, 0));
    EXPECT_NE(nativeSocket::localPort(handle), 0);
    EXPECT_FALSE(nativeSocket::bindToAnyAddress(handle, 0));
    EXPECT_EQ(nativeSocket::lastError(), 10022) << "bound already";
    uSocket::Peer peer;
    EXPECT_EQ(nativeSocket::accept(handle, peer), uSocket::invalidHandle);
    EXPECT_EQ(nativeSocket::lastError(), 10022) << "does not listen";
    nativeSocket::shutDownAndClose(handle);
}

CONTRACT(Sockets, CallsOfAClosedHandleFail) {
    ASSERT_TRUE(nativeSocket::startLayer());
    const uSocket::Handle handle = uSocket::invalidHandle;
    constexpr int notASocket = 10038;
    char byte = 0;
    uSocket::Peer peer;
    EXPECT_FALSE(nativeSocket::setNoDelay(handle));
    EXPECT_EQ(nativeSocket::lastError(), notASocket);
    EXPECT_FALSE(nativeSocket::connect(handle, "127.0.0.1", 1));
    EXPECT_EQ(nativeSocket::lastError(), notASocket);
    EXPECT_FALSE(nativeSocket::bindToAnyAddress(handle, 0));
    EXPECT_EQ(nativeSocket::lastError(), notASocket);
    EXPECT_FALSE(nativeSocket::listen(handle, 1));
    EXPECT_EQ(nativeSocket::lastError(), notASocket);
    EXPECT_EQ(nativeSocket::accept(handle, peer), uSocket::invalidHandle);
    EXPECT_EQ(nativeSocket::lastError(), notASocket);
    EXPECT_EQ(nativeSocket::receive(handle, &byte, 1), -1);
    EXPECT_EQ(nativeSocket::lastError(), notASocket);
    EXPECT_EQ(nativeSocket::send(handle, &byte, 1), -1);
    EXPECT_EQ(nativeSocket::lastError(), notASocket);
    EXPECT_EQ(nativeSocket::localPort(handle), 0);
    EXPECT_EQ(nativeSocket::remotePort(handle), 0);
    EXPECT_TRUE(nativeSocket::waitReadable(handle, -1));
}

CONTRACT(Sockets, ConnectedOneCannotConnectAgain) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    const uSocket::Handle handle = nativeSocket::create();
    ASSERT_TRUE(nativeSocket::connect(handle, "127.0.0.1", server.localPort()));
    EXPECT_FALSE(nativeSocket::connect(handle, "127.0.0.1", server.localPort()));
    EXPECT_EQ(nativeSocket::lastError(), 10056);
    nativeSocket::shutDownAndClose(handle);
}

CONTRACT(Sockets, NamesAreNotLookedUp) {
    uSocket socket;
    EXPECT_EQ(socket.connect("localhost", 1), uSocket::failed);
    EXPECT_TRUE(socket.lastError().starts_with("Error on socket connect: ")) << socket.lastError();
    EXPECT_EQ(socket.peerAddress(), "localhost");
    EXPECT_EQ(socket.remotePort(), 1);
    EXPECT_FALSE(socket.isOpen());
    EXPECT_EQ(socket.connect(nullptr, 1), uSocket::failed);
}

CONTRACT(Sockets, RefusedConnectionFails) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    const std::uint16_t port = server.localPort();
    server.close();
    uSocket socket;
    EXPECT_EQ(socket.connect("127.0.0.1", port), uSocket::failed);
    EXPECT_EQ(socket.lastError(), "Error on socket connect: Connection refused (ECONNREFUSED)");
    EXPECT_FALSE(socket.isOpen());
}

CONTRACT(Sockets, AcceptIsForServersOnly) {
    uSocket socket;
    EXPECT_EQ(socket.accept(), nullptr);
    EXPECT_EQ(socket.lastError(), "AcceptClient() is only valid on server socket");
}

CONTRACT(Sockets, AcceptOnAClosedServerFails) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    server.close();
    EXPECT_EQ(server.accept(), nullptr);
    EXPECT_EQ(server.lastError(), "Error accepting socket: Socket operation on non-socket(ENOTSOCK)");
}

} // namespace
