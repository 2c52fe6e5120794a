// What the proxy writes into the log. The log is one per process, so these tests have a program of their own.

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uSocket.h"
#include "mpx/MpxEcomServer/OrvEcomProxy.h"
#include "tests/support/scripted_server/Frames.h"
#include "tests/support/scripted_server/ScriptedLink.h"
#include "tests/support/scripted_server/ScriptedServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

using testing::HasSubstr;
using testing::Not;
using VX_QRS::ORV::OrvEcomProxy;

namespace {

class ProxyLog : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        folder = std::make_unique<ScratchFolder>();
        const ScopedVariable level("ORV_TEST_LOG_LEVEL", "6"); // everything
        const ScopedVariable directory("ORV_TEST_LOG_DIR", folder->path().string());
        const ScopedVariable profile("USERPROFILE", folder->path().string()); // where its first lines point
        ASSERT_TRUE(VX_QRS::getLogManager()->open("proxy_log", "ORV_TEST_LOG_LEVEL", "ORV_TEST_LOG_DIR", true));
        VX_QRS::getLogManager()->getLogger()->setToStdout(false);
        VX_QRS::getLogManager()->getLogger()->setToDebugger(false);
    }
    static void TearDownTestSuite() {
        VX_QRS::getLogManager()->getLogger()->setEnabled(false);
        folder.reset();
    }

    ProxyLog() : before(read().size()) {}

    static std::string read() {
        std::ifstream file(folder->path() / "proxy_log", std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    // Class letter and text of each line that this test has caused, without the time between them.
    std::string lines() const {
        std::string text = read().substr(before);
        std::erase(text, '\r'); // the platform's own line ends
        std::istringstream all(text);
        std::string result;
        for (std::string line; std::getline(all, line);) {
            const std::size_t bar = line.find(" | ");
            result += line.substr(0, 5);
            result += bar == std::string::npos ? line.substr(5) : line.substr(bar);
            result += '\n';
        }
        return result;
    }

    static std::unique_ptr<ScratchFolder> folder;
    std::size_t before;
};

std::unique_ptr<ScratchFolder> ProxyLog::folder;

std::uint32_t freePort() {
    VX_QRS::uSocket probe;
    EXPECT_EQ(probe.listen(0), VX_QRS::uSocket::done);
    return probe.localPort();
}

} // namespace

TEST_F(ProxyLog, StartAndVersionOfAServer) {
    ScriptedServer server;
    server.greet();
    server.arm();
    const std::uint32_t port = freePort();
    std::unique_ptr<OrvEcomProxy> proxy;
    for (int attempt = 0; attempt < 20 && proxy == nullptr; ++attempt) {
        try {
            proxy = std::make_unique<OrvEcomProxy>(port, OrvEcomProxy::defaultChunkSize);
        } catch (const std::runtime_error& e) {
            EXPECT_STREQ(e.what(), "failed to connect to server"); // the machine was slow to start it
        }
    }
    ASSERT_NE(proxy, nullptr);
    const std::string number = std::to_string(port);
    EXPECT_THAT(lines(), HasSubstr("M     | MpxEcomProxy: changing directory to " + ScriptedServer::folder() + "\n"));
    EXPECT_THAT(lines(), HasSubstr("M     | MpxEcomProxy: starting server : mpx_ecom_server.exe 1 " + number + "\n"));
    EXPECT_THAT(lines(), HasSubstr("M     | MpxEcomProxy: server started, pid="));
    EXPECT_THAT(lines(), HasSubstr(", port=" + number + "\n"));
    EXPECT_THAT(lines(), HasSubstr("    E | MpxEcomProxy: server version is 1\n"));
    EXPECT_THAT(lines(), Not(HasSubstr("version check failed")));
    proxy.reset();
    EXPECT_THAT(lines(), HasSubstr("OrvEcomProxy::~OrvEcomProxy(...)\n"));
}

TEST_F(ProxyLog, AServerThatDoesNotListen) {
    ScriptedServer server;
    server.hang();
    server.arm();
    EXPECT_THROW(OrvEcomProxy(freePort(), OrvEcomProxy::defaultChunkSize), std::runtime_error);
    EXPECT_THAT(lines(), HasSubstr("    E | MpxEcomProxy: failed to connect to server\n"));
}

TEST_F(ProxyLog, AnotherVersion) {
    auto script = std::make_shared<LinkScript>();
    script->expect("$v#00").give(frames::reply(frames::word(7)));
    EXPECT_THROW(OrvEcomProxy(std::make_unique<ScriptedLink>(script), 64), std::runtime_error);
    EXPECT_EQ(lines(), "    E | MpxEcomProxy: server version is 7\n    E | MpxEcomProxy: version check failed\n");
}

TEST_F(ProxyLog, RequestsAndLostConnections) {
    auto script = std::make_shared<LinkScript>();
    script->expect("$v#00").give(frames::reply(frames::word(1)));
    OrvEcomProxy proxy(std::make_unique<ScriptedLink>(script), 64);
    script->expect("$s#00").give(frames::reply()).hangUp();
    proxy.start();
    EXPECT_THAT(lines(), HasSubstr("  F    ..\\..\\mpx\\MpxEcomServer\\OrvEcomProxy #"));
    EXPECT_THAT(lines(), HasSubstr("  OrvEcomProxy::start(...)\n"));
    EXPECT_THROW(proxy.stop(), std::runtime_error);
    EXPECT_THAT(lines(), HasSubstr("    E | MpxEcomProxy: disconnected from server\n"));
    EXPECT_THAT(lines(), Not(HasSubstr("failed to write")));
    EXPECT_THROW(proxy.stop(), std::runtime_error);
    EXPECT_THAT(lines(), HasSubstr("    E | MpxEcomProxy: failed to write to server\n"));
}
