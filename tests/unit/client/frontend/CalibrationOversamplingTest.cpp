#include "tests/unit/client/frontend/CalibrationFixture.h"

#include <array>
#include <cstdio>

// Taking a burst, the error flags, and the operation that lists a burst.

namespace client_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(CalibrationTest, ABurstIsClearedTriggeredAndRead) {
    openChannel();
    model.setFifo(1, {1, 2, 3});
    std::vector<std::uint16_t> words(512);
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<std::uint16_t>(i * 77);
    }
    model.setBurst(4, words);
    inside().captureOvs();
    const auto lines = model.log();
    const std::string status = "read 0800820c 08008214 0800821c 08008224 0800822c";
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[0], status);
    EXPECT_EQ(lines[1], "read 08008216 08008216 08008216");
    EXPECT_EQ(lines[2], status);
    EXPECT_EQ(lines[3], "write 08008206=001f 08008206=801f 08008206=0000");
    EXPECT_EQ(lines[4], status);
    EXPECT_EQ(lines[5].substr(0, 23), "read 0800820e 0800820e ");
    EXPECT_EQ(lines[9].substr(0, 23), "read 0800822e 0800822e ");
    EXPECT_EQ(lines[9].size(), 4 + 512U * 9);
    Cal cal;
    inside().logOvs(cal);
    const std::string listed = readText(stem + ".cap.txt");
    for (const std::size_t sample : {0U, 16U, 77U, 8191U}) {
        const bool level = (words[sample / 16] >> (sample % 16) & 1) != 0;
        std::array<char, 16> line{};
        std::snprintf(line.data(), line.size(), " %d %4u", level ? 1 : 0, static_cast<unsigned>(sample));
        EXPECT_THAT(listed, HasSubstr(line.data()));
    }
}

TEST_F(CalibrationTest, OneDeadFifoFailsTheBurstAfterAHundredPolls) {
    openChannel();
    model.setBurst(3, std::vector<std::uint16_t>(100, 0), false);
    expectFailure([&] { inside().captureOvs(); }, eFAIL, "ovs fifo failed to fill");
    EXPECT_EQ(waits.sleeps, 100U);
    EXPECT_EQ(waits.total, 100U);
}

TEST_F(CalibrationTest, AFifoThatIsFullAtTheHundredthPollPasses) {
    openChannel();
    unsigned asked = 0;
    // Twice for the clearing, then once for each poll.
    model.onRead(0x08008224, [&asked] { return ++asked >= 2 + 100 ? 0x0200u : 0u; });
    inside().captureOvs();
    EXPECT_EQ(asked, 2U + 100);
    EXPECT_EQ(waits.sleeps, 99U);
}

TEST_F(CalibrationTest, AProcThatIsNotInUseIsNeitherReadNorWaitedFor) {
    openChannel();
    model.setFifo(5, {1, 2, 3});
    model.setBurst(6, {}, false);
    inside().captureOvs();
    for (const std::string& line : model.log()) {
        EXPECT_THAT(line, testing::Not(HasSubstr("08008234")));
        EXPECT_THAT(line, testing::Not(HasSubstr("08008236")));
    }
}

TEST_F(CalibrationTest, AFifoThatCannotBeEmptiedFails) {
    openChannel();
    model.onRead(0x0800821C, [] { return 0x0005u; });
    expectFailure([&] { inside().captureOvs(); }, eFAIL, "failed to clear ovs fifo");
}

TEST_F(CalibrationTest, AFifoWithASingleWordIsEmptiedToo) {
    openChannel();
    model.setFifo(2, {7});
    inside().clearOvs();
    EXPECT_EQ(model.log().at(1), "read 0800821e");
}

TEST_F(CalibrationTest, AFullFifoReadsAsEmptyAndIsLeftAlone) {
    openChannel();
    model.scriptReads(0x0800820C, {0x0200, 0x0200, 0x0200});
    inside().captureOvs();
    EXPECT_EQ(model.log()[1], "read 0800820c 08008214 0800821c 08008224 0800822c");
}

TEST_F(CalibrationTest, FifoStatusIsSplitIntoItsFields) {
    openChannel();
    model.onRead(0x0800820C, [] { return 0x8000u; });
    model.onRead(0x08008214, [] { return 0x03FFu; });
    OvsStats stats(5);
    inside().readOvsStats(stats);
    EXPECT_TRUE(stats.entry[0].flagged);
    EXPECT_FALSE(stats.entry[0].filled);
    EXPECT_EQ(stats.entry[0].level, 0U);
    EXPECT_FALSE(stats.entry[1].flagged);
    EXPECT_TRUE(stats.entry[1].filled);
    EXPECT_EQ(stats.entry[1].level, 511U);
    EXPECT_EQ(stats.entry[5].level, 0xFFFFFFFFU);
}

TEST_F(CalibrationTest, ErrorFlagsAreThoseOfThePinsInUse) {
    openChannel();
    model.set(0x08008010, 0x7FFF);
    model.set(0x08008020, 0x07FF);
    EXPECT_EQ(channel->ovs(false, false), 0U);
    model.set(0x08008010, 0xFFFF);
    EXPECT_EQ(channel->ovs(false, false), 0x80000000U);
    model.set(0x08008020, 0x0FFF);
    EXPECT_EQ(channel->ovs(false, false), 0x80000800U);
    model.clearLog();
    channel->ovs(false, true);
    EXPECT_EQ(model.log().back(), "write 08008010=f800 08008020=800f");
}

TEST_F(CalibrationTest, OvsOnAClosedChannelOpensItReadsTheFlagsAndClosesIt) {
    configure("pinMap=0,1,2,3,4\n");
    model.set(0x08008020, 0x4000);
    // Nothing has read the properties yet, but for the pins that were set by hand.
    channel->setProperty("pinMap", "0,1,2,3,4");
    EXPECT_EQ(channel->ovs(false, false), 0x4000U);
    EXPECT_THAT(model.log(), testing::Contains("read 08008010 08008020"));
    EXPECT_EQ(model.log().back(), "close");
    EXPECT_THAT(model.written(0x08008010), IsEmpty());
}

TEST_F(CalibrationTest, OvsListsWhatTheUnitHolds) {
    openChannel("testPattern=walk\ncalMode=manual\ndelays=0,21\n");
    channel->calibrate();
    rates({25e6, 50e6});
    inside().clocking().frequencySetting = 1;
    model.clearLog();
    EXPECT_EQ(channel->ovs(true, true), 0U);
    const auto lines = model.log();
    ASSERT_GT(lines.size(), 8U);
    EXPECT_EQ(lines[0], "write 08008206=0000 08008206=0800 08008206=0000");
    EXPECT_EQ(lines[1].substr(0, 22), "read 0800811e 0800813e");
    EXPECT_EQ(lines[2], "transmitter shutdown");
    EXPECT_EQ(lines[3], "transmitter program walk 1");
    EXPECT_EQ(lines[4].substr(0, 14), "write 080080e0");
    EXPECT_EQ(lines[6], "read 0800820c 08008214 0800821c 08008224 0800822c");
    EXPECT_EQ(lines[lines.size() - 2], "read 08008010 08008020");
    EXPECT_EQ(lines.back(), "write 08008010=f800 08008020=800f");
    EXPECT_NEAR(status().exportFrequency, 50e6, 50);
    EXPECT_THAT(readText(stem + ".cap.txt"), HasSubstr("delay=21"));
    EXPECT_TRUE(wasOpen());
}

TEST_F(CalibrationTest, OvsListsInputAndEnableAsTheUnitHasThemAndTheBurstThatItTook) {
    openChannel("calMode=manual\n");
    channel->calibrate();
    rates({50e6});
    model.set(0x08008100, 0x0900); // another input, and not enabled
    bursts::OwnedBurst burst(5, 512);
    burst.draw(2, "1", 0);
    model.setBurst(2, burst.pins[2]);
    channel->ovs(true, false);
    const std::string text = readText(stem + ".cap.txt");
    EXPECT_THAT(text, HasSubstr("P1 : rcvrpin=9,"));
    EXPECT_THAT(text, HasSubstr("P1 : rcvrpin=9,filter=7,plateau=3,debounce=4,delay=0,stretch=0,enable=0"));
    EXPECT_THAT(text, HasSubstr(" 0  0  1  0  0    0"));
}

TEST_F(CalibrationTest, OvsWhileRecordingOnlyTakesTheBurst) {
    openCalibrated();
    beginRecording();
    model.clearLog();
    channel->ovs(true, false);
    EXPECT_EQ(model.log().front(), "read 0800820c 08008214 0800821c 08008224 0800822c");
    EXPECT_THAT(model.log(), testing::Not(testing::Contains(HasSubstr("transmitter"))));
}

TEST_F(CalibrationTest, OvsOfAClockThatStandsStillIsListedToo) {
    openChannel();
    counts({0});
    channel->ovs(true, false);
    EXPECT_THAT(readText(stem + ".cap.txt"), HasSubstr("oversampling=inf Ysamples/bit"));
}

TEST_F(CalibrationTest, AFailureInOvsReleasesTheLock) {
    openChannel();
    model.failNext(Call::Read, "disconnected from server");
    EXPECT_THROW(channel->ovs(false, false), std::runtime_error);
    EXPECT_TRUE(lockIsFree());
}

} // namespace
} // namespace client_test
