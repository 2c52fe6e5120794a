// Each operation with a server process that fails.

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/unit/mpx/ConnectionFailures.h"
#include "tests/unit/mpx/Operations.h"
#include "tests/unit/mpx/ProxyOverProcess.h"

#include <atomic>
#include <future>
#include <thread>
#include <vector>

using frames::reply;
using frames::word;
using testing::AnyOf;
using namespace VX_QRS::ORV;
using test_support::failureText;

namespace {

// A server that waits for the operation's request, and its client.
struct Session {
    ScriptedServer server;
    std::unique_ptr<OrvEcomProxy> proxy;
    RecordingCallback callback;
};

class ProcessFaults : public ::testing::Test {
protected:
    // Each client takes a second to end, since its timer thread sleeps that long; so they end in parallel.
    ~ProcessFaults() override {
        std::vector<std::future<void>> ends;
        for (auto& session : sessions) {
            ends.push_back(std::async(std::launch::async, [&session] { session->proxy.reset(); }));
        }
        for (std::future<void>& end : ends) {
            end.get();
        }
        for (auto& session : sessions) {
            EXPECT_TRUE(session->server.allEnded());
            session->server.verify();
        }
    }

    // Adds the server's steps after the request; returns the session that runs them.
    Session& begin(const Operation& operation, const std::function<void(ScriptedServer&)>& behindTheRequest) {
        sessions.push_back(std::make_unique<Session>());
        Session& session = *sessions.back();
        session.server.greet();
        const std::string open = frames::request('o', word(0) + word(0));
        if (operation.needsAChannel()) {
            session.server.expect(open).send(reply());
        }
        session.server.expect(operation.request());
        behindTheRequest(session.server);
        session.server.arm();
        EXPECT_EQ(construct(session.proxy, freePort()), "");
        if (operation.needsAChannel() && session.proxy != nullptr) {
            session.proxy->openChannel(0, 0, &session.callback);
        }
        return session;
    }

    static std::string run(const Operation& operation, Session& session) {
        return failureText([&] { operation.run(*session.proxy, session.callback); });
    }
    static std::string stop(Session& session) {
        return failureText([&] { session.proxy->stop(); });
    }
    static std::string leaving(const Operation& operation, const char* text) {
        return operation.swallowsFailures() ? "" : text;
    }

    const SameDirectory sameDirectory;
    std::vector<std::unique_ptr<Session>> sessions;
};

} // namespace

TEST_F(ProcessFaults, AServerThatDiesBeforeTheReply) {
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        Session& session = begin(operation, [](ScriptedServer& server) { server.exit(); });
        ASSERT_NE(session.proxy, nullptr);
        EXPECT_EQ(run(operation, session), leaving(operation, lost));
        EXPECT_EQ(stop(session), unwritten);
        EXPECT_EQ(stop(session), unwritten);
    }
}

TEST_F(ProcessFaults, AServerThatDiesInTheMiddleOfTheReply) {
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        const std::string whole = reply(operation.payload);
        Session& session = begin(
            operation, [&](ScriptedServer& server) { server.send(whole.substr(0, (whole.size() - 2) / 2)).exit(); });
        ASSERT_NE(session.proxy, nullptr);
        EXPECT_EQ(run(operation, session), leaving(operation, lost));
        EXPECT_EQ(stop(session), unwritten);
    }
}

TEST_F(ProcessFaults, AServerThatDiesRightAfterTheReply) {
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        Session& session =
            begin(operation, [&](ScriptedServer& server) { server.send(reply(operation.payload)).exit(); });
        ASSERT_NE(session.proxy, nullptr);
        EXPECT_EQ(run(operation, session), "");
        EXPECT_EQ(stop(session), lost);
        EXPECT_EQ(stop(session), unwritten);
    }
}

TEST_F(ProcessFaults, AServerThatHangsAndThenCloses) {
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        Session& session = begin(operation, [](ScriptedServer& server) { server.wait(50).close(); });
        ASSERT_NE(session.proxy, nullptr);
        EXPECT_EQ(run(operation, session), leaving(operation, lost));
        EXPECT_EQ(stop(session), unwritten);
    }
}

TEST_F(ProcessFaults, AServerThatHangsAndIsEndedFromOutside) {
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        Session& session = begin(operation, [](ScriptedServer& server) { server.hang(); });
        ASSERT_NE(session.proxy, nullptr);
        const std::uint32_t pid = session.server.startedPids().back();
        std::atomic<bool> ending{false};
        std::thread outside([&] {
            session.server.awaitSteps(); // the request has arrived
            VX_QRS::uThread::sleep(30);
            ending = true;
            EXPECT_TRUE(VX_QRS::uEnvironment::terminateProcess(pid));
        });
        EXPECT_EQ(run(operation, session), leaving(operation, lost));
        EXPECT_TRUE(ending) << "the caller did not wait";
        outside.join();
        EXPECT_EQ(stop(session), unwritten);
    }
}

TEST_F(ProcessFaults, AServerThatAnswersWrongly) {
    const std::vector<std::pair<std::string, std::string>> answers{
        {"$E#00", "internal rsp error"},
        {"$err#00", "internal rsp exception"},
        {"$errno unit#00", "no unit"},
        {"garbage#00", "invalid rsp response"},
        {"$cb" + word(7781) + "#00", "invalid rsp callback responseinvalid rsp response"}};
    std::size_t turn = 0; // each operation uses another answer
    for (const Operation& operation : operations()) {
        const auto& [answer, text] = answers[turn++ % answers.size()];
        SCOPED_TRACE(std::string(operation.name) + " answered " + answer);
        Session& session =
            begin(operation, [&bytes = answer](ScriptedServer& server) { server.send(bytes).expect("$S#00"); });
        ASSERT_NE(session.proxy, nullptr);
        EXPECT_EQ(run(operation, session), leaving(operation, text.c_str()));
        EXPECT_EQ(stop(session), "invalid rsp response");
    }
}
