// Log lines of the proxy. A process has one log, so these tests have a program of their own.

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uSocket.h"
#include "mpx/MpxEcomServer/ServerStart.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/support/scripted_server/ScriptedServer.h"
#include "tests/unit/mpx/FakeServer.h"
#include "tests/unit/mpx/Operations.h"

#include <fstream>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>

using VX_QRS::ORV::OrvEcomProxy;

namespace {

constexpr const char* everything = "6";

class ProxyLog : public ::testing::Test {
protected:
    ProxyLog() { open(everything); }
    ~ProxyLog() override { VX_QRS::getLogManager()->getLogger()->setEnabled(false); }

    // Opens a log for this test only.
    void open(const char* level) {
        static int count = 0;
        if (VX_QRS::getLogManager()->getLogger() != nullptr) {
            VX_QRS::getLogManager()->getLogger()->setEnabled(false);
        }
        name = "proxy_log_" + std::to_string(++count);
        const ScopedVariable levelVariable("ORV_TEST_LOG_LEVEL", level);
        const ScopedVariable directory("ORV_TEST_LOG_DIR", folder.path.string());
        const ScopedVariable profile("USERPROFILE", folder.path.string()); // named in its first lines
        constexpr bool shared = true;
        ASSERT_TRUE(VX_QRS::getLogManager()->open(name.c_str(), "ORV_TEST_LOG_LEVEL", "ORV_TEST_LOG_DIR", shared));
        VX_QRS::getLogManager()->getLogger()->setToStdout(false);
        VX_QRS::getLogManager()->getLogger()->setToDebugger(false);
        begin();
    }

    // Ignores the lines so far.
    void begin() { before = read().size(); }

    std::string read() const {
        std::ifstream file(folder.path / name, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    // The lines since then, without times and numbers of source lines, which are not specified.
    std::string lines() const {
        std::string text = read().substr(before);
        std::erase(text, '\r'); // the platform's own line ends
        text = std::regex_replace(text, std::regex("[0-9]{2}:[0-9]{2}:[0-9]{2}:[0-9]{3} \\| "), "<time> ");
        return std::regex_replace(text, std::regex("OrvEcomProxy #[0-9]+  "), "OrvEcomProxy #  ");
    }

    static std::string entry(const std::string& function) {
        return "  F    ..\\..\\mpx\\MpxEcomServer\\OrvEcomProxy #  OrvEcomProxy::" + function + "(...)\n";
    }
    static std::string error(const std::string& text) { return "    E <time> MpxEcomProxy: " + text + "\n"; }
    static std::string message(const std::string& text) { return "M     <time> MpxEcomProxy: " + text + "\n"; }

    // A proxy over a script, after its version check.
    std::unique_ptr<OrvEcomProxy> connected() {
        script = std::make_shared<LinkScript>();
        script->expect("$v#00").give(frames::reply(frames::word(1)));
        auto proxy = std::make_unique<OrvEcomProxy>(std::make_unique<ScriptedLink>(script), 64);
        begin();
        return proxy;
    }

    test_support::TemporaryFolder folder;
    std::string name;
    std::size_t before = 0;
    std::shared_ptr<LinkScript> script;
    RecordingCallback callback;
};

std::uint32_t freePort() {
    VX_QRS::uSocket probe;
    EXPECT_EQ(probe.listen(0), VX_QRS::uSocket::done);
    return probe.localPort();
}

// Every start returns the next of these ids; only the last process is found.
class FewProcesses : public VX_QRS::ORV::ProcessAccess {
public:
    explicit FewProcesses(std::uint32_t id) : seen(id) {}
    std::uint32_t start(const char*, const char*) override { return ++started; }
    std::uint32_t find(const char*, std::uint32_t id) override { return id == seen ? id : 0; }
    bool hasEnded(std::uint32_t) noexcept override { return false; }
    void terminate(std::uint32_t) noexcept override {}
    void sleep(std::uint32_t) override {}

private:
    std::uint32_t seen;
    std::uint32_t started = 100;
};

} // namespace

TEST_F(ProxyLog, StartAndVersionOfAServerInOrder) {
    ScriptedServer server;
    server.greet();
    server.arm();
    const std::uint32_t port = freePort();
    std::unique_ptr<OrvEcomProxy> proxy;
    for (int attempt = 0; attempt < 20 && proxy == nullptr; ++attempt) {
        begin();
        try {
            proxy = std::make_unique<OrvEcomProxy>(port, OrvEcomProxy::defaultChunkSize);
        } catch (const std::runtime_error& e) {
            EXPECT_STREQ(e.what(), "failed to connect to server"); // the machine was slow to start it
        }
    }
    ASSERT_NE(proxy, nullptr);
    const std::string number = std::to_string(port);
    const std::string pid = std::to_string(server.startedPids().back());
    EXPECT_EQ(lines(), message("changing directory to " + ScriptedServer::folder()) +
                           message("starting server : mpx_ecom_server.exe 1 " + number) +
                           message("server started, pid=" + pid + ", port=" + number) + error("server version is 1"));
    begin();
    proxy.reset();
    EXPECT_EQ(lines(), entry("~OrvEcomProxy"));
}

TEST_F(ProxyLog, AServerThatDoesNotListen) {
    ScriptedServer server;
    server.hang();
    server.arm();
    const std::uint32_t port = freePort();
    const ScopedVariable here("COMMON_HELIX", ""); // found in the working directory, which does not change then
    const VX_QRS::uEnvironment::ScopedDirectoryChanger there(ScriptedServer::folder().c_str());
    EXPECT_THROW(OrvEcomProxy(port, OrvEcomProxy::defaultChunkSize), std::runtime_error);
    const std::string number = std::to_string(port);
    EXPECT_EQ(lines(),
              message("starting server : mpx_ecom_server.exe 1 " + number) +
                  message("server started, pid=" + std::to_string(server.startedPids().back()) + ", port=" + number) +
                  error("failed to connect to server") +
                  error("reason: Error on socket connect: Connection refused (ECONNREFUSED)"));
}

TEST_F(ProxyLog, APortThatIsFoundLaterAndOneThatIsNot) {
    FewProcesses second(102);
    VX_QRS::ORV::startServer(second, 55760);
    EXPECT_EQ(lines(), message("starting server : mpx_ecom_server.exe 1 55760") +
                           message("starting server : mpx_ecom_server.exe 1 55761") +
                           message("server started, pid=102, port=55761"));
    begin();
    FewProcesses none(0);
    EXPECT_THROW(VX_QRS::ORV::startServer(none, 55760), std::runtime_error);
    std::string tries;
    for (int port = 55760; port < 55768; ++port) {
        tries += message("starting server : mpx_ecom_server.exe 1 " + std::to_string(port));
    }
    EXPECT_EQ(lines(), tries + error("failed to start server"));
}

TEST_F(ProxyLog, AnotherVersion) {
    script = std::make_shared<LinkScript>();
    script->expect("$v#00").give(frames::reply(frames::word(0xFFFFFFFF)));
    EXPECT_THROW(OrvEcomProxy(std::make_unique<ScriptedLink>(script), 64), std::runtime_error);
    EXPECT_EQ(lines(), error("server version is 4294967295") + error("version check failed"));
}

TEST_F(ProxyLog, AVersionThatIsNotToBeHad) {
    for (const char* answer : {"$E#00", "$OK\x01#00",
                               "$OK\x01"
                               "2345#00"}) {
        begin();
        script = std::make_shared<LinkScript>();
        script->expect("$v#00").give(answer);
        EXPECT_THROW(OrvEcomProxy(std::make_unique<ScriptedLink>(script), 64), std::runtime_error);
        EXPECT_EQ(lines(), error("version check failed")) << answer;
    }
    begin();
    script = std::make_shared<LinkScript>();
    script->expect("$v#00").hangUp();
    EXPECT_THROW(OrvEcomProxy(std::make_unique<ScriptedLink>(script), 64), std::runtime_error);
    EXPECT_EQ(lines(), error("disconnected from server") + error("version check failed"));
}

TEST_F(ProxyLog, EveryOperationBeginsWithItsEntryLine) {
    for (const Operation& operation : operations()) {
        auto proxy = connected();
        if (operation.needsAChannel()) {
            script->expect(frames::request('o', frames::word(0) + frames::word(0))).give(frames::reply());
            proxy->openChannel(0, 0, &callback);
            begin();
        }
        script->expect(operation.request()).give(frames::reply(operation.payload));
        operation.run(*proxy, callback);
        EXPECT_EQ(lines(), entry(operation.name));
        script->verify();
    }
}

TEST_F(ProxyLog, WhatSendsNothingHasItsEntryLineToo) {
    auto proxy = connected();
    proxy->closeChannel(nullptr);
    EXPECT_EQ(lines(), entry("closeChannel"));
    script->expect(frames::request('o', frames::word(0) + frames::word(0))).give(frames::reply());
    proxy->openChannel(0, 0, &callback);
    begin();
    EXPECT_THROW(proxy->openChannel(0, 0, &callback), std::runtime_error);
    EXPECT_EQ(lines(), entry("openChannel"));
}

TEST_F(ProxyLog, LostConnectionsAndFailedWrites) {
    auto proxy = connected();
    script->expect("$s#00").give("$O").hangUp();
    EXPECT_THROW(proxy->start(), std::runtime_error);
    EXPECT_EQ(lines(), entry("start") + error("disconnected from server"));
    begin();
    EXPECT_THROW(proxy->stop(), std::runtime_error);
    EXPECT_EQ(lines(), entry("stop") + error("failed to write to server"));
    begin();
    proxy.reset();
    EXPECT_EQ(lines(), entry("~OrvEcomProxy") + error("failed to write to server"));

    proxy = connected();
    script->hangUp();
    EXPECT_THROW(proxy->stop(), std::runtime_error);
    EXPECT_EQ(lines(), entry("stop") + error("disconnected from server"));
    begin();
    proxy->pollServer(); // ignores the failure, not its line
    EXPECT_EQ(lines(), entry("pollServer") + error("failed to write to server"));
}

TEST_F(ProxyLog, TheReasonOfALostConnectionFollowsInALineOfItsOwn) {
    auto proxy = connected();
    script->reason = "socket read error: Connection reset by peer (ECONNRESET)";
    const std::string reason = error("reason: " + script->reason);
    script->expect("$s#00").give("$O").hangUp();
    EXPECT_THROW(proxy->start(), std::runtime_error);
    EXPECT_EQ(lines(), entry("start") + error("disconnected from server") + reason);
    begin();
    EXPECT_THROW(proxy->stop(), std::runtime_error);
    EXPECT_EQ(lines(), entry("stop") + error("failed to write to server") + reason);

    proxy.reset();
    proxy = connected();
    script->reason = "100 %s";
    script->hangUp();
    EXPECT_THROW(proxy->stop(), std::runtime_error);
    EXPECT_EQ(lines(), entry("stop") + error("disconnected from server") + error("reason: 100 %s"));
    script = std::make_shared<LinkScript>();
    script->reason = "words";
    script->expect("$v#00").hangUp();
    begin();
    EXPECT_THROW(OrvEcomProxy(std::make_unique<ScriptedLink>(script), 64), std::runtime_error);
    EXPECT_EQ(lines(), error("disconnected from server") + error("reason: words") + error("version check failed"));
}

TEST_F(ProxyLog, AServersProcessThatEndsBeforeItsVersionIsKnown) {
    const ScopedVariable here("COMMON_HELIX", "");
    for (const std::uint32_t id : {4711u, 0u}) {
        FakeServer server;
        server.answers = false;
        server.ended = true;
        server.startedId = id;
        server.begin();
        begin();
        EXPECT_THROW(OrvEcomProxy(server, server.port(), 64), std::runtime_error);
        const std::string port = std::to_string(server.port());
        EXPECT_EQ(lines(), message("starting server : mpx_ecom_server.exe 1 " + port) +
                               message("server started, pid=" + std::to_string(id) + ", port=" + port) +
                               error("disconnected from server") + error("reason: the server's process has ended") +
                               error("version check failed"));
    }
}

TEST_F(ProxyLog, FailuresInAReplyHaveNoLine) {
    for (const char* answer : {"$E#00", "$errtext#00", "hello#00", "$OKmore#00", "$cb1234#00"}) {
        auto proxy = connected();
        script->expect("$s#00").give(answer);
        EXPECT_THROW(proxy->start(), std::runtime_error);
        EXPECT_EQ(lines(), entry("start")) << answer;
    }
}

TEST_F(ProxyLog, BelowTheHighestLevelThereAreNoEntryLines) {
    for (const char* level : {"1", "3"}) {
        open(level);
        auto proxy = connected();
        script->expect("$s#00").give(frames::reply()).hangUp();
        proxy->start();
        EXPECT_EQ(lines(), "") << level;
        EXPECT_THROW(proxy->stop(), std::runtime_error);
        FewProcesses first(101);
        VX_QRS::ORV::startServer(first, 7);
        EXPECT_EQ(lines(), error("disconnected from server") + message("starting server : mpx_ecom_server.exe 1 7") +
                               message("server started, pid=101, port=7"))
            << level;
    }
}

TEST_F(ProxyLog, WithTheLogOffThereAreNoLines) {
    open("0");
    auto proxy = connected();
    script->hangUp();
    EXPECT_THROW(proxy->stop(), std::runtime_error);
    EXPECT_EQ(read(), "");
}
