#include "host/verification/WordVerification.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/client/transmitters/XmtrLibraryMock.h"
#include "tests/unit/host/session/ScriptedChannel.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <fstream>
#include <functional>
#include <span>
#include <sstream>

// What is compared, how much, and what is said where nothing can be.

namespace host {
namespace {

using diagnosis::WordCheck;
using testing::HasSubstr;

constexpr std::uint16_t walk[] = {0x0124, 0x8012, 0x4801, 0x2480, 0x1248};
constexpr std::uint16_t opposed[] = {0x5A5A};
constexpr std::size_t packetWords = 256;

/// Packets of a pattern on four data pins.
std::vector<std::uint64_t> packetsOf(std::span<const std::uint16_t> pattern, std::size_t packets) {
    std::vector<std::uint16_t> words;
    std::size_t place = 0;
    for (std::size_t packet = 0; packet < packets; ++packet) {
        for (std::size_t i = 0; i + 1 < packetWords; ++i) {
            words.push_back(pattern[place++ % pattern.size()]);
        }
        words.push_back(0x08FF);
    }
    std::vector<std::uint64_t> samples(words.size() / 4);
    std::memcpy(samples.data(), words.data(), words.size() * sizeof words.front());
    return samples;
}

std::vector<std::uint64_t> walkPackets(std::size_t packets) {
    return packetsOf(walk, packets);
}

/// A transmitter library that takes everything, or refuses test modes.
class Target : public testing::NiceMock<transmitter_test::MockXmtrLibrary> {
public:
    Target() {
        ON_CALL(*this, setTestMode).WillByDefault([this](unsigned, unsigned, unsigned mode) {
            modes.push_back(mode);
            return mode == refusedMode ? refusal : answer;
        });
    }
    std::vector<unsigned> modes;
    int answer = 0;
    unsigned refusedMode = 99;
    int refusal = 0;
};

/// A channel that programs the target at each start, as the receiver does.
class ProgrammedChannel : public ScriptedChannel {
public:
    explicit ProgrammedChannel(PatternTransmitter& used) : transmitter(used) {
        script = {recording(), ended(8, "Stopped by buffer full : upload complete")};
        afterStop = {ended(11, "Stopped by user : upload complete")};
    }
    void StartRecording(bool flag) override {
        ScriptedChannel::StartRecording(flag);
        if (modes) {
            if (transmitter.setFunctionMode(0, 3) > 2) {
                throw std::runtime_error("failed setting stm function mode");
            }
        }
        transmitter.programChannel(0);
        sendOrdered();
        atStart();
    }
    bool modes = true;
    std::function<void()> sendOrdered = [] {};
    std::function<void()> atStart = [] {};
    PatternTransmitter& transmitter;
};

struct Bench {
    test_support::TemporaryFolder folder;
    Target target;
    PatternTransmitter transmitter;
    ProgrammedChannel channel{transmitter};
    VerifiedChannel verified{channel};
    WordCheck check;
    ProgressLine quiet{ProgressStyle::Quiet};

    Bench() {
        transmitter.attach(target);
        channel.sendOrdered = [this] { give(sent()); };
        verified.exportKind = "pti";
        verified.dataPins = 4;
        verified.bufferBytes = 32768;
        verified.file = folder.path / "run.bin";
        check.askedErrorRate = 1e-5;
    }
    std::vector<std::uint64_t> sent() const {
        const bool isOpposed = !target.modes.empty() && target.modes.back() == 0;
        return isOpposed ? packetsOf(opposed, 64) : walkPackets(64);
    }
    /// In every recording, whatever is ordered.
    void giveAlways(std::vector<std::uint64_t> samples) {
        channel.sendOrdered = [] {};
        give(std::move(samples));
    }
    void give(std::vector<std::uint64_t> samples) {
        channel.samples = std::move(samples);
        channel.announced = static_cast<unsigned>(channel.samples.size());
    }
    void verify() { verifyWords(verified, transmitter, check, quiet); }
};

TEST(WordVerification, RecordsUntilTheBitsExcludeTheRate) {
    Bench bench;
    bench.verify();
    EXPECT_EQ(bench.check.failure, "");
    EXPECT_EQ(bench.check.pattern, "walk and a5") << "half of the bits of each";
    EXPECT_EQ(bench.check.errors, 0U);
    // 64 packets of 255 words of 16 bits are 261120 bits; 300000 are asked for.
    EXPECT_EQ(bench.check.bits, 2U * 64 * 255 * 16);
    EXPECT_LE(bench.check.bound(), 1e-5);
    EXPECT_EQ(bench.channel.starts, 2U);
    EXPECT_EQ(bench.target.modes, (std::vector<unsigned>{1, 0}));
}

TEST(WordVerification, ASinglePinHasOnePattern) {
    Bench bench;
    bench.verified.dataPins = 1;
    bench.giveAlways(packetsOf(std::array<std::uint16_t, 1>{0x5555}, 64));
    bench.verify();
    EXPECT_EQ(bench.check.failure, "");
    EXPECT_EQ(bench.check.pattern, "walk");
    EXPECT_EQ(bench.target.modes, (std::vector<unsigned>{1, 1}));
}

TEST(WordVerification, WhereTheSecondPatternIsRefusedTheFirstHasAllBits) {
    Bench bench;
    bench.target.refusedMode = 0;
    bench.target.refusal = 4;
    bench.channel.sendOrdered = [&] { bench.give(walkPackets(64)); };
    bench.verify();
    EXPECT_EQ(bench.check.failure, "");
    EXPECT_EQ(bench.check.pattern, "walk");
    EXPECT_EQ(bench.check.bits, 2U * 64 * 255 * 16);
}

TEST(WordVerification, TheOrderEndsWithIt) {
    Bench bench;
    bench.verify();
    bench.target.modes.clear();
    bench.channel.StartRecording(false);
    EXPECT_TRUE(bench.target.modes.empty()) << "trace is not replaced by a pattern";
}

TEST(WordVerification, AWrongBitIsCountedOnItsLane) {
    Bench bench;
    unsigned starts = 0;
    bench.channel.atStart = [&] {
        std::vector<std::uint64_t> samples = bench.sent();
        samples[100] ^= starts++ == 0 ? 0x4000U : 0U; // the first slot of a word: its second lane
        bench.give(samples);
    };
    bench.check.askedErrorRate = 1e-4;
    bench.verify();
    EXPECT_EQ(bench.check.errors, 1U);
    ASSERT_EQ(bench.check.lanes.size(), 1U);
    EXPECT_EQ(bench.check.lanes[0].lane, 1U);
    EXPECT_EQ(bench.check.lanes[0].errors, 1U);
    ASSERT_TRUE(bench.check.firstDamage);
    EXPECT_EQ(bench.check.firstDamage->place.sample, 100U);
    EXPECT_GT(bench.check.bound(), 3.0 / static_cast<double>(bench.check.bits));
}

TEST(WordVerification, ErrorsOfSeveralRecordingsAddUpLaneByLane) {
    Bench bench;
    unsigned starts = 0;
    bench.channel.atStart = [&] {
        std::vector<std::uint64_t> samples = bench.sent();
        samples[100] ^= starts == 0 ? 0x4000 : 0x5000;
        bench.give(samples);
        ++starts;
    };
    bench.verify();
    EXPECT_EQ(starts, 2U);
    EXPECT_EQ(bench.check.errors, 3U);
    ASSERT_EQ(bench.check.lanes.size(), 2U);
    EXPECT_EQ(bench.check.lanes[0].lane, 1U);
    EXPECT_EQ(bench.check.lanes[0].errors, 2U);
    EXPECT_EQ(bench.check.lanes[1].lane, 3U);
    EXPECT_EQ(bench.check.lanes[1].errors, 1U);
}

TEST(WordVerification, WhereNothingFitsItEndsAfterOneRecording) {
    Bench bench;
    std::vector<std::uint64_t> samples = walkPackets(64);
    for (std::uint64_t& sample : samples) {
        sample |= 0x000F'000F'000F'000F; // the last slot of each word, packets' trailers included
    }
    bench.giveAlways(samples);
    bench.check.askedErrorRate = 1e-7;
    bench.verify();
    EXPECT_EQ(bench.channel.starts, 1U);
    EXPECT_THAT(bench.check.failure, HasSubstr("too many errors for a rate"));
    EXPECT_GT(bench.check.errors, bench.check.bits / 16);
}

TEST(WordVerification, TheFileOfAnEarlierRecordingStaysAndItsOwnGoes) {
    Bench bench;
    bench.folder.write("run.bin", "trace");
    bench.channel.atStart = [&] { bench.folder.write("run.bin", "pattern"); };
    bench.verify();
    std::ostringstream bytes;
    bytes << std::ifstream(bench.verified.file).rdbuf();
    EXPECT_EQ(bytes.str(), "trace");
    EXPECT_FALSE(std::filesystem::exists(bench.folder.path / "run.bin.kept"));
    std::filesystem::remove(bench.verified.file);
    bench.check = {};
    bench.check.askedErrorRate = 1e-5;
    bench.verify();
    EXPECT_FALSE(std::filesystem::exists(bench.verified.file));
}

TEST(WordVerification, ATpiuliteExportCannotBeVerified) {
    Bench bench;
    bench.verified.exportKind = "tpiulite";
    bench.verify();
    EXPECT_THAT(bench.check.failure, HasSubstr("a tpiulite export takes no order for a test pattern"));
    EXPECT_EQ(bench.check.bits, 0U);
    EXPECT_EQ(bench.check.pattern, "");
    EXPECT_EQ(bench.channel.starts, 0U);
}

TEST(WordVerification, ASignalFromElsewhereCannotBeVerified) {
    Bench bench;
    bench.verified.programmed = false;
    bench.verify();
    EXPECT_THAT(bench.check.failure, HasSubstr("none that the receiver programs"));
    EXPECT_EQ(bench.channel.starts, 0U);
}

TEST(WordVerification, ThreeDataPinsHaveNoPattern) {
    Bench bench;
    bench.verified.dataPins = 3;
    bench.verify();
    EXPECT_THAT(bench.check.failure, HasSubstr("no test pattern is known for 3 data pins"));
}

TEST(WordVerification, ALibraryThatRefusesThePatternIsNoFailureOfTheRun) {
    Bench bench;
    bench.target.answer = 4;
    EXPECT_NO_THROW(bench.verify());
    EXPECT_EQ(bench.check.failure, "the transmitter library refuses the test pattern, code 4");
    EXPECT_EQ(bench.check.bits, 0U);
}

TEST(WordVerification, WithoutTheOrderedPatternNothingIsCompared) {
    Bench bench;
    bench.channel.modes = false;
    bench.verify();
    EXPECT_THAT(bench.check.failure, HasSubstr("has not programmed the test pattern"));
    EXPECT_EQ(bench.check.bits, 0U);
}

TEST(WordVerification, AnEmptyRecordingEndsIt) {
    Bench bench;
    bench.giveAlways({});
    bench.verify();
    EXPECT_EQ(bench.check.failure, "the target sent no words of its test pattern");
}

TEST(WordVerification, AFailedRecordingIsAFailureAndLeavesWhatWasMeasured) {
    Bench bench;
    unsigned starts = 0;
    bench.channel.atStart = [&] {
        if (++starts == 2) {
            bench.channel.script = {ScriptedChannel::ended(10, "Stopped by error : upload complete : broken")};
        }
    };
    EXPECT_THROW(bench.verify(), toolkit::Failure);
    EXPECT_EQ(bench.check.bits, 64U * 255 * 16);
    EXPECT_THAT(bench.check.failure, HasSubstr("broken"));
}

TEST(WordVerification, TheUnitsOwnGeneratorSendsItsRamp) {
    Bench bench;
    bench.verified.ownGenerator = true;
    bench.verified.exportKind = "tpiu";
    std::vector<std::uint16_t> words;
    for (std::size_t i = 0; i < 16384; ++i) {
        constexpr std::uint16_t ramp[] = {0x1234, 0x5678, 0x9ABC, 0xDEF0};
        words.push_back(ramp[i % 4]);
    }
    std::vector<std::uint64_t> samples(words.size() / 4);
    std::memcpy(samples.data(), words.data(), words.size() * sizeof words.front());
    bench.giveAlways(samples);
    bench.check.askedErrorRate = 1.5e-5;
    bench.channel.modes = false;
    bench.verify();
    EXPECT_EQ(bench.check.failure, "");
    EXPECT_EQ(bench.check.pattern, "ramp1");
    EXPECT_EQ(bench.check.bits, 16384U * 16);
    EXPECT_EQ(bench.check.errors, 0U);
}

} // namespace
} // namespace host
