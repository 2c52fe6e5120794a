#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// Terminal, page, JSON, doctor and exit code give one verdict, on every scenario.

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> scenarioNames() {
    const RunSpace space;
    std::vector<std::string> names;
    const Outcome told = space.run({"scenarios", "--json"});
    for (const json& scenario : told.json.at("scenarios")) {
        names.push_back(scenario.at("name"));
    }
    return names;
}

std::string firstSlug(const json& verdict) {
    return verdict.at("reasons").empty() ? "" : verdict.at("reasons").at(0).at("slug").get<std::string>();
}

/// The same run, read from its folder later.
void expectAgreement(const RunSpace& space, const std::string& name, const Outcome& run) {
    const json& verdict = run.json.at("verdict");
    if (run.json.at("calibration").at("frequencies").empty() && verdict.at("kind") == "unknown") {
        return; // it ended before it left anything to read
    }
    const Outcome doctor = space.run({"doctor", space.file("run").string(), "--json"});
    EXPECT_EQ(doctor.json.at("verdict"), verdict) << name;
    const Outcome report =
        space.run({"report", space.file("run").string(), "--json", "--force", "--out", space.file("p.html").string()});
    EXPECT_EQ(report.json.at("verdict"), verdict) << name;
    const std::string kind = verdict.at("kind");
    EXPECT_THAT(readBytes(space.file("p.html")), HasSubstr("\">" + kind + "</span>")) << name;
    EXPECT_EQ(doctor.code == 10, kind == "fault") << name;
    EXPECT_EQ(report.code == 10, kind == "fault") << name;
    const Outcome told = space.run({"doctor", space.file("run").string()});
    const std::size_t last = told.output.rfind('\n', told.output.size() - 2);
    EXPECT_THAT(told.output.substr(last + 1), HasSubstr("verdict: " + kind)) << name << ": the last line";
    EXPECT_THAT(told.output, Not(HasSubstr("\x1b"))) << "no colour without a terminal";
}

TEST(Verdict, IsTheSameFromEveryCommandOnEveryScenario) {
    const std::vector<std::string> names = scenarioNames();
    ASSERT_FALSE(names.empty());
    for (const std::string& name : names) {
        const RunSpace space;
        const Outcome run = space.record(name, {"--seconds", "0.2", "--strict"});
        ASSERT_TRUE(run.json.is_object() && run.json.contains("verdict")) << name << run.errors;
        const std::string kind = run.json.at("verdict").at("kind");
        EXPECT_EQ(run.code == 0, kind == "sound") << name << ": " << firstSlug(run.json.at("verdict"));
        expectAgreement(space, name, run);
    }
}

TEST(Verdict, OfAThinOrUnknownRunIsNoFailureUnlessAskedFor) {
    const RunSpace space;
    const Outcome run = space.record("tpiulite", {"--seconds", "0.2"});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("verdict").at("kind"), "unknown");
    EXPECT_EQ(space.run({"doctor", space.file("run").string(), "--strict"}).code, 10);
    EXPECT_EQ(space.run({"doctor", space.file("run").string()}).code, 0);
}

TEST(Verdict, OfASoakIsKeptForTheDoctor) {
    const RunSpace space;
    const Outcome soak = space.run({"soak", "--rounds", "1", "--json", "--out", space.file("run").string()});
    ASSERT_EQ(soak.code, 0) << soak.errors;
    EXPECT_EQ(space.run({"doctor", space.file("run").string(), "--json"}).json.at("verdict"), soak.json.at("verdict"));
}

} // namespace
