#include "tests/recording/ChannelSession.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>
#include <vector>

// Recordings by the channel itself over the server process, with settings that only its properties have.

namespace recording_test {

using namespace VX_QRS::ORV::CLIENT;
using testing::HasSubstr;

TEST(Archive, KeepsRecordingsUnderNumbersUntilTheBudgetIsSpent) {
    ChannelSession session(Target{}, "archive=3\norvBufSize=9\n");
    std::vector<std::string> recorded;
    for (unsigned i = 0; i < 5; ++i) {
        session.record((i + 1) * block);
        recorded.push_back(session.expected());
        ASSERT_EQ(difference(session.file(), recorded.back()), "") << i;
    }
    EXPECT_EQ(difference(test_support::readText(session.stem() + ".3.bin"), recorded[0]), "");
    EXPECT_EQ(difference(test_support::readText(session.stem() + ".2.bin"), recorded[1]), "");
    EXPECT_EQ(difference(test_support::readText(session.stem() + ".1.bin"), recorded[2]), "");
    EXPECT_EQ(difference(session.file(), recorded[4]), "") << "the fourth was overwritten";
    EXPECT_FALSE(test_support::exists(session.stem() + ".0.bin"));
}

TEST(MarginWatching, ContinuesARecordingWithGoodMargins) {
    ChannelSession session(Target{}, "ovsMargin=1\norvBufSize=0\n");
    session.channel->start(false);
    session.waitUntilDone();
    EXPECT_EQ(session.status().state, Idle);
    EXPECT_STREQ(session.status().errorText, "");
    EXPECT_EQ(session.file().size(), 0x40000u);
    EXPECT_EQ(difference(session.file(), session.expected()), "");
    EXPECT_FALSE(test_support::exists(session.stem() + ".err.cap.txt"));
}

TEST(MarginWatching, EndsARecordingWhoseMarginIsTooSmall) {
    ChannelSession session(Target{}, "orvBufSize=9\n");
    // More than any wiring has: no data edge precedes the clock's first edge in a burst.
    session.channel->setProperty("ovsMargin", "2");
    session.channel->start(false);
    session.waitUntilDone();
    EXPECT_EQ(session.status().state, Failed);
    EXPECT_THAT(session.status().errorText,
                HasSubstr("over sampling error : oversampling clock margin failure at index "));
    EXPECT_EQ(session.file().size(), 0u) << "nothing is uploaded";
    EXPECT_TRUE(test_support::exists(session.stem() + ".err.cap.txt"));
    session.channel->setProperty("ovsMargin", "0");
    session.record(block);
    EXPECT_EQ(difference(session.file(), session.expected()), "");
}

TEST(Channels, FourAreCreatedOneIsOpenedAndNoneLeaks) {
    ChannelSession session(Target{}, "orvBufSize=0\n");
    std::vector<FrontEndChannel*> others{session.another(), session.another(), session.another()};
    EXPECT_EQ(session.frontEnd->numChannels(), 4u);
    session.channel->start(false);
    session.waitUntilDone();
    EXPECT_EQ(difference(session.file(), session.expected()), "");
    session.frontEnd->release(others[1]);
    EXPECT_EQ(session.frontEnd->numChannels(), 3u);
    // The front end frees channels that were not released; a leak fails the sanitizer builds.
}

TEST(Status, IsPolledFromTwoThreadsOverRecordingsOfEveryEnd) {
    Target target;
    target.speed = 40;
    target.more = "[[faults.at]]\ncommand = \"?\"\nnth = 30\naction = \"error_record\"\ncode = 7\n"
                  "text = \"overrun\"\ndetail = \"\"\n";
    ChannelSession session(target, "orvBufSize=1\n");
    std::atomic<bool> ending{false};
    const auto poll = [&] {
        while (!ending) {
            const ChannelMetrics now = session.status();
            if (now.hasError) {
                EXPECT_STREQ(now.errorText, "data server error (7) : overrun");
            }
            std::this_thread::yield();
        }
    };
    std::thread first(poll);
    std::thread second(poll);
    // How often a recording asks for the unit's state, and so which of them fails, depends on the time that it takes.
    unsigned recordings = 0;
    unsigned failed = 0;
    while (recordings < 20 || (failed == 0 && recordings < 200)) {
        session.channel->start(false);
        if (recordings % 2 == 0) {
            session.channel->stop();
        }
        session.waitUntilDone();
        failed += session.status().hasError ? 1U : 0U;
        ++recordings;
    }
    ending = true;
    first.join();
    second.join();
    EXPECT_EQ(failed, 1u) << "of " << recordings << " recordings";
    session.channel->start(false);
    session.waitUntilDone();
    EXPECT_EQ(difference(session.file(), session.expected()), "");
}

TEST(CalibrationFollowed, FromAnotherThreadGoesFromNothingToCalibrated) {
    ChannelSession session(Target{}, "orvBufSize=0\n");
    std::atomic<bool> ending{false};
    std::atomic<bool> seen{false};
    std::thread follower([&] {
        while (!ending) {
            const ChannelMetrics now = session.status();
            EXPECT_TRUE(now.state == Calibrating || now.state == Calibrated) << now.state;
            seen = seen || now.state == Calibrating;
            std::this_thread::yield();
        }
    });
    session.channel->calibrate();
    ending = true;
    follower.join();
    EXPECT_TRUE(seen);
    EXPECT_EQ(session.status().state, Calibrated);
}

} // namespace recording_test
