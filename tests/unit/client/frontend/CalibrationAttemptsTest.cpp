#include "tests/unit/client/frontend/CalibrationFixture.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

// One attempt of a calibration: what comes before what, what it begins with, and which failures lead to the next one.

namespace client_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The clock of a 50 MHz signal, and data pins that toggle once a period, each from its first edge on.
std::vector<std::vector<std::uint16_t>> toggling(const std::vector<std::uint32_t>& firstEdges) {
    bursts::OwnedBurst burst(5, 512);
    burst.square(0, 20, 14);
    for (std::uint32_t p = 1; p < 5; ++p) {
        burst.square(p, firstEdges.at(p - 1), 28);
    }
    return burst.pins;
}

class AttemptTest : public CalibrationTest {
protected:
    /// Gives the burst of that number, 1 being the first, and all that follow until another one is given.
    void burstFrom(int number, std::vector<std::vector<std::uint16_t>> pins) {
        given.emplace_back(number, std::move(pins));
        model.onTrigger([this](RegisterModel& unit) {
            ++taken;
            for (const auto& [from, burst] : given) {
                for (std::uint32_t p = 0; taken >= from && p < 5; ++p) {
                    unit.setBurst(p, burst[p]);
                }
            }
        });
    }
    std::vector<std::uint32_t> delaysInTheUnit() {
        std::vector<std::uint32_t> found{model.get(0x0800811E) & 0xFF};
        for (std::uint32_t p = 1; p < 5; ++p) {
            found.push_back(model.get(0x08008100 + 2 * (p - 1)) & 0xFF);
        }
        return found;
    }

    int taken = 0;
    std::vector<std::pair<int, std::vector<std::vector<std::uint16_t>>>> given;
};

TEST_F(AttemptTest, EachBurstFollowsTheSettingsThatItIsTakenWith) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    signals();
    channel->calibrate();
    std::string events;
    for (const std::string& line : model.log()) {
        if (line.starts_with("write 0800811e")) {
            events += "settings ";
        } else if (line.starts_with("write 08008206=001f")) {
            events += "burst ";
        } else if (line.starts_with("transmitter ") && !line.starts_with("transmitter pins")) {
            events += line.substr(12) + " ";
        }
    }
    EXPECT_EQ(events,
              "settings shutdown program calibration 0 settings " // the user's, and the scan's
              "shutdown program calibration 0 burst settings burst settings burst settings burst settings burst "
              "shutdown ");
}

TEST_F(AttemptTest, TheUnitEndsUpWithWhatWasFoundLast) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    burstFrom(1, toggling({24, 24, 26, 24})); // data early in their clock phase, so that the clock has to move
    channel->calibrate();
    std::string found;
    for (const std::uint32_t delay : delaysInTheUnit()) {
        found += (found.empty() ? "" : ",") + std::to_string(delay);
    }
    EXPECT_THAT(readText(stem + ".freq0.cal.txt"), HasSubstr("delays=" + found));
    EXPECT_THAT(delaysInTheUnit(), testing::Contains(testing::Gt(0U)));
}

TEST_F(AttemptTest, PinsAreAlignedInTheBurstThatFollowsTheDutyCorrection) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    burstFrom(1, toggling({27, 27, 27, 27}));
    burstFrom(3, toggling({27, 30, 27, 27})); // only now pin 2 lags by three samples
    burstFrom(4, toggling({27, 27, 27, 27}));
    channel->calibrate();
    EXPECT_EQ(delaysInTheUnit().at(1) - delaysInTheUnit().at(2), 3U);
}

TEST_F(AttemptTest, WithTheClockStrategyNothingIsCorrelatedOverLags) {
    openChannel("verifyCal=false\ndeskewStrategy=clock\n");
    rates({50e6});
    signals();
    double& correlation = inside().metrics().proc[2].correlation[40]; // no report lists it with this strategy
    correlation = 7.0;
    channel->calibrate();
    EXPECT_EQ(correlation, 7.0);
}

TEST_F(AttemptTest, TheTransmitterIsProgrammedAtTheRatesOfTheAttemptBefore) {
    openChannel("verifyCal=false\nfrequencyLimit=60e6\n");
    rates({25e6, 50e6, 100e6});
    signals();
    auto& clocking = inside().clocking();
    double atProgram = 0;
    std::uint32_t last = 99;
    const auto scripted = [&](const char*, std::uint32_t setting) {
        const std::vector<double> all{25e6, 50e6, 100e6};
        rate(all.at(setting));
        programmed = all.at(setting);
        atProgram = clocking.exportFrequency; // status reports none of a running calibration
        last = setting;
    };
    ON_CALL(transmitter, program).WillByDefault(testing::Invoke(scripted));
    channel->calibrate();
    EXPECT_EQ(last, 1U);
    EXPECT_NEAR(atProgram, 100e6, 100) << "the last rate of the scan";
    EXPECT_NEAR(status().exportFrequency, 50e6, 100);
    EXPECT_NEAR(status().dataRate, 400e6, 1000);
}

TEST_F(AttemptTest, ABurstThatFailsLeavesTheUsersSettingsInTheReport) {
    openChannel("verifyCal=false\ndelays=1,2,3,4,5\n");
    rates({50e6});
    model.setBurst(3, {}, false);
    expectFailure([&] { channel->calibrate(); }, eFAIL, "ovs fifo failed to fill");
    EXPECT_THAT(readText(stem + ".freq0.cal.txt"), HasSubstr("delays=1,2,3,4,5"));
}

TEST_F(AttemptTest, ARateThatIsNotAnalysedEndsWithTheDefaultsWhateverTheUserAskedFor) {
    openChannel("verifyCal=false\ndelays=1,2,3,4,5\nfilters=1,1,1,1,1\nstretches=2,2,2,2,2\n");
    rates({8e6});
    channel->calibrate();
    std::string report = readText(stem + ".freq0.cal.txt");
    std::erase(report, '\r');
    EXPECT_THAT(report, HasSubstr("delays=31,0,0,0,0\nstretches=0,0,0,0,0\nfilters=7,7,7,7,7\n"));
    EXPECT_THAT(delaysInTheUnit(), ElementsAre(0, 0, 0, 0, 0)) << "the unit keeps what the rate was measured with";
}

TEST_F(AttemptTest, TheReportIsThereBeforeTheVerificationBegins) {
    openChannel();
    rates({50e6});
    signals();
    ON_CALL(transmitter, reset).WillByDefault([this] { // only a recording resets
        EXPECT_TRUE(exists(stem + ".freq0.cal.txt"));
        EXPECT_TRUE(exists(stem + ".freq0.cap.txt"));
        throw Exception("orv_client_transmitter", 1, eXMTR, "failed resetting trace status");
    });
    EXPECT_THROW(channel->calibrate(), Exception);
}

// ---- which failures lead to the next setting ----

class AttemptFailure : public AttemptTest, public testing::WithParamInterface<Status> {};

TEST_P(AttemptFailure, OnlyThatOfACalibrationLeadsToTheNextSetting) {
    openChannel("verifyCal=false\n");
    rates({25e6, 50e6});
    signals();
    ON_CALL(transmitter, getPattern).WillByDefault([this]() -> Pattern* {
        if (lastSetting() == "1") {
            throw Exception("orv_client_transmitter", 1, GetParam(), "refused");
        }
        return &pattern;
    });
    if (GetParam() == eCALIBRATE) {
        channel->calibrate();
        EXPECT_EQ(lastSetting(), "0");
        return;
    }
    try {
        channel->calibrate();
        FAIL() << "the next setting was tried";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), static_cast<std::uint32_t>(GetParam()));
    }
    EXPECT_EQ(lastSetting(), "1");
    EXPECT_FALSE(exists(stem + ".freq0.cap.txt"));
}

INSTANTIATE_TEST_SUITE_P(Statuses, AttemptFailure,
                         testing::Values(eFAIL, eALLOC, eNULL, eVALUE, eFILE, eSEQUENCE, eXMTR, eCALIBRATE, eOVS,
                                         eDATASERVER));

TEST_F(AttemptTest, AFailedAttemptWritesItsReportBeforeItDumpsTheRegisters) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    bursts::OwnedBurst burst(5, 512); // no data edges
    burst.square(0, 20, 14);
    burstFrom(1, burst.pins);
    std::filesystem::create_directory(stem + ".freq0.cal.txt");
    expectFailure([&] { channel->calibrate(); }, eFILE, stem + ".freq0.cal.txt");
    const auto lines = model.log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), registerDumpLine), 3)
        << "only those of settings that were written";
    EXPECT_FALSE(exists(stem + ".freq0.cap.txt"));
}

} // namespace
} // namespace client_test
