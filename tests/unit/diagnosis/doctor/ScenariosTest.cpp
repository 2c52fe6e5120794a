#include "diagnosis/analysis/BurstAnalysis.h"
#include "tests/unit/diagnosis/doctor/BenchFiles.h"

#include <gmock/gmock.h>

#include <map>

// Every scenario of the bench: what is wrong with its wiring is named, and nothing else.

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

/// What the doctor is to find in scenarios that are not sound. A scenario that is not listed is.
const std::map<std::string, std::vector<std::string>> expected{
    {"bench-cable", {"margin-too-small"}}, {"no-clock", {"clock-dead"}},
    {"step-down", {"margin-too-small"}},   {"stuck-pin", {"pin-stuck"}},
    {"swapped-pins", {"pins-swapped"}},    {"too-fast", {"clock-too-fast"}},
    {"too-many-bits", {"too-many-bits"}},  {"half-period-peak", {"margin-too-small"}},
};

class Scenarios : public testing::TestWithParam<std::string> {};

TEST_P(Scenarios, WhatIsWrongIsNamedAndNothingElse) {
    bench::Scenario scenario = namedScenario(GetParam());
    if (GetParam() == "too-many-bits") {
        scenario.pinMap = "0,1,2,3,4,5"; // a value that names a variable, which the host would set
    }
    if (!scenario.faults.steps.empty() || scenario.faults.exitAtStart || scenario.faults.refuseSecond ||
        scenario.faults.version != 1) {
        return; // of the server, which is not part of this
    }
    const BenchFiles files(scenario);
    const diagnosis::Diagnosis diagnosis = files.diagnose();
    EXPECT_EQ(diagnosis.calibrated, files.failure.empty()) << files.failure;
    EXPECT_THAT(files.read().troubles, IsEmpty());
    const auto wanted = expected.find(GetParam());
    EXPECT_THAT(kindsOf(diagnosis),
                ElementsAreArray(wanted == expected.end() ? std::vector<std::string>{} : wanted->second));
    // What calibration got around is a note; what it failed at is a fault.
    for (const diagnosis::Finding& finding : diagnosis.findings) {
        EXPECT_EQ(finding.severity == diagnosis::Finding::Severity::Fault, !files.failure.empty()) << finding.text;
        EXPECT_THAT(finding.evidence, testing::Not(IsEmpty())) << finding.text;
        EXPECT_FALSE(finding.remedy.empty()) << finding.text;
    }
    for (const diagnosis::Verdict& verdict : diagnosis.verdicts) {
        if (!verdict.receiverText.empty() && &verdict == &diagnosis.verdicts.back()) {
            EXPECT_THAT(files.failure, HasSubstr(verdict.receiverText)) << "the verdict is the receiver's own";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Bench, Scenarios, testing::ValuesIn(scenarioNames()), [](const auto& scenario) {
    std::string name = scenario.param;
    for (char& c : name) {
        c = c == '-' ? '_' : c;
    }
    return name;
});

TEST(Scenario, TheSwappedPinsAreTheOnesThatTheWiringSwaps) {
    const BenchFiles files(namedScenario("swapped-pins"));
    const diagnosis::Diagnosis diagnosis = files.diagnose();
    const diagnosis::Finding& finding = findingOf(diagnosis, "pins-swapped");
    EXPECT_THAT(finding.pins, ElementsAre(3U, 4U));
    EXPECT_EQ(finding.text, "D1 (EMU2) and D0 (EMU1) are swapped");
    EXPECT_EQ(finding.evidence.size(), 2U) << "one line for each attempt";
}

TEST(Scenario, ARateThatWasGivenUpNamesTheOneThatFits) {
    const BenchFiles files(namedScenario("step-down"));
    const diagnosis::Diagnosis diagnosis = files.diagnose();
    EXPECT_DOUBLE_EQ(findingOf(diagnosis, "margin-too-small").fittingRate.value_or(0.0), 50e6);
    EXPECT_EQ(diagnosis.headline, "calibrated at 50 MHz (setting 1)");
    ASSERT_EQ(diagnosis.verdicts.size(), 3U);
    EXPECT_EQ(diagnosis.verdicts[0].receiverText, "clock margin too low");
}

/// The margins that the report shows can be found again on its burst: both are of the same state.
TEST(Scenario, MarginsOfTheReportAreTheBursts) {
    for (const char* name : {"clean", "bench-cable", "step-down", "two-pin", "glitches", "tpiu"}) {
        const BenchFiles files(namedScenario(name));
        for (const diagnosis::FileGroup& attempt : files.read().attempts) {
            ASSERT_TRUE(attempt.cal && attempt.burst);
            for (std::size_t proc = 1; proc < attempt.cal->pins.size(); ++proc) {
                const diagnosis::BurstMargins margins = diagnosis::marginsOf(*attempt.burst, proc);
                EXPECT_EQ(margins.holdMargin, attempt.cal->pins[proc].holdMargin)
                    << name << " setting " << *attempt.setting;
                EXPECT_EQ(margins.setupMargin, attempt.cal->pins[proc].setupMargin)
                    << name << " setting " << *attempt.setting;
            }
        }
    }
}

} // namespace
