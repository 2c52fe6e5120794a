#include "diagnosis/report/Report.h"
#include "diagnosis/verdict/RunVerdict.h"
#include "tests/unit/diagnosis/doctor/BenchFiles.h"

#include <gmock/gmock.h>

#include <map>

// Every scenario of the bench, calibrated: its verdict, and that the page says the same.

namespace {

using testing::HasSubstr;

/// First reasons; a scenario that is not listed is sound.
const std::map<std::string, std::pair<std::string, std::string>> expected{
    {"no-clock", {"fault", "clock-dead"}},       {"slow", {"unknown", "margins-not-measured"}},
    {"stuck-pin", {"fault", "pin-stuck"}},       {"swapped-pins", {"fault", "pins-swapped"}},
    {"too-fast", {"fault", "clock-too-fast"}},   {"too-many-bits", {"fault", "too-many-bits"}},
    {"tpiu", {"unknown", "words-not-compared"}}, {"tpiulite", {"unknown", "values-given"}},
};

class ScenarioVerdicts : public testing::TestWithParam<std::string> {};

TEST_P(ScenarioVerdicts, AreKnownAndThePageHasThem) {
    bench::Scenario scenario = namedScenario(GetParam());
    if (GetParam() == "too-many-bits") {
        scenario.pinMap = "0,1,2,3,4,5"; // a value that names a variable, which the host would set
    }
    if (!scenario.faults.steps.empty() || scenario.faults.exitAtStart || scenario.faults.refuseSecond ||
        scenario.faults.version != 1) {
        return; // of the server, which is not part of this
    }
    const BenchFiles files(scenario);
    const diagnosis::DiagnosticSet set = files.read();
    const diagnosis::Diagnosis found = diagnosis::diagnose(set);
    const diagnosis::RunVerdict verdict = diagnosis::judgeRun(set, found);
    const auto wanted = expected.find(GetParam());
    const std::string kind = diagnosis::verdictName(verdict.kind);
    EXPECT_EQ(kind, wanted == expected.end() ? "sound" : wanted->second.first) << verdictLine(verdict);
    EXPECT_EQ(verdict.reasons.empty() ? "" : verdict.reasons.front().slug,
              wanted == expected.end() ? "" : wanted->second.second);
    EXPECT_EQ(kind == "fault", found.hasFaults()) << "the doctor's findings are the verdict's";
    EXPECT_THAT(diagnosis::reportPage(set, found), HasSubstr("\">" + kind + "</span>"));
    for (const diagnosis::Evidence& piece : verdict.evidence) {
        EXPECT_FALSE(piece.text.empty()) << piece.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Bench, ScenarioVerdicts, testing::ValuesIn(scenarioNames()), [](const auto& scenario) {
    std::string name = scenario.param;
    for (char& c : name) {
        c = c == '-' ? '_' : c;
    }
    return name;
});

} // namespace
