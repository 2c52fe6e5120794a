#include "bench/signal/Random.h"
#include "common/source/Exception.h"
#include "diagnosis/analysis/BurstAnalysis.h"
#include "tests/unit/diagnosis/doctor/BenchFiles.h"

#include <gmock/gmock.h>

// Wirings with one fault each, calibrated on the bench: the doctor names that fault, with the pin and the figures.

namespace {

using bench::PinWiring;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// The proc that a data pin of a map of four is sampled as.
std::size_t procOf(unsigned emu) {
    return 5 - emu;
}

TEST(BenchFaults, APinThatIsStuckIsNamedWithItsLevel) {
    for (unsigned emu = 1; emu <= 4; ++emu) {
        for (const unsigned level : {0U, 1U}) {
            PinWiring pin = wiring(emu);
            pin.stuck = level;
            const BenchFiles files(withPin(pin));
            const diagnosis::Diagnosis diagnosis = files.diagnose();
            EXPECT_NE(files.failure, "");
            EXPECT_THAT(kindsOf(diagnosis), ElementsAre("pin-stuck"));
            const diagnosis::Finding& finding = findingOf(diagnosis, "pin-stuck");
            EXPECT_THAT(finding.pins, ElementsAre(procOf(emu)));
            EXPECT_EQ(finding.text, "D" + std::to_string(emu - 1) + " (EMU" + std::to_string(emu) + ") is stuck at " +
                                        std::to_string(level));
            EXPECT_THAT(finding.evidence.front(), HasSubstr("8192 samples at " + std::to_string(level)));
        }
    }
}

TEST(BenchFaults, AStuckPinIsNamedAlsoWhereTheReceiverDoesNotLook) {
    bench::Scenario scenario = namedScenario("tpiu");
    PinWiring pin = wiring(2);
    pin.stuck = 0;
    scenario.wiring.pins.push_back(pin);
    const BenchFiles files(scenario);
    EXPECT_EQ(files.failure, "") << "the receiver accepts it";
    EXPECT_THAT(kindsOf(files.diagnose()), ElementsAre("pin-stuck"));
}

TEST(BenchFaults, ADeadClockIsNamedWhateverItsLevel) {
    for (const unsigned level : {0U, 1U}) {
        PinWiring pin = wiring(0);
        pin.stuck = level;
        const BenchFiles files(withPin(pin));
        EXPECT_THAT(kindsOf(files.diagnose()), ElementsAre("clock-dead"));
    }
}

TEST(BenchFaults, EveryPairThatIsSwappedIsNamed) {
    for (unsigned one = 1; one <= 4; ++one) {
        for (unsigned other = one + 1; other <= 4; ++other) {
            PinWiring pin = wiring(one);
            pin.swappedWith = other;
            const BenchFiles files(withPin(pin));
            const diagnosis::Diagnosis diagnosis = files.diagnose();
            EXPECT_THAT(kindsOf(diagnosis), ElementsAre("pins-swapped"));
            EXPECT_THAT(findingOf(diagnosis, "pins-swapped").pins, ElementsAre(procOf(other), procOf(one)));
        }
    }
}

TEST(BenchFaults, TwoPairsThatAreSwappedAreTwoFindings) {
    bench::Scenario scenario = withPin(wiring(1));
    scenario.wiring.pins.front().swappedWith = 4;
    PinWiring other = wiring(2);
    other.swappedWith = 3;
    scenario.wiring.pins.push_back(other);
    EXPECT_THAT(kindsOf(BenchFiles(scenario).diagnose()), ElementsAre("pins-swapped", "pins-swapped"));
}

TEST(BenchFaults, PinsOnOneWireAreNamedAsAShort) {
    bench::Scenario scenario = namedScenario("clean");
    scenario.pinMap = "0,1,3,3,4"; // two inputs listen to the same wire
    const diagnosis::Diagnosis diagnosis = BenchFiles(scenario).diagnose();
    EXPECT_THAT(kindsOf(diagnosis), ElementsAre("pins-shorted"));
    EXPECT_THAT(findingOf(diagnosis, "pins-shorted").pins, ElementsAre(2U, 3U));
}

/// The analysis takes out skews of up to half a period, and ends on the wrong side of the pattern beyond.
bench::Scenario skewedBy(double skew) {
    PinWiring pin = wiring(3);
    pin.skew = skew;
    return withPin(pin, {50e6});
}

TEST(BenchFaults, APinThatComesBitsLateOrEarlyIsNamedWithItsSign) {
    const diagnosis::Diagnosis late = BenchFiles(skewedBy(18.0)).diagnose();
    EXPECT_THAT(kindsOf(late), ElementsAre("pin-late"));
    EXPECT_THAT(findingOf(late, "pin-late").pins, ElementsAre(procOf(3)));
    EXPECT_EQ(findingOf(late, "pin-late").text, "D2 (EMU3) is 2 bits late against most other pins");
    const diagnosis::Diagnosis early = BenchFiles(skewedBy(-18.0)).diagnose();
    EXPECT_THAT(kindsOf(early), ElementsAre("pin-early"));
    EXPECT_THAT(findingOf(early, "pin-early").pins, ElementsAre(procOf(3)));
    EXPECT_THAT(BenchFiles(skewedBy(9.0)).diagnose().findings, IsEmpty()) << "a skew that is corrected is no fault";
}

TEST(BenchFaults, APinThatIsOneBitLateIsNamedWithItsSign) {
    // With the values given and no analysis, half a period of skew is one bit, and only the verification shows it.
    bench::Scenario scenario = namedScenario("slow");
    scenario.transmitter.frequencies = {9e6};
    PinWiring pin = wiring(2);
    pin.skew = 1.4e9 / 9e6 / 2.0;
    scenario.wiring.pins.push_back(pin);
    const BenchFiles files(scenario);
    EXPECT_THAT(files.failure, HasSubstr("failed calibration pattern test"));
    const diagnosis::Diagnosis diagnosis = files.diagnose();
    EXPECT_THAT(findingOf(diagnosis, "pin-late").pins, ElementsAre(procOf(2)));
    EXPECT_EQ(findingOf(diagnosis, "pin-late").text, "D1 (EMU2) is a bit late against most other pins");
}

TEST(BenchFaults, AnOpenPinIsToldFromItsBurst) {
    PinWiring pin = wiring(3);
    pin.open = true;
    for (const double frequency : {25e6, 50e6}) {
        const diagnosis::Diagnosis diagnosis = BenchFiles(withPin(pin, {frequency})).diagnose();
        EXPECT_THAT(kindsOf(diagnosis), ElementsAre("pin-garbled"));
        EXPECT_THAT(findingOf(diagnosis, "pin-garbled").pins, ElementsAre(procOf(3)));
        EXPECT_THAT(findingOf(diagnosis, "pin-garbled").remedy, HasSubstr("wire open"));
    }
}

TEST(BenchFaults, ADutyErrorBeyondTheCorrectionIsNamedInBothDirections) {
    for (const double lateFall : {-8.0, 12.0}) {
        PinWiring pin = wiring(3);
        pin.lateFall = lateFall;
        const diagnosis::Diagnosis diagnosis = BenchFiles(withPin(pin, {25e6})).diagnose();
        EXPECT_THAT(kindsOf(diagnosis), Contains("duty-beyond-correction")) << lateFall;
        const diagnosis::Finding& finding = findingOf(diagnosis, "duty-beyond-correction");
        EXPECT_THAT(finding.pins, ElementsAre(procOf(3)));
        EXPECT_THAT(finding.evidence.front(), HasSubstr("it can correct 5 of the "));
    }
}

TEST(BenchFaults, ADutyErrorThatIsCorrectedIsNotNamed) {
    PinWiring pin = wiring(3);
    pin.lateFall = 1.0;
    EXPECT_THAT(kindsOf(BenchFiles(withPin(pin, {25e6})).diagnose()), IsEmpty());
}

TEST(BenchFaults, AMarginThatIsTooSmallAtEverySettingNamesARateThatFits) {
    bench::Scenario scenario = namedScenario("step-down");
    scenario.transmitter.frequencies = {110e6, 118e6};
    const BenchFiles files(scenario);
    ASSERT_THAT(files.failure, HasSubstr("clock margin too low"));
    const diagnosis::Diagnosis diagnosis = files.diagnose();
    EXPECT_THAT(kindsOf(diagnosis), ElementsAre("margin-too-small"));
    const diagnosis::Finding& finding = findingOf(diagnosis, "margin-too-small");
    EXPECT_EQ(finding.evidence.size(), 2U);
    ASSERT_TRUE(finding.fittingRate);
    EXPECT_LT(*finding.fittingRate, 110e6);
    // The bench is asked: at the rate that was named the margin is enough.
    scenario.transmitter.frequencies = {*finding.fittingRate};
    EXPECT_THAT(BenchFiles(scenario).failure, Not(HasSubstr("clock margin too low"))) << *finding.fittingRate;
}

TEST(BenchFaults, AMarginThatFailsDuringARecordingIsFoundWhereTheReceiverFoundIt) {
    std::string text;
    const BenchFiles files(namedScenario("bench-cable"), "ovsMargin=2\n", [&](bench_client::BenchRig& rig) {
        rig.transmitter.program("calibration", 2);
        rig.inside().captureOvs();
        try {
            rig.inside().verifyOvsMargin(rig.inside().cal(), 2);
        } catch (const VX_QRS::ORV::CLIENT::Exception& failure) {
            text = failure.what();
        }
    });
    ASSERT_THAT(text, HasSubstr("oversampling clock margin failure at index "));
    const auto set = files.read();
    ASSERT_TRUE(set.base.failedBurst);
    const auto failure = diagnosis::findMarginFailure(*set.base.failedBurst, 2);
    ASSERT_TRUE(failure);
    EXPECT_TRUE(text.ends_with("at index " + std::to_string(failure->word))) << text;
    EXPECT_THAT(kindsOf(files.diagnose()), Contains("margin-lost"));
}

/// Skews of up to two samples, a duty error and jitter on every pin: a cable that was not measured.
bench::Scenario healthyCable(std::uint64_t seed) {
    bench::Scenario scenario = namedScenario("clean");
    scenario.transmitter.frequencies = {12.5e6, 25e6, 40e6};
    scenario.wiring.seed = seed;
    for (unsigned emu = 0; emu <= 4; ++emu) {
        PinWiring pin = wiring(emu);
        const auto draw = [&](unsigned what) { return bench::uniformOf(seed, emu * 10 + what); };
        pin.skew = 4.0 * draw(1) - 2.0;
        pin.lateFall = 1.5 * draw(2) - 0.75;
        pin.jitter = 0.3 * draw(3);
        scenario.wiring.pins.push_back(pin);
    }
    return scenario;
}

TEST(BenchFaults, ASingleWordIsNotPutDownToTheClock) {
    bench::Scenario scenario = namedScenario("clean");
    scenario.transmitter.frequencies = {50e6};
    bench::MemoryCell cell;
    cell.byte = 100 * 512 + 40;
    scenario.unit.cells.push_back(cell);
    const BenchFiles files(scenario);
    EXPECT_THAT(files.failure, HasSubstr("failed calibration pattern test"));
    const diagnosis::Diagnosis diagnosis = files.diagnose();
    ASSERT_THAT(kindsOf(diagnosis), ElementsAre("words-wrong"));
    const diagnosis::Finding& finding = findingOf(diagnosis, "words-wrong");
    EXPECT_EQ(finding.text, "single words of the verification recording are wrong, those around them are right");
    EXPECT_THAT(finding.evidence, ElementsAre(HasSubstr(": 1 fault, the first in packet 100, word 20")));
    EXPECT_THAT(finding.remedy, HasSubstr("a defect of the unit's memory"));
}

TEST(BenchFaults, APatternThatBeginsABitLaterIsNoFault) {
    bench::Scenario scenario = namedScenario("tpiu");
    scenario.pins = 1;
    const BenchFiles files(scenario);
    EXPECT_EQ(files.failure, "");
    EXPECT_THAT(kindsOf(files.diagnose()), IsEmpty());
}

TEST(BenchFaults, AShiftThatASwapMayHaveMadeSaysSo) {
    // "tpiu" is verified with a pattern that is the same on all pins: the swap shows by its alignment only.
    unsigned shifted = 0;
    for (const unsigned seed : {1U, 2U, 3U, 4U, 5U, 6U}) {
        bench::Scenario scenario = namedScenario("tpiu");
        scenario.transmitter.frequencies = {50e6};
        scenario.wiring.jitter = 0.2;
        scenario.wiring.seed = seed;
        PinWiring pin = wiring(1);
        pin.swappedWith = 2;
        scenario.wiring.pins.push_back(pin);
        const diagnosis::Diagnosis diagnosis = BenchFiles(scenario).diagnose();
        for (const diagnosis::Finding& finding : diagnosis.findings) {
            ++shifted;
            EXPECT_THAT(finding.remedy, HasSubstr("A wire that is swapped with another's would look the same"))
                << finding.text;
        }
    }
    EXPECT_NE(shifted, 0U);
}

TEST(BenchFaults, HealthyCablesGiveNoFault) {
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        const BenchFiles files(healthyCable(seed));
        EXPECT_EQ(files.failure, "") << seed;
        const diagnosis::Diagnosis diagnosis = files.diagnose();
        EXPECT_EQ(diagnosis.calibrated, true) << seed;
        for (const diagnosis::Finding& finding : diagnosis.findings) {
            EXPECT_EQ(finding.severity, diagnosis::Finding::Severity::Note) << seed << ": " << finding.text;
        }
    }
}

} // namespace
