#include "diagnosis/doctor/DiagnosisText.h"
#include "tests/unit/diagnosis/doctor/BenchFiles.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using testing::HasSubstr;

TEST(DiagnosisText, NothingFoundIsSaid) {
    const BenchFiles files(namedScenario("clean"));
    const auto set = files.read();
    EXPECT_EQ(diagnosis::diagnosisText(set, diagnosis::diagnose(set)),
              "trace: calibrated at 50 MHz (setting 1)\nnothing found\n");
}

TEST(DiagnosisText, AFaultHasItsEvidenceAndWhatToCheck) {
    const BenchFiles files(namedScenario("no-clock"));
    const auto set = files.read();
    const std::string text = diagnosis::diagnosisText(set, diagnosis::diagnose(set));
    EXPECT_THAT(text,
                HasSubstr("trace: not calibrated\n1 fault found\n\nfault: no trace clock was measured at the CLK "));
    EXPECT_THAT(text, HasSubstr("\n  evidence: trace.cal.txt: exportFrequency 0 Hz, and no setting was tried"));
    EXPECT_THAT(text, HasSubstr("If not, no clock arrives: Is the target powered"));
    EXPECT_THAT(text, HasSubstr("There is no verification recording"));
}

TEST(DiagnosisText, TheObjectForScriptsHoldsTheSame) {
    const BenchFiles files(namedScenario("step-down"));
    const auto set = files.read();
    const nlohmann::json out = diagnosis::diagnosisJson(set, diagnosis::diagnose(set));
    EXPECT_EQ(out.at("calibrated"), true);
    EXPECT_EQ(out.at("attempts").size(), 3U);
    EXPECT_EQ(out.at("attempts")[0].at("verdict"), "rejected");
    EXPECT_EQ(out.at("attempts")[2].at("verdict"), "accepted");
    const nlohmann::json& finding = out.at("findings").at(0);
    EXPECT_EQ(finding.at("kind"), "margin-too-small");
    EXPECT_EQ(finding.at("severity"), "note");
    EXPECT_DOUBLE_EQ(finding.at("fittingHertz").get<double>(), 50e6);
    EXPECT_EQ(out.at("damaged").size(), 0U);
    EXPECT_EQ(diagnosis::findingCount(diagnosis::diagnose(set)), "nothing broken found, 1 note");
}

} // namespace
