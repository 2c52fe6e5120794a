// The proxy against server processes of its own.

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/mpx/ProxyOverProcess.h"
#include "tests/unit/mpx/ProxyOverScript.h"

#include <atomic>
#include <filesystem>
#include <thread>

using frames::dataRecord;
using frames::reply;
using frames::request;
using frames::statusRecord;
using frames::word;
using test_support::failureText;
using testing::AnyOf;
using testing::ElementsAre;
using VX_QRS::uEnvironment;
using VX_QRS::uSocket;
using VX_QRS::uThread;
using namespace VX_QRS::ORV;

namespace {

class ProxyProcess : public ::testing::Test {
protected:
    ~ProxyProcess() override { proxy.reset(); }

    static std::string failureOf(const std::function<void()>& action) { return failureText(action); }
    std::string constructOnce() { return ::constructOnce(proxy, firstPort); }
    std::string failureToConstruct() { return ::construct(proxy, firstPort); }

    void make() { ASSERT_EQ(failureToConstruct(), ""); }

    void openChannel() { proxy->openChannel(4096, 0, &callback); }

    static std::string openRequest() { return request('o', word(4096) + word(0)); }

    const SameDirectory sameDirectory;
    std::uint32_t firstPort = freePort();
    ScriptedServer server;
    std::unique_ptr<OrvEcomProxy> proxy;
    RecordingCallback callback;
};

} // namespace

TEST_F(ProxyProcess, AWholeSessionAgainstAServerProcess) {
    server.greet()
        .expect(request('c', word(5) + "usb:0"))
        .send(reply())
        .expect(request('m', word(1) + frames::access(1, 0x40, 0)))
        .send(reply(frames::access(1, 0x40, 0xBEEF)))
        .expect(openRequest())
        .send(reply())
        .expect("$s#00")
        .send(reply())
        .expect(request('r', word(8)))
        .send(reply({}, dataRecord("8 bytes}") + statusRecord(0)))
        .expect("$S#00")
        .send(reply())
        .expect("$O#00")
        .send(reply())
        .expect("$C#00")
        .send(reply());
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    proxy->connect("usb:0");
    RegisterAccess access{1, 0x40, 0};
    proxy->read(&access, 1);
    EXPECT_EQ(access.value, 0xBEEFu);
    openChannel();
    proxy->start();
    proxy->request(8);
    EXPECT_THAT(callback.calls, ElementsAre("data 8 bytes}", "status 0"));
    proxy->stop();
    proxy->closeChannel(nullptr);
    proxy->disconnect();
    proxy.reset();
    server.verify();
    EXPECT_EQ(server.startedPorts().front(), firstPort);
}

TEST_F(ProxyProcess, FactoryGivesAClientAndDestroyEndsTheServer) {
    server.greet();
    server.arm();
    DataClient* client = nullptr;
    for (int attempt = 0; attempt < 20 && client == nullptr; ++attempt) {
        client = createDataClient(firstPort);
    }
    ASSERT_NE(client, nullptr);
    EXPECT_FALSE(server.startedPorts().empty());
    destroyDataClient(client);
    EXPECT_TRUE(server.allEnded());
    server.verify();
}

TEST_F(ProxyProcess, NothingOfAServerIsLeftInTheProcessList) {
    // A process that ended and was not collected by its parent still stands there. Other systems have no such folder.
    const auto listed = [](std::uint32_t pid) { return std::filesystem::exists("/proc/" + std::to_string(pid)); };
    for (const bool diesFirst : {false, true}) {
        SCOPED_TRACE(diesFirst ? "the server dies by itself" : "the server is ended");
        ScriptedServer one;
        one.greet();
        if (diesFirst) {
            one.expect("$s#00").exit();
        }
        one.arm();
        ASSERT_NO_FATAL_FAILURE(make());
        if (diesFirst) {
            EXPECT_EQ(failureOf([this] { proxy->start(); }), "disconnected from server");
        }
        proxy.reset();
        ASSERT_FALSE(one.startedPids().empty());
        for (const std::uint32_t pid : one.startedPids()) {
            EXPECT_FALSE(listed(pid)) << pid;
        }
    }
}

TEST_F(ProxyProcess, FactoryGivesNullWhereConstructionFails) {
    server.listen().accept().expect("$v#00").send(reply(word(2)));
    server.arm();
    EXPECT_EQ(createDataClient(firstPort), nullptr);
    destroyDataClient(nullptr);
}

TEST_F(ProxyProcess, RepliesInSinglesAndWithLateChecksumsAreWhole) {
    server.greet()
        .expect(openRequest())
        .drip(1, reply({}, dataRecord("#}")))
        .expect("$s#00")
        .send("$OK#")
        .wait(50)
        .send("00")
        .expect("$f#00")
        .send("$OK#0")
        .wait(50)
        .send("0")
        .expect("$x#00")
        .send("$OK#")
        .expect("$S#00")
        .wait(50)
        .send(reply());
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    openChannel();
    EXPECT_THAT(callback.calls, ElementsAre("data #}"));
    proxy->start();
    proxy->flush();
    proxy->cancel();
    proxy->stop();
    proxy.reset();
    server.verify();
}

TEST_F(ProxyProcess, AReplySlowerThanTheWaitIsWaitedFor) {
    server.greet().expect("$s#00").wait(1300).send(reply());
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    EXPECT_EQ(failureOf([this] { proxy->start(); }), "");
    proxy.reset();
    server.verify();
}

TEST_F(ProxyProcess, ALargeRecordPassesTheSocket) {
    std::string payload(3000000, '\0');
    std::uint32_t state = 1;
    for (char& c : payload) {
        state = state * 1664525u + 1013904223u;
        c = static_cast<char>(state >> 24);
    }
    server.greet().expect(openRequest()).send(reply({}, dataRecord(payload)));
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    openChannel();
    ASSERT_EQ(callback.calls.size(), 1u);
    EXPECT_TRUE(callback.calls[0] == "data " + payload);
    proxy.reset();
    server.verify();
}

TEST_F(ProxyProcess, AServerThatDiesInTheMiddleOfAReply) {
    for (const char* part : {"$", "$O", "$OK", "$cb", "$err", "$errtext"}) {
        ScriptedServer own;
        own.greet().expect("$s#00").send(part).exit();
        own.arm();
        ASSERT_NO_FATAL_FAILURE(make());
        EXPECT_EQ(failureOf([&] { proxy->start(); }), "disconnected from server") << part;
        proxy.reset();
        own.verify();
    }
}

TEST_F(ProxyProcess, AServerThatDiesRightBehindAReplyIsNoticedByALaterRequest) {
    server.greet().expect("$s#00").send(reply()).exit();
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    EXPECT_EQ(failureOf([&] { proxy->start(); }), "");
    // The first bytes to a peer that is gone may still go out.
    EXPECT_EQ(failureOf([&] { proxy->stop(); }), "disconnected from server");
    EXPECT_EQ(failureOf([&] { proxy->stop(); }), "failed to write to server");
    proxy.reset();
    server.verify();
}

TEST_F(ProxyProcess, ClosingTheConnectionFreesACallerThatHangs) {
    server.greet().expect("$s#00").wait(1500).close();
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    EXPECT_EQ(failureOf([&] { proxy->start(); }), "disconnected from server");
    proxy.reset();
    server.verify();
}

TEST_F(ProxyProcess, ADeadServerIsNoTroubleForTheDestructor) {
    server.greet().exit();
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    ASSERT_TRUE(server.allEnded());
    proxy.reset();
    server.verify();
}

TEST_F(ProxyProcess, AServerThatHangsIsTerminatedWithTheClient) {
    server.greet().hang();
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    proxy.reset();
    EXPECT_TRUE(server.allEnded());
    server.verify();
}

TEST_F(ProxyProcess, AnotherVersion) {
    server.listen().accept().accept().expect("$v#00").send(reply(word(2))).hang();
    server.arm();
    EXPECT_EQ(failureToConstruct(), "ecom version mismatch");
    EXPECT_TRUE(server.allEnded());
}

TEST_F(ProxyProcess, AVersionCheckThatFails) {
    for (const auto& [answer, text] : std::vector<std::pair<std::string, std::string>>{
             {"$E#00", "internal rsp error"}, {"$errno unit#00", "no unit"}, {"$OK#00", "invalid rsp response data"}}) {
        ScriptedServer own;
        own.listen().accept().accept().expect("$v#00").send(answer).hang();
        own.arm();
        EXPECT_EQ(failureToConstruct(), text);
        EXPECT_TRUE(own.allEnded());
    }
}

TEST_F(ProxyProcess, AServerThatDoesNotListen) {
    server.hang();
    server.arm();
    EXPECT_EQ(constructOnce(), "failed to connect to server");
    EXPECT_TRUE(server.allEnded());
}

TEST_F(ProxyProcess, AServerThatTakesTheFirstConnectionAndDropsIt) {
    server.listen().accept().close().hang();
    server.arm();
    EXPECT_THAT(failureToConstruct(), AnyOf("disconnected from server", "failed to write to server"));
}

TEST_F(ProxyProcess, AServerThatRefusesTheSecondConnectionServesOnTheFirst) {
    server.listen().accept().refuse().expect("$v#00").send(reply(word(1))).expect("$s#00").send(reply());
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    EXPECT_EQ(failureOf([&] { proxy->start(); }), "");
    proxy.reset();
    server.verify();
}

TEST_F(ProxyProcess, AServerThatExitsAtOnceLeavesNothingBehind) {
    server.exit();
    server.arm();
    // Whether it was still seen in the process list is its luck.
    EXPECT_THAT(constructOnce(), AnyOf("failed to connect to server", "failed to start server"));
}

TEST_F(ProxyProcess, NoServerProgramAtAllEndsAtTheConnection) {
    const test_support::TemporaryFolder empty;
    const ScopedVariable folder("COMMON_HELIX", empty.path.string());
    // A server that somebody else runs on this machine is seen, and then it ends at the start already.
    EXPECT_THAT(constructOnce(), AnyOf("failed to connect to server", "failed to start server"));
    EXPECT_EQ(server.report(), "");
}

TEST_F(ProxyProcess, NoServerProgramBesideAnothersServerFailsToStart) {
    std::uint32_t other = 0;
    {
        const ScopedVariable noScript("SCRIPTED_SERVER_SCRIPT", "");
        const uEnvironment::ScopedDirectoryChanger there(ScriptedServer::folder().c_str());
        other = uEnvironment::startProcess(ScriptedServer::image, "", uEnvironment::detachedMode);
    }
    ASSERT_NE(other, 0u);
    for (int i = 0; i < 400 && uEnvironment::findProcess(ScriptedServer::image, other) != other; ++i) {
        uThread::sleep(25);
    }
    const test_support::TemporaryFolder empty;
    const ScopedVariable folder("COMMON_HELIX", empty.path.string());
    EXPECT_EQ(constructOnce(), "failed to start server");
    EXPECT_TRUE(uEnvironment::processExists(other)) << "the other's server is left alone";
    EXPECT_TRUE(uEnvironment::terminateProcess(other));
}

TEST_F(ProxyProcess, AServersFolderThatIsNotThereFailsAndTheDirectoryStays) {
    const test_support::TemporaryFolder empty;
    const ScopedVariable folder("COMMON_HELIX", (empty.path / "missing").string());
    EXPECT_THAT(failureToConstruct(), testing::StartsWith("failed to temporarily change the working directory to \""));
}

TEST_F(ProxyProcess, APortThatSomebodyElseHoldsEndsInAStatedText) {
    // The server cannot have the port and ends. Where it was seen before that, the connection reaches whoever holds
    // the port, who hangs up; where it was not, the next port is good.
    uSocket holder;
    ASSERT_EQ(holder.listen(static_cast<std::uint16_t>(firstPort)), uSocket::done);
    std::atomic<bool> done{false};
    std::thread hangingUp([&] {
        while (!done) {
            if (holder.waitReadable(50)) {
                holder.accept();
            }
        }
    });
    server.greet();
    server.arm();
    EXPECT_THAT(failureToConstruct(), AnyOf("disconnected from server", "failed to write to server", ""));
    done = true;
    hangingUp.join();
}

TEST_F(ProxyProcess, TheTimerDoesNotPoll) {
    server.greet().expect("$s#00").send(reply());
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    uThread::sleep(6500); // beyond the delay of the timer's entry and an interval
    proxy->start();
    proxy.reset();
    server.verify();
}

TEST_F(ProxyProcess, RequestsFromTwoThreadsExcludeEachOther) {
    server.greet();
    constexpr int each = 40;
    for (int i = 0; i < 2 * each; ++i) {
        server.expect(request('?', word(5))).send(reply(word(6)));
    }
    server.arm();
    ASSERT_NO_FATAL_FAILURE(make());
    std::atomic<int> good{0};
    const auto ask = [&] {
        for (int i = 0; i < each; ++i) {
            std::uint32_t ready = 5;
            proxy->status(&ready);
            good += ready == 6 ? 1 : 0;
        }
    };
    std::thread other(ask);
    ask();
    other.join();
    EXPECT_EQ(good, 2 * each);
    proxy.reset();
    server.verify();
}
