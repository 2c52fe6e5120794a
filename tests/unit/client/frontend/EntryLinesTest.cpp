#include "tests/unit/client/frontend/ChannelFixture.h"

#include <functional>
#include <string>
#include <vector>

// What begins with a line of its own in the log. In a program of its own, since such a log is long.

namespace client_test {

using testing::ElementsAre;
using testing::EndsWith;

namespace {

const LogCapture::WithEntries entriesAreLogged;

class EntriesTest : public ChannelTest {
protected:
    /// The entries of `action` in the front end's unit.
    static std::vector<std::string> entriesOf(const std::function<void()>& action) {
        const LogCapture log;
        try {
            action();
        } catch (const std::exception&) {
            // The entry comes first, whatever the result of the call.
        }
        return log.functions("orv_client_frontend");
    }
};

} // namespace

TEST_F(EntriesTest, EveryOperationOfTheChannelBeginsWithItsEntry) {
    const std::vector<std::pair<std::string, std::function<void()>>> operations{
        {"applySettings", [&] { channel->applySettings(); }},
        {"calibrate", [&] { channel->calibrate(); }},
        {"start", [&] { channel->start(false); }},
        {"stop", [&] { channel->stop(); }},
        {"endTransmission", [&] { channel->endTransmission(true); }},
        {"ovs", [&] { channel->ovs(false, false); }},
    };
    for (const auto& [name, action] : operations) {
        const auto entries = entriesOf(action);
        ASSERT_FALSE(entries.empty()) << name;
        EXPECT_EQ(entries.front(), "FrontEndChannel_1::" + name);
    }
}

TEST_F(EntriesTest, TheThreadsBodyMakingAndDeletingHaveTheirs) {
    openCalibrated();
    EXPECT_THAT(entriesOf([&] { channel->run(); }), ElementsAre("FrontEndChannel_1::run"));
    EXPECT_THAT(entriesOf([&] { channel.reset(); }), ElementsAre("FrontEndChannel_1::~FrontEndChannel_1"));
    EXPECT_THAT(entriesOf([&] { remakeChannel(); }), ElementsAre("FrontEndChannel_1::FrontEndChannel_1"));
}

TEST_F(EntriesTest, TheFrontEndHasItsOwn) {
    configure("");
    EXPECT_THAT(entriesOf([&] { frontEnd->applySettings(); }), ElementsAre("FrontEnd_1::applySettings"));
    FrontEndChannel* made = nullptr;
    EXPECT_EQ(entriesOf([&] { made = frontEnd->alloc("external", nullptr, 0, 0, 0, nullptr); }).front(),
              "FrontEnd_1::alloc");
    EXPECT_EQ(entriesOf([&] { frontEnd->release(made); }).front(), "FrontEnd_1::release");
}

TEST_F(EntriesTest, AnEntryNamesUnitLineAndFunction) {
    const LogCapture log;
    channel->stop();
    ASSERT_FALSE(log.lines('F').empty());
    EXPECT_THAT(log.lines('F').front(),
                EndsWith(" orv_client_frontend ##  VX_QRS::ORV::CLIENT::FrontEndChannel_1::stop(...)"));
}

} // namespace client_test
