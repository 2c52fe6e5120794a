// The wait for the version of a server process that may have ended while another program holds its port.

#include "mpx/MpxEcomServer/OrvEcomProxy.h"
#include "tests/support/failure/FailureText.h"
#include "tests/unit/mpx/ConnectionFailures.h"
#include "tests/unit/mpx/FakeServer.h"

using test_support::failureText;
using VX_QRS::ORV::OrvEcomProxy;

namespace {

class VersionWait : public ::testing::Test {
protected:
    std::string construct() {
        server.begin();
        return failureText([this] { proxy = std::make_unique<OrvEcomProxy>(server, server.port(), 64); });
    }

    FakeServer server;
    std::unique_ptr<OrvEcomProxy> proxy;
};

} // namespace

TEST_F(VersionWait, ASilentStrangerDoesNotHoldTheClientOnceTheServersProcessHasEnded) {
    server.answers = false;
    server.ended = true;
    EXPECT_EQ(construct(), lost);
    EXPECT_EQ(server.running, 0);
}

TEST_F(VersionWait, AStrangerThatTalksWithoutEndDoesNotEither) {
    server.answers = false;
    server.drips = true;
    server.ended = true;
    EXPECT_EQ(construct(), lost);
    EXPECT_EQ(server.running, 0);
}

TEST_F(VersionWait, AVersionThatIsThereAllTheSameIsTaken) {
    server.ended = true;
    server.answerAfterMs = 20;
    EXPECT_EQ(construct(), "");
    EXPECT_EQ(server.running, 1);
    proxy.reset();
    EXPECT_EQ(server.running, 0);
}

TEST_F(VersionWait, AServerWhoseProcessRunsHasAllTheTimeItNeeds) {
    server.answerAfterMs = 2300;
    EXPECT_EQ(construct(), "");
}

TEST_F(VersionWait, WithoutAProcessAStrangersSilenceEndsTheWait) {
    server.startedId = 0;
    server.answers = false;
    EXPECT_EQ(construct(), lost);
    EXPECT_EQ(server.running, 0);
}

TEST_F(VersionWait, WithoutAProcessAnAnswerIsTakenAsBefore) {
    server.startedId = 0;
    EXPECT_EQ(construct(), "");
    proxy.reset();
    EXPECT_EQ(server.running, 0) << "there is nothing to terminate";
}

TEST_F(VersionWait, OnceTheVersionIsKnownTheEndOfTheProcessEndsNoWait) {
    ASSERT_EQ(construct(), "");
    server.ended = true;
    server.answerAfterMs = 2300;
    EXPECT_EQ(failureText([this] { proxy->start(); }), "");
}

TEST_F(VersionWait, AnotherVersionTerminatesTheProcessOnce) {
    server.version = 2;
    EXPECT_EQ(construct(), "ecom version mismatch");
    EXPECT_EQ(server.running, 0);
}
