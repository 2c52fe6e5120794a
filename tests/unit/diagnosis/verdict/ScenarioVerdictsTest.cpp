#include "diagnosis/report/Report.h"
#include "diagnosis/verdict/RunVerdict.h"
#include "tests/unit/diagnosis/doctor/BenchFiles.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>

// Every scenario of the bench, calibrated: its verdict, and that the page says the same.

namespace {

using testing::HasSubstr;

/// First reasons; a scenario that is not listed is sound.
const std::map<std::string, std::pair<std::string, std::string>> expected{
    {"half-period-peak", {"fault", "margin-too-small"}},
    {"coupling", {"thin", "margin-thin"}}, // which is why trace has wrong words there
    {"memory", {"thin", "margin-thin"}},
    {"no-clock", {"fault", "clock-dead"}},
    {"stuck-pin", {"fault", "pin-stuck"}},
    {"swapped-pins", {"fault", "pins-swapped"}},
    {"too-fast", {"fault", "clock-too-fast"}},
    {"too-many-bits", {"fault", "too-many-bits"}},
    {"tpiu", {"unknown", "words-not-compared"}},
    {"tpiulite", {"unknown", "values-given"}},
};

/// Nothing for a scenario whose server fails, which is not part of this.
std::optional<bench::Scenario> calibratedScenario(const std::string& name) {
    bench::Scenario scenario = namedScenario(name);
    if (name == "too-many-bits") {
        scenario.pinMap = "0,1,2,3,4,5"; // a value that names a variable, which the host would set
    }
    const bool fails = !scenario.faults.steps.empty() || scenario.faults.exitAtStart || scenario.faults.refuseSecond ||
                       scenario.faults.version != 1;
    return fails ? std::nullopt : std::optional(scenario);
}

class ScenarioVerdicts : public testing::TestWithParam<std::string> {};

TEST_P(ScenarioVerdicts, AreKnownAndThePageHasThem) {
    const auto scenario = calibratedScenario(GetParam());
    if (!scenario) {
        return;
    }
    const BenchFiles files(*scenario);
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

std::string tableOfVerdicts() {
    std::string table = "| scenario | verdict |\n|---|---|\n";
    for (const std::string& name : scenarioNames()) {
        if (const auto scenario = calibratedScenario(name)) {
            const BenchFiles files(*scenario);
            const std::string line = verdictLine(diagnosis::judgeRun(files.read(), files.diagnose()));
            table += "| `" + name + "` | " + line.substr(std::string("verdict: ").size()) + " |\n";
        }
    }
    return table;
}

TEST(BenchPage, HasTheVerdictOnEveryScenario) {
    const std::string begin = "<!-- verdicts -->\n";
    std::ifstream in(ORV_BENCH_PAGE, std::ios::binary);
    std::string page{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    std::erase(page, '\r');
    const std::size_t from = page.find(begin);
    const std::size_t to = page.find("<!-- end of verdicts -->");
    ASSERT_TRUE(from != std::string::npos && to != std::string::npos);
    const std::string shown = page.substr(from + begin.size(), to - from - begin.size());
    const std::string table = tableOfVerdicts();
    if (std::getenv("ORV_VERDICTS_RENEW") != nullptr) {
        page.replace(from + begin.size(), shown.size(), table);
        std::ofstream(ORV_BENCH_PAGE, std::ios::binary) << page;
        return;
    }
    EXPECT_EQ(shown, table) << "ORV_VERDICTS_RENEW=1 in the environment writes it";
}

INSTANTIATE_TEST_SUITE_P(Bench, ScenarioVerdicts, testing::ValuesIn(scenarioNames()), [](const auto& scenario) {
    std::string name = scenario.param;
    for (char& c : name) {
        c = c == '-' ? '_' : c;
    }
    return name;
});

} // namespace
