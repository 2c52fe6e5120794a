#include "diagnosis/doctor/DiagnosisText.h"
#include "tests/unit/diagnosis/doctor/BenchFiles.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"
#include "toolkit/ExitCode.h"

#include <gmock/gmock.h>

// Faults of what all pins share: the clock, the ground, the export. The doctor names that, and accuses no single pin.

namespace {

using bench::PinWiring;
using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StrEq;

bench::Scenario withClock(const PinWiring& clock, const std::vector<double>& frequencies = {25e6, 50e6}) {
    return withPin(clock, frequencies);
}

/// The same wiring fault on all data pins.
bench::Scenario withDataPins(const std::function<void(PinWiring&)>& fault) {
    bench::Scenario scenario = namedScenario("clean");
    for (unsigned emu = 1; emu <= 4; ++emu) {
        scenario.wiring.pins.push_back(wiring(emu));
        fault(scenario.wiring.pins.back());
    }
    return scenario;
}

TEST(SharedFaults, AnOpenClockIsNamedAndNoDataPinIs) {
    PinWiring clock = wiring(0);
    clock.open = true;
    const BenchFiles files(withClock(clock));
    EXPECT_NE(files.failure, "");
    const diagnosis::Diagnosis diagnosis = files.diagnose();
    EXPECT_THAT(kindsOf(diagnosis), ElementsAre("clock-suspect"));
    const diagnosis::Finding& finding = findingOf(diagnosis, "clock-suspect");
    EXPECT_THAT(finding.pins, ElementsAre(0U));
    EXPECT_EQ(finding.text, "check the clock (EMU0) pin first: the data pins do not follow it");
    EXPECT_THAT(finding.evidence, Contains(HasSubstr("the data change every 14 samples, as with a clock of 50 MHz, ")));
    EXPECT_THAT(finding.evidence, Contains(HasSubstr("the data pins follow each other")));
    EXPECT_THAT(finding.evidence, Contains(HasSubstr("settings 1 and 0 were measured at the same rate, ")));
    EXPECT_THAT(finding.evidence,
                Contains(AllOf(HasSubstr("verification of setting 1"), HasSubstr("on all 4 data pins"))));
    EXPECT_THAT(finding.remedy, HasSubstr("Is the clock's wire open"));
}

TEST(SharedFaults, AClockThatJittersIsNamedAndNotTheLengthsOfTheWires) {
    for (const double jitter : {2.5, 10.0}) {
        PinWiring clock = wiring(0);
        clock.jitter = jitter;
        const diagnosis::Diagnosis diagnosis = BenchFiles(withClock(clock, {50e6})).diagnose();
        EXPECT_THAT(kindsOf(diagnosis), ElementsAre("clock-suspect")) << jitter;
        EXPECT_THAT(findingOf(diagnosis, "clock-suspect").evidence,
                    Contains(AllOf(HasSubstr("the clock's changes are "), HasSubstr(" on data 1"))));
    }
}

TEST(SharedFaults, AClockWithPulsesOfItsOwnIsNamedWithTheMarginThatItCosts) {
    PinWiring clock = wiring(0);
    clock.glitchEvery = 500;
    clock.glitchLength = 6;
    const diagnosis::Diagnosis diagnosis = BenchFiles(withClock(clock)).diagnose();
    const diagnosis::Finding& finding = findingOf(diagnosis, "margin-too-small");
    EXPECT_THAT(finding.remedy, HasSubstr("Check the clock's wire first"));
    EXPECT_THAT(finding.evidence, Contains(AllOf(HasSubstr("the clock's changes are "), HasSubstr(" on data 1"))));
}

TEST(SharedFaults, NoiseOnAllWiresIsOneFinding) {
    for (const double jitter : {3.0, 10.0}) {
        bench::Scenario scenario = namedScenario("clean");
        scenario.transmitter.frequencies = {50e6};
        scenario.wiring.jitter = jitter;
        const diagnosis::Diagnosis diagnosis = BenchFiles(scenario).diagnose();
        EXPECT_THAT(kindsOf(diagnosis), ElementsAre("pins-noisy")) << jitter;
        const diagnosis::Finding& finding = findingOf(diagnosis, "pins-noisy");
        EXPECT_THAT(finding.pins, ElementsAre(1U, 2U, 3U, 4U));
        EXPECT_THAT(finding.remedy, AllOf(HasSubstr("the clock's edges"), HasSubstr("ground"), Not(HasSubstr("open"))));
    }
}

TEST(SharedFaults, ASlowerSettingThatFailsForItsMarginIsToldBeside) {
    bench::Scenario scenario = namedScenario("clean");
    scenario.wiring.jitter = 3.0;
    const diagnosis::Diagnosis diagnosis = BenchFiles(scenario).diagnose();
    EXPECT_THAT(kindsOf(diagnosis), ElementsAre("pins-noisy", "margin-too-small"));
    EXPECT_EQ(findingOf(diagnosis, "margin-too-small").evidence.size(), 1U) << "of 25 MHz alone";
}

TEST(SharedFaults, PinsThatAreNotConnectedAreOneFinding) {
    const diagnosis::Diagnosis open = BenchFiles(withDataPins([](PinWiring& pin) { pin.open = true; })).diagnose();
    EXPECT_THAT(kindsOf(open), ElementsAre("pins-silent"));
    EXPECT_THAT(findingOf(open, "pins-silent").pins, ElementsAre(1U, 2U, 3U, 4U));
    for (const unsigned level : {0U, 1U}) {
        const BenchFiles files(withDataPins([&](PinWiring& pin) { pin.stuck = level; }));
        const diagnosis::Diagnosis diagnosis = files.diagnose();
        EXPECT_THAT(kindsOf(diagnosis), ElementsAre("pin-stuck"));
        EXPECT_EQ(findingOf(diagnosis, "pin-stuck").text, "all 4 data pins are stuck while the clock runs");
    }
}

TEST(SharedFaults, OnePinThatIsNoisyAmongQuietOnesIsStillAccused) {
    PinWiring pin = wiring(2);
    pin.jitter = 6.0;
    const diagnosis::Diagnosis diagnosis = BenchFiles(withPin(pin, {50e6})).diagnose();
    EXPECT_THAT(kindsOf(diagnosis), Contains("pin-garbled"));
    EXPECT_THAT(kindsOf(diagnosis), Not(Contains(AnyOf("pins-noisy", "clock-suspect"))));
    EXPECT_THAT(findingOf(diagnosis, "pin-garbled").pins, ElementsAre(3U));
}

TEST(SharedFaults, APinOfATogglingPatternThatIsShiftedMayBeSwappedToo) {
    bench::Scenario scenario = namedScenario("tpiu");
    scenario.transmitter.frequencies = {50e6};
    scenario.wiring.jitter = 0.2;
    PinWiring pin = wiring(1);
    pin.swappedWith = 2;
    scenario.wiring.pins.push_back(pin);
    const diagnosis::Diagnosis diagnosis = BenchFiles(scenario).diagnose();
    ASSERT_THAT(diagnosis.findings, Not(IsEmpty()));
    for (const diagnosis::Finding& finding : diagnosis.findings) {
        EXPECT_THAT(diagnosis::slugOf(finding.kind), AnyOf(StrEq("pin-shifted"), StrEq("pin-late"), StrEq("pin-early")))
            << finding.text;
        EXPECT_THAT(finding.remedy, AllOf(HasSubstr("Is its wire longer"), HasSubstr("swapped")));
        EXPECT_THAT(finding.evidence, Contains(HasSubstr("it was given a delay of ")));
    }
}

TEST(SharedFaults, WithOneDataPinTheLessRegularOfTheTwoIsNamed) {
    bench::Scenario scenario = namedScenario("one-pin");
    PinWiring clock = wiring(0);
    clock.jitter = 10.0;
    scenario.wiring.pins = {clock};
    const diagnosis::Diagnosis jitters = BenchFiles(scenario).diagnose();
    EXPECT_EQ(kindsOf(jitters).front(), "clock-suspect");
    scenario.wiring.pins.front().jitter.reset();
    scenario.wiring.pins.front().open = true;
    EXPECT_EQ(kindsOf(BenchFiles(scenario).diagnose()).front(), "clock-suspect");
}

TEST(SharedFaults, WithOneDataPinTheClockIsAskedForToo) {
    bench::Scenario scenario = namedScenario("one-pin");
    PinWiring pin = wiring(1);
    pin.jitter = 10.0;
    scenario.wiring.pins = {pin};
    const diagnosis::Diagnosis diagnosis = BenchFiles(scenario).diagnose();
    ASSERT_THAT(kindsOf(diagnosis), Contains("pin-garbled"));
    EXPECT_THAT(findingOf(diagnosis, "pin-garbled").remedy, HasSubstr("or the clock's"));
}

/// The files of a set, some kinds of them taken away.
diagnosis::DiagnosticSet without(const BenchFiles& files, const std::vector<std::string>& endings) {
    for (const auto& entry : std::filesystem::directory_iterator(files.place())) {
        for (const std::string& ending : endings) {
            if (entry.path().filename().string().ends_with(ending)) {
                std::filesystem::remove(entry.path());
            }
        }
    }
    return files.read();
}

TEST(MissingFiles, NothingFoundThenSaysWhatCouldNotBeLookedAt) {
    const BenchFiles files(namedScenario("clean"));
    const auto set = without(files, {".cap.txt", ".ver"});
    const diagnosis::Diagnosis diagnosis = diagnosis::diagnose(set);
    EXPECT_FALSE(diagnosis.judged);
    EXPECT_FALSE(diagnosis.calibrated);
    EXPECT_THAT(diagnosis.missing, ElementsAre("burst (.cap.txt)", "verification (.ver)"));
    EXPECT_EQ(diagnosis::findingCount(diagnosis),
              "nothing found, but 2 kinds of files are missing: burst (.cap.txt) and verification (.ver)");
    EXPECT_THAT(diagnosis.limits, Contains(HasSubstr("There is no burst, ")));
    const diagnosis::Diagnosis bare = diagnosis::diagnose(without(files, {".cal.txt"}));
    EXPECT_THAT(bare.missing, ElementsAre("report (.cal.txt)", "burst (.cap.txt)", "verification (.ver)"));
}

TEST(MissingFiles, AProofThatCameBackIsEnoughToJudge) {
    const BenchFiles files(namedScenario("clean"));
    const diagnosis::Diagnosis diagnosis = diagnosis::diagnose(without(files, {".cap.txt"}));
    EXPECT_TRUE(diagnosis.judged);
    EXPECT_EQ(diagnosis.calibrated, true);
    EXPECT_THAT(diagnosis.limits, Contains(HasSubstr("There is no burst, ")));
}

TEST(NotMeasured, GivenValuesAreNotJudged) {
    const BenchFiles files(namedScenario("tpiulite"));
    const diagnosis::Diagnosis diagnosis = files.diagnose();
    EXPECT_FALSE(diagnosis.judged);
    EXPECT_EQ(diagnosis::findingCount(diagnosis), "nothing was judged");
}

TEST(NotMeasured, BelowTheSlowestClockThatIsAnalysedItIsSaid) {
    const BenchFiles files(namedScenario("slow"));
    const auto set = files.read();
    const diagnosis::Diagnosis diagnosis = diagnosis::diagnose(set);
    EXPECT_THAT(diagnosis.findings, IsEmpty());
    EXPECT_TRUE(diagnosis.judged) << "the verification shows it";
    EXPECT_THAT(diagnosis.limits, Contains(HasSubstr("Below 10.1 MHz")));
    for (const auto& pin : set.attempts.back().cal->pins) {
        EXPECT_FALSE(pin.correlation || pin.correlationAtZero || pin.holdMargin || pin.setupMargin) << pin.name;
    }
}

/// The log of a run in which nothing else than these lines matters.
std::string logOf(const std::string& lines) {
    return "M     15:49:36:349 | ORV Receiver : loading settings from /lab/runs/trace.xml\n" + lines;
}

constexpr const char* refused = "M     15:49:34:905 | ORV Receiver (orv_client_frontend:146) setting 0 not used : "
                                "eXMTR:(11) : transmitter failure : failed enabling port\n";

TEST(Transmitter, AFailureThatTheLogNamesIsNoMissingClock) {
    bench::Scenario scenario = namedScenario("no-clock");
    const BenchFiles files(scenario);
    auto set = files.read();
    EXPECT_THAT(kindsOf(diagnosis::diagnose(set)), ElementsAre("clock-dead"));
    const diagnosis::Diagnosis alone = diagnosis::diagnose(set);
    EXPECT_THAT(findingOf(alone, "clock-dead").text, HasSubstr("no trace clock was measured"))
        << "the files alone do not prove that none arrives";
    EXPECT_THAT(findingOf(alone, "clock-dead").remedy, HasSubstr("Did the transmitter refuse?"));

    set.log = diagnosis::parseRunLog(logOf(refused), false);
    set.log->file = "x.txt";
    const diagnosis::Diagnosis diagnosis = diagnosis::diagnose(set);
    EXPECT_THAT(kindsOf(diagnosis), ElementsAre("transmitter-failed"));
    EXPECT_EQ(findingOf(diagnosis, "transmitter-failed").text, "the transmitter failed: failed enabling port");
    EXPECT_THAT(findingOf(diagnosis, "transmitter-failed").evidence,
                ElementsAre("log x.txt: setting 0: transmitter failure : failed enabling port"));
}

TEST(Transmitter, AnAttemptThatItEndedHasABurstThatWasNeverTaken) {
    const test_support::TemporaryFolder folder;
    std::string burst = drawn::burst({std::string(600, '0'), std::string(600, '0'), std::string(600, '0')});
    for (std::size_t at = burst.find("enable=1"); at != std::string::npos; at = burst.find("enable=1", at)) {
        burst.replace(at, 8, "enable=0");
    }
    folder.write("trace.freq1.cap.txt", burst);
    auto set = diagnosis::readDiagnostics(folder.path / "trace");
    const diagnosis::Diagnosis alone = diagnosis::diagnose(set);
    EXPECT_THAT(alone.findings, IsEmpty()) << "a burst that was never taken shows no dead clock";
    EXPECT_FALSE(alone.judged);

    const std::string dropped = "M     15:49:36:576 | ORV Receiver (orv_client_frontend:184) failed freq1 "
                                "(5.00000e+07) : eXMTR:(11) : transmitter failure : failed enabling port\n"
                                "    E 15:49:36:580 | ORV Receiver : SetConfiguration std exception : eXMTR:(11) : "
                                "transmitter failure : failed enabling port\n";
    set.log = diagnosis::parseRunLog(logOf(dropped), false);
    set.log->file = "x.txt";
    const diagnosis::Diagnosis diagnosis = diagnosis::diagnose(set);
    EXPECT_THAT(kindsOf(diagnosis), ElementsAre("transmitter-failed"));
    EXPECT_EQ(diagnosis.calibrated, false);
    EXPECT_EQ(diagnosis.verdicts.at(0).receiverText, "transmitter failure : failed enabling port");
}

} // namespace
