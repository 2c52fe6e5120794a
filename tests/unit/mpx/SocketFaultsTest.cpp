// Each operation over real sockets, with a scripted server on a thread.

#include "link/GdbTcpipIo.h"
#include "tests/support/failure/FailureText.h"
#include "tests/unit/mpx/ConnectionFailures.h"
#include "tests/unit/mpx/Operations.h"
#include "tests/unit/mpx/TalkPeer.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

using frames::dataRecord;
using frames::reply;
using frames::statusRecord;
using frames::word;
using test_support::failureText;
using testing::ElementsAre;
using VX_QRS::uSocket;
using VX_QRS::uThread;
using namespace VX_QRS::ORV;

namespace {

class SocketFaults : public ::testing::Test {
protected:
    using Part = std::function<void(TalkPeer&)>;

    SocketFaults() { EXPECT_EQ(listener.listen(0), uSocket::done); }

    // Constructs a proxy, with an open channel if the operation needs one. The server reads a number of bytes of the
    // operation's request and then runs its part.
    void serve(const Operation& operation, const Part& part, std::size_t toRead = std::string::npos) {
        const std::uint32_t port = listener.localPort();
        auto io = std::make_unique<MPX_GDB_AGENT::GdbTcpipIo>(port);
        ASSERT_EQ(io->connectTo("127.0.0.1"), MPX_GDB_AGENT::IoOk);
        auto peer = std::make_shared<TalkPeer>(listener.accept());
        const std::string open = frames::request('o', word(0) + word(0));
        const std::string request = operation.request().substr(0, toRead);
        const bool opens = operation.needsAChannel();
        server = std::thread([peer, open, request, opens, part] {
            EXPECT_EQ(peer->read(5), "$v#00");
            peer->write(reply(word(1)));
            if (opens) {
                EXPECT_EQ(peer->read(open.size()), open);
                peer->write(reply());
            }
            EXPECT_EQ(frames::toHex(peer->read(request.size())), frames::toHex(request));
            part(*peer);
        });
        proxy = std::make_unique<OrvEcomProxy>(std::move(io), 64);
        if (opens) {
            proxy->openChannel(0, 0, &callback);
        }
    }

    std::string run(const Operation& operation) {
        return failureText([&] { operation.run(*proxy, callback); });
    }

    std::string stop() {
        return failureText([this] { proxy->stop(); });
    }

    // The end of each case.
    void end() {
        proxy.reset();
        server.join();
        callback.calls.clear();
    }

    static std::string leaving(const Operation& operation, const char* text) {
        return operation.swallowsFailures() ? "" : text;
    }

    uSocket listener;
    std::thread server;
    std::unique_ptr<OrvEcomProxy> proxy;
    RecordingCallback callback;
};

} // namespace

TEST_F(SocketFaults, AServerThatEndsAtAnyByteOfAReplyLosesTheTalk) {
    for (const Operation& operation : operations()) {
        const std::string whole = reply(operation.payload, operation.opensTheChannel() ? dataRecord("a}b#c") : "");
        const std::size_t endMark = whole.rfind('#');
        for (std::size_t cut = 0; cut <= endMark; ++cut) {
            SCOPED_TRACE(std::string(operation.name) + " cut at " + std::to_string(cut));
            ASSERT_NO_FATAL_FAILURE(serve(operation, [part = whole.substr(0, cut)](TalkPeer& peer) {
                peer.write(part);
                peer.close();
            }));
            EXPECT_EQ(run(operation), leaving(operation, lost));
            EXPECT_EQ(stop(), unwritten);
            EXPECT_EQ(stop(), unwritten);
            end();
        }
    }
}

TEST_F(SocketFaults, AServerThatEndsWithoutReadingTheRequestLosesTheTalk) {
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        // Closing with unread bytes resets the connection.
        ASSERT_NO_FATAL_FAILURE(serve(operation, [](TalkPeer& peer) { peer.close(); }, 2));
        EXPECT_EQ(run(operation), leaving(operation, lost));
        EXPECT_EQ(stop(), unwritten);
        end();
    }
}

TEST_F(SocketFaults, AServerThatEndsRightAfterTheReplyIsMissedByTheNextRequest) {
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        ASSERT_NO_FATAL_FAILURE(serve(operation, [&](TalkPeer& peer) {
            peer.write(reply(operation.payload));
            peer.close();
        }));
        EXPECT_EQ(run(operation), "");
        EXPECT_EQ(stop(), lost);
        EXPECT_EQ(stop(), unwritten);
        end();
    }
}

TEST_F(SocketFaults, ACallerOfAServerThatHangsIsFreedByItsEndAndNotBefore) {
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        std::atomic<bool> ending{false};
        ASSERT_NO_FATAL_FAILURE(serve(operation, [&](TalkPeer& peer) {
            uThread::sleep(20);
            ending = true;
            peer.close();
        }));
        EXPECT_EQ(run(operation), leaving(operation, lost));
        EXPECT_TRUE(ending) << "the caller did not wait";
        end();
    }
}

TEST_F(SocketFaults, ErrorsTextsAndGarbageEndInTheirTextsAndPoisonTheTalk) {
    const std::vector<std::pair<std::string, std::string>> answers{{"$E#00", "internal rsp error"},
                                                                   {"$err#00", "internal rsp exception"},
                                                                   {"$errno unit#00", "no unit"},
                                                                   {"garbage#00", "invalid rsp response"}};
    for (const auto& [answer, text] : answers) {
        for (const Operation& operation : operations()) {
            SCOPED_TRACE(std::string(operation.name) + " answered " + answer);
            ASSERT_NO_FATAL_FAILURE(serve(operation, [raw = answer](TalkPeer& peer) {
                peer.writeInSingles(raw);
                peer.readToTheEnd();
            }));
            EXPECT_EQ(run(operation), leaving(operation, text.c_str()));
            EXPECT_EQ(stop(), "invalid rsp response");
            end();
        }
    }
}

TEST_F(SocketFaults, RepliesInSinglesWithCheckCharactersLateOrNever) {
    for (const char* late : {"", "0", "00"}) {
        for (const Operation& operation : operations()) {
            SCOPED_TRACE(std::string(operation.name) + " then '" + late + "'");
            const std::string whole = reply(operation.payload);
            ASSERT_NO_FATAL_FAILURE(serve(operation, [&](TalkPeer& peer) {
                peer.writeInSingles(whole.substr(0, whole.size() - 2));
                uThread::sleep(2);
                peer.writeInSingles(late); // separately, before or after the next request
                EXPECT_EQ(peer.read(5), "$S#00");
                peer.writeInSingles(reply());
                EXPECT_EQ(peer.read(5), "$x#00");
                peer.write(reply());
                EXPECT_EQ(peer.readToTheEnd(), "$D#00");
            }));
            EXPECT_EQ(run(operation), "");
            EXPECT_EQ(stop(), "");
            EXPECT_EQ(failureText([this] { proxy->cancel(); }), "");
            end();
        }
    }
}

TEST_F(SocketFaults, CheckCharactersFiftyMillisecondsLate) {
    const Operation& start = operations()[6];
    ASSERT_STREQ(start.name, "start");
    ASSERT_NO_FATAL_FAILURE(serve(start, [](TalkPeer& peer) {
        peer.write("$OK#");
        uThread::sleep(50);
        peer.write("00");
        EXPECT_EQ(peer.read(5), "$S#00");
        peer.write("$OK#");
        EXPECT_EQ(peer.read(5), "$x#00");
        uThread::sleep(50);
        peer.write("0");
        uThread::sleep(50);
        peer.write("0$OK#00");
        EXPECT_EQ(peer.readToTheEnd(), "$D#00");
    }));
    EXPECT_EQ(run(start), "");
    EXPECT_EQ(stop(), "");
    EXPECT_EQ(failureText([this] { proxy->cancel(); }), "");
    end();
}

TEST_F(SocketFaults, RecordsPassBeforeTheReplyThatOpensTheChannel) {
    const Operation& open = operations()[4];
    ASSERT_TRUE(open.opensTheChannel());
    const std::string large(100000, '}');
    ASSERT_NO_FATAL_FAILURE(serve(open, [&](TalkPeer& peer) {
        peer.write(reply({}, statusRecord(1) + dataRecord(large)));
        EXPECT_EQ(peer.readToTheEnd(), "$D#00");
    }));
    EXPECT_EQ(run(open), "");
    EXPECT_THAT(callback.calls, ElementsAre("status 1", "data " + large));
    end();
}
