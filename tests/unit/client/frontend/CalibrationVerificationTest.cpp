#include "tests/unit/client/frontend/ChannelFixture.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

// The recording that verifies a calibration, over a model of the unit.

namespace client_test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Return;

constexpr std::uint32_t recordingBytes = 0x40000;

/// 512 packets of 255 words and a trailer.
std::vector<std::uint8_t> packets(std::uint16_t word, std::uint16_t trailer = 0x08FF, std::uint32_t count = 512) {
    std::vector<std::uint8_t> bytes;
    for (std::uint32_t i = 0; i < count * 256; ++i) {
        const std::uint16_t value = i % 256 == 255 ? trailer : word;
        bytes.push_back(static_cast<std::uint8_t>(value & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    }
    return bytes;
}

class VerificationTest : public ChannelTest {
protected:
    /// A channel whose transmitter sends a pattern that comes back as these bytes, in a buffer that is full at once.
    void records(std::vector<std::uint8_t> bytes, const char* patternName = "f0", const char* kind = "pti") {
        transmitter.properties["drmXmtr"] = kind;
        pattern.reset(createPattern(patternName, 4));
        ON_CALL(transmitter, getPattern).WillByDefault(Return(pattern.get()));
        openChannel();
        auto& clocking = inside().clocking();
        clocking.frequencies = {12e6, 50e6};
        clocking.frequencySetting = 1;
        model.setRecorded(std::move(bytes));
        model.deliverBefore(Call::Status, [](DataClientCallback& callback) { callback.onStatus(0); });
    }
    using DataClientCallback = RegisterModel::Callback;
    /// The recording alone, as an attempt makes it once it has its settings.
    void verify() { inside().verifyCal(); }
    /// Neither the verification's file nor its limit of passes is left to the recording that follows.
    void expectThatARecordingFollowsFreely() {
        model.setRecorded({});
        beginRecording();
        unsigned passes = 0;
        waits.hook = [&](std::uint32_t) {
            if (++passes == 150) {
                channel->stop();
            }
        };
        channel->run();
        waits.hook = {};
        EXPECT_EQ(state(), Stopped);
        EXPECT_STREQ(status().errorText, "");
        EXPECT_TRUE(exists(binPath()));
    }

    std::vector<std::string> order() {
        std::vector<std::string> lines = model.log();
        std::erase_if(lines, [](const std::string& line) {
            return !line.starts_with("transmitter") && !line.starts_with("open") && !line.starts_with("start") &&
                   !line.starts_with("stop");
        });
        return lines;
    }

    std::unique_ptr<Pattern> pattern;
};

TEST_F(VerificationTest, ARecordingThatComesBackAsSentPasses) {
    records(packets(0x0F0F));
    LogCapture log;
    verify();
    EXPECT_EQ(std::filesystem::file_size(stem + ".ver"), recordingBytes);
    EXPECT_THAT(order(), ElementsAre("transmitter shutdown", "transmitter reset", "open 262144 0", "start",
                                     "transmitter program verification 1", "transmitter end 1", "transmitter flush",
                                     "transmitter shutdown", "stop"));
    EXPECT_EQ(state(), Idle);
    EXPECT_THAT(log.steps(), Contains("opened data file " + stem + ".ver"));
    EXPECT_THAT(log.steps(), Contains("closed data file"));
    EXPECT_EQ(model.written(0x08008050).back() & 0x100, 0U);
    expectThatARecordingFollowsFreely();
}

TEST_F(VerificationTest, OfTpiuRunsTheTransmitterFirstAndLooksAtNoContent) {
    records(packets(0x1234), "f0", "tpiu");
    LogCapture log;
    verify();
    EXPECT_THAT(order(), ElementsAre("transmitter program f0 1", "open 262144 0", "start", "transmitter end 1",
                                     "transmitter flush", "transmitter shutdown", "stop"));
    EXPECT_EQ(get("verifyPattern"), "f0");
    EXPECT_THAT(log.steps(), Contains("skipping pattern verification for TPIU"));
    EXPECT_THAT(model.written(0x08008050),
                Contains(testing::ResultOf([](std::uint32_t v) { return v & 0x101; }, 0x101U)));
}

TEST_F(VerificationTest, ASingleWrongWordMakesTheAttemptFail) {
    std::vector<std::uint8_t> bytes = packets(0x0F0F);
    bytes[1000] ^= 1;
    records(std::move(bytes));
    LogCapture log;
    expectFailure([&] { verify(); }, eCALIBRATE, "failed calibration pattern test");
    EXPECT_THAT(log.steps(), Contains(HasSubstr("data errors in packet 1")));
    expectThatARecordingFollowsFreely();
}

TEST_F(VerificationTest, ARecordingThatIsTooShortMakesTheAttemptFail) {
    records(packets(0x0F0F, 0x08FF, 480));
    expectFailure([&] { verify(); }, eCALIBRATE, "failed calibration pattern test");
}

TEST_F(VerificationTest, ARecordingWithoutTracePacketsFailsItsSideBand) {
    records(packets(0x0F0F, 0x10FF));
    expectFailure([&] { verify(); }, eFAIL, "failed side-band verification");
}

TEST_F(VerificationTest, WordsThatDoNotAddUpFailTheSideBand) {
    // A synchronisation sequence that the end of the recording cuts counts as seven words with only six there.
    std::vector<std::uint8_t> bytes = packets(0x0F0F);
    const std::size_t sequence = 511 * 512 + 249 * 2;
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(sequence), 10, std::uint8_t{0});
    bytes[sequence + 10] = 0xF0;
    bytes[sequence + 11] = 0x0F;
    records(std::move(bytes));
    expectFailure([&] { verify(); }, eFAIL, "failed side-band verification");
}

TEST_F(VerificationTest, TheSideBandNeedsAThousandWordsOfThePattern) {
    for (const std::size_t dataWords : {1000U, 999U}) {
        // Trace packets until there are so many, the rest of the last one zeros, and then packets of another kind.
        std::vector<std::uint8_t> bytes = packets(0x0F0F, 0x10FF);
        for (std::size_t packet = 0; packet < 4; ++packet) {
            bytes[packet * 512 + 511] = 0x08;
            for (std::size_t word = 0; word < 255; ++word) {
                if (packet * 255 + word >= dataWords) {
                    bytes[packet * 512 + 2 * word] = 0;
                    bytes[packet * 512 + 2 * word + 1] = 0;
                }
            }
        }
        records(std::move(bytes));
        if (dataWords == 1000) {
            verify();
        } else {
            expectFailure([&] { verify(); }, eFAIL, "failed side-band verification");
        }
    }
}

TEST_F(VerificationTest, OfAnotherKindHasNoSideBand) {
    // All 256 words of a packet are the pattern's, so that they never come to 255 for each.
    records(packets(0x5A5A, 0x5A5A), "a5", "tpiulite");
    verify();
    EXPECT_THAT(order(), Contains("transmitter reset"));
}

TEST_F(VerificationTest, APatternThatCannotBeCheckedFailsAsItSays) {
    records(packets(0x0F0F), "lfsr");
    try {
        verify();
        FAIL() << "passed";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), eFAIL);
        EXPECT_STREQ(e.detail(), "automatic lfsr pattern verification not supported");
    }
}

TEST_F(VerificationTest, ABufferThatNeverFillsEndsInATimeout) {
    pattern.reset(createPattern("f0", 4));
    ON_CALL(transmitter, getPattern).WillByDefault(Return(pattern.get()));
    openChannel();
    waits.sleeps = 0;
    expectFailure([&] { verify(); }, eCALIBRATE, "timeout during calibration verification");
    EXPECT_EQ(waits.sleeps, 102U);                            // ticks 0 to 101, one pass each
    EXPECT_THAT(model.log(), testing::Not(Contains("stop"))); // this way out leaves unit and transmitter alone
    expectThatARecordingFollowsFreely();
}

TEST_F(VerificationTest, AnErrorOfTheServerIsTheReason) {
    records(packets(0x0F0F));
    model.deliverBefore(Call::Status, [](DataClientCallback& callback) { callback.onError(7, "buffer", ""); });
    expectFailure([&] { verify(); }, eCALIBRATE, "data server error (7) : buffer");
}

TEST_F(VerificationTest, AFileThatCannotBeOpenedFailsWithItsPath) {
    records(packets(0x0F0F));
    std::filesystem::create_directory(stem + ".ver");
    expectFailure([&] { verify(); }, eFILE, stem + ".ver");
}

TEST_F(VerificationTest, AMissingPatternPassesAsTheTransmittersFailure) {
    records(packets(0x0F0F));
    ON_CALL(transmitter, getPattern).WillByDefault([]() -> Pattern* {
        throw Exception("orv_client_transmitter", 1, eSEQUENCE, "no pattern programmed");
    });
    try {
        verify();
        FAIL() << "passed";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), eSEQUENCE);
    }
    expectThatARecordingFollowsFreely();
}

TEST_F(VerificationTest, OfTpiuNeedsAPatternThoughItComparesNothing) {
    records(packets(0x1234), "f0", "tpiu");
    ON_CALL(transmitter, getPattern).WillByDefault([]() -> Pattern* {
        throw Exception("orv_client_transmitter", 1, eSEQUENCE, "no pattern programmed");
    });
    EXPECT_THROW(verify(), Exception);
}

TEST_F(VerificationTest, ARecordingThatBreaksOffLeavesNoOpenFile) {
    records(packets(0x0F0F));
    LogCapture log;
    waits.hook = [](std::uint32_t milliseconds) {
        if (milliseconds == 5) {
            throw std::runtime_error("woken"); // in the pause between two passes, where nothing catches it
        }
    };
    try {
        verify();
    } catch (const std::exception&) {
        // Its report is not the subject here.
    }
    waits.hook = {};
    EXPECT_THAT(log.steps(), Contains("closed data file"));
    expectThatARecordingFollowsFreely();
}

TEST_F(VerificationTest, AFailedCalibrationLeavesTheStateThatItsRecordingMoved) {
    records(packets(0x0F0E)); // not the pattern
    ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(1u));
    model.onRead(0x080080F0, [] { return 182857u & 0xFFFF; }); // 8 MHz: the short way to the verification
    model.onRead(0x080080F2, [] { return 182857u >> 16; });
    for (const std::int32_t before : {Uncalibrated, Calibrated, Stopped}) {
        inside().control().state = before;
        model.setRecorded(packets(0x0F0E));
        if (before != Uncalibrated) {
            model.deliverBefore(Call::Status, [](DataClientCallback& callback) { callback.onStatus(0); });
        }
        expectFailure([&] { channel->calibrate(); }, eCALIBRATE, "failed calibration pattern test");
        EXPECT_EQ(state(), before);
        EXPECT_EQ(get("file"), stem);
        EXPECT_TRUE(exists(stem + ".freq0.ver"));
    }
}

} // namespace
} // namespace client_test
