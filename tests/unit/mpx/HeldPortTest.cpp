// The proxy starts a server process that does nothing, while the test itself listens at the port. So the test sees both
// connections and all their bytes.

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/support/open_handles/OpenHandles.h"
#include "tests/support/scripted_server/Frames.h"
#include "tests/unit/mpx/ProxyOverProcess.h"
#include "tests/unit/mpx/TalkPeer.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <functional>
#include <thread>

using frames::reply;
using frames::word;
using test_support::failureText;
using testing::AnyOf;
using VX_QRS::uSocket;
using VX_QRS::uThread;
using VX_QRS::ORV::OrvEcomProxy;

namespace {

class HeldPort : public ::testing::Test {
protected:
    using Part = std::function<void(TalkPeer& talk, TalkPeer& spare)>;

    HeldPort() {
        EXPECT_EQ(holder.listen(0), uSocket::done);
        server.hang();
        server.arm();
    }

    // Constructs a proxy while this function acts as the server.
    std::string construct(const Part& part) {
        peer = std::thread([this, part] {
            TalkPeer talk(holder.accept());
            TalkPeer spare(holder.accept());
            part(talk, spare);
        });
        return constructOnce(proxy, holder.localPort());
    }

    void end() {
        proxy.reset();
        peer.join();
        EXPECT_TRUE(server.allEnded());
    }

    const SameDirectory sameDirectory;
    ScriptedServer server;
    uSocket holder;
    std::thread peer;
    std::unique_ptr<OrvEcomProxy> proxy;
};

} // namespace

TEST_F(HeldPort, TheSecondConnectionIsOpenForTheClientsLifeAndNothingPassesOverIt) {
    EXPECT_EQ(construct([](TalkPeer& talk, TalkPeer& spare) {
                  EXPECT_EQ(talk.read(5), "$v#00");
                  talk.write(reply(word(1)));
                  EXPECT_EQ(talk.read(5), "$s#00");
                  EXPECT_TRUE(spare.isSilent());
                  talk.write(reply());
                  EXPECT_EQ(talk.readToTheEnd(), "$D#00");
                  EXPECT_EQ(spare.readToTheEnd(), "");
              }),
              "");
    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(failureText([this] { proxy->start(); }), "");
    end();
}

TEST_F(HeldPort, TheGoodbyeIsSentAndNoReplyIsWaitedFor) {
    std::atomic<bool> gone{false};
    EXPECT_EQ(construct([&](TalkPeer& talk, TalkPeer&) {
                  talk.read(5);
                  talk.write(reply(word(1)));
                  EXPECT_EQ(talk.readToTheEnd(), "$D#00"); // without an answer
                  gone = true;
              }),
              "");
    end();
    EXPECT_TRUE(gone);
}

TEST_F(HeldPort, AFailedVersionCheckClosesBothConnectionsAndEndsTheProcess) {
    const std::vector<std::pair<std::string, std::string>> answers{{reply(word(2)), "ecom version mismatch"},
                                                                   {"$E#00", "internal rsp error"},
                                                                   {"$err#00", "internal rsp exception"},
                                                                   {"$errno unit#00", "no unit"},
                                                                   {"220 mail ready#00", "invalid rsp response"},
                                                                   {"$OK#00", "invalid rsp response data"},
                                                                   {reply(word(1) + "x"), "invald rsp final response"}};
    for (const auto& [answer, text] : answers) {
        EXPECT_EQ(construct([raw = answer](TalkPeer& talk, TalkPeer& spare) {
                      EXPECT_EQ(talk.read(5), "$v#00");
                      talk.write(raw);
                      EXPECT_EQ(talk.readToTheEnd(), "");
                      EXPECT_EQ(spare.readToTheEnd(), "");
                  }),
                  text);
        EXPECT_EQ(proxy, nullptr);
        end();
    }
}

TEST_F(HeldPort, AVersionReplyCutAtAnyByteIsALostConnection) {
    const std::string whole = reply(word(1));
    for (std::size_t cut = 0; cut + 3 <= whole.size(); ++cut) {
        EXPECT_EQ(construct([part = whole.substr(0, cut)](TalkPeer& talk, TalkPeer& spare) {
                      EXPECT_EQ(talk.read(5), "$v#00");
                      talk.write(part);
                      talk.close();
                      EXPECT_EQ(spare.readToTheEnd(), "");
                  }),
                  "disconnected from server")
            << cut;
        end();
    }
}

TEST_F(HeldPort, AVersionCheckThatHangsIsFreedByTheServersEnd) {
    std::atomic<bool> ending{false};
    EXPECT_EQ(construct([&](TalkPeer& talk, TalkPeer&) {
                  talk.read(5);
                  uThread::sleep(30);
                  ending = true;
                  talk.close();
              }),
              "disconnected from server");
    EXPECT_TRUE(ending);
    end();
}

TEST_F(HeldPort, ASilentHolderOfThePortIsLeftWhenTheServersProcessEnds) {
    ScriptedServer ending;
    ending.wait(400).exit();
    ending.arm();
    EXPECT_EQ(construct([](TalkPeer& talk, TalkPeer& spare) {
                  EXPECT_EQ(talk.readToTheEnd(), "$v#00");
                  EXPECT_EQ(spare.readToTheEnd(), "");
              }),
              "disconnected from server");
    end();
    EXPECT_TRUE(ending.allEnded());
}

TEST_F(HeldPort, AnOccupiedRangeOfPortsEndsInTheTextOfItsHolder) {
    // Eight successive ports, held by a program that uses another protocol. It ends its text when a server has found
    // its port taken: the client ends the process of a server that has only begun to start.
    std::array<uSocket, 8> range;
    std::uint32_t first = 0;
    for (int attempt = 0; attempt < 100 && first == 0; ++attempt) {
        const std::uint32_t port = freePort();
        if (port > 65000) {
            continue;
        }
        first = port;
        for (std::uint32_t i = 0; i < range.size() && first != 0; ++i) {
            if (range[i].listen(static_cast<std::uint16_t>(port + i)) != uSocket::done) {
                first = 0;
            }
        }
    }
    ASSERT_NE(first, 0u);
    ScriptedServer occupied;
    occupied.listen().accept(); // it gets no port, and ends
    occupied.arm();
    std::atomic<bool> done{false};
    std::thread holders([&] {
        std::vector<TalkPeer> greeted;
        std::vector<TalkPeer> answered;
        while (!done) {
            for (uSocket& one : range) {
                if (one.waitReadable(0)) {
                    greeted.emplace_back(one.accept());
                    greeted.back().write("220 mail ready ");
                }
            }
            if (occupied.report().find("port is taken") != std::string::npos) {
                for (TalkPeer& client : greeted) {
                    client.write("#\r\n");
                    answered.push_back(std::move(client));
                }
                greeted.clear();
            }
            uThread::sleep(1);
        }
    });
    // Each process that was not found before it ended uses up one port; a holder that ends its text more than a second
    // after the process is no longer waited for.
    EXPECT_THAT(constructOnce(proxy, first),
                AnyOf("invalid rsp response", "failed to start server", "disconnected from server"));
    EXPECT_EQ(proxy, nullptr);
    EXPECT_THAT(occupied.startedPorts(), testing::Contains(first));
    EXPECT_THAT(occupied.report(), testing::HasSubstr("port is taken"));
    EXPECT_TRUE(occupied.allEnded());
    done = true;
    holders.join();
}

TEST_F(HeldPort, ARefusedSecondConnectionIsNoFailure) {
    // Another client and the first connection fill the queue of the port, so that the second connection has to be
    // retried; by then no socket listens.
    uSocket other;
    ASSERT_EQ(other.connect("127.0.0.1", holder.localPort()), uSocket::done);
    std::atomic<bool> served{false};
    peer = std::thread([&] {
        uThread::sleep(500);
        TalkPeer(holder.accept()).close(); // the other one
        TalkPeer talk(holder.accept());
        holder.close();
        EXPECT_EQ(talk.read(5), "$v#00");
        talk.write(reply(word(1)));
        EXPECT_EQ(talk.read(5), "$s#00");
        talk.write(reply());
        served = true;
        EXPECT_EQ(talk.readToTheEnd(), "$D#00");
    });
    EXPECT_EQ(constructOnce(proxy, holder.localPort()), "");
    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(failureText([this] { proxy->start(); }), "");
    end();
    EXPECT_TRUE(served);
}

TEST_F(HeldPort, WithoutACommonFolderTheServerIsFoundInTheDirectoryAtHand) {
    const ScopedVariable noFolder("COMMON_HELIX", "");
    const VX_QRS::uEnvironment::ScopedDirectoryChanger there(ScriptedServer::folder().c_str());
    EXPECT_EQ(construct([](TalkPeer& talk, TalkPeer&) {
                  talk.read(5);
                  talk.write(reply(word(1)));
                  talk.readToTheEnd();
              }),
              "");
    end();
}

TEST_F(HeldPort, NeitherGoodNorFailedClientsLeaveAnythingOpen) {
    const auto cycle = [this](const std::string& answer) {
        construct([answer](TalkPeer& talk, TalkPeer&) {
            talk.read(5);
            talk.write(answer);
            talk.readToTheEnd();
        });
        end();
    };
    for (const std::string& answer : {reply(word(2)), std::string("$E#00"), reply(word(1))}) {
        cycle(answer); // handles that the system opens once are open now
        const std::size_t before = test_support::countOpenHandles();
        for (int i = 0; i < 3; ++i) {
            cycle(answer);
        }
        EXPECT_LT(test_support::countOpenHandles(), before + 3) << answer;
    }
}
