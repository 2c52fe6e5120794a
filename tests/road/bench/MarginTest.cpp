#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// Scans of margins through the library and the server process.

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
namespace fs = std::filesystem;

Outcome scan(const RunSpace& space, const std::string& scenario, std::vector<std::string> further = {}) {
    std::vector<std::string> arguments{
        "margin", "--json", "--quick", "--scenario", scenario, "--out", space.file("run").string()};
    arguments.insert(arguments.end(), further.begin(), further.end());
    return space.run(arguments);
}

TEST(Margin, FindsTheWallsOfEveryLaneToASample) {
    const RunSpace space;
    const Outcome run = scan(space, "two-pin");
    ASSERT_EQ(run.code, 0) << run.errors << run.output;
    ASSERT_EQ(run.json.at("rates").size(), 1U);
    const json rate = run.json.at("rates").at(0);
    ASSERT_EQ(rate.at("lanes").size(), 2U);
    for (const json& lane : rate.at("lanes")) {
        EXPECT_EQ(lane.at("errors"), 0);
        EXPECT_GE(lane.at("bits").get<std::uint64_t>(), 1'000'000U);
        EXPECT_TRUE(lane.at("disagreement").is_null()) << lane;
        for (const char* side : {"setup", "hold"}) {
            const json wall = lane.at(side);
            const double burst = lane.at("burst").at(side).get<double>();
            ASSERT_TRUE(wall.at("marginSamples").is_number()) << wall;
            if (wall.at("state") == "bound-only") {
                EXPECT_NEAR(wall.at("marginSamples").get<double>(), burst, 1.5) << lane;
            } else {
                EXPECT_EQ(wall.at("state"), "clipped") << lane;
            }
        }
    }
    EXPECT_THAT(run.json.at("answer").get<std::string>(), HasSubstr("is sound with"));
}

TEST(Margin, LeavesTheFilesOfAnOrdinaryCalibration) {
    const RunSpace space;
    const Outcome run = scan(space, "step-down");
    ASSERT_EQ(run.code, 0) << run.errors;
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(space.file("run"))) {
        names.push_back(entry.path().filename().string());
    }
    EXPECT_THAT(names, Each(AllOf(Not(HasSubstr("values.properties")), Not(HasSubstr(".kept")))));
    const Outcome doctor = space.run({"doctor", "--json", space.file("run").string()});
    EXPECT_EQ(doctor.code, 0) << doctor.output;
    EXPECT_EQ(doctor.json.at("verdict").at("hertz"), 50e6);
    EXPECT_THAT(doctor.json.at("verdict").at("kind").get<std::string>(), Not("unknown"));
}

TEST(Margin, ConfiguresTheReceiverOnceForEveryNewValue) {
    const RunSpace space;
    const Outcome run = scan(space, "two-pin");
    ASSERT_EQ(run.code, 0) << run.errors;
    const std::string log = readBytes(run.json.at("files").at("log").get<std::string>());
    const std::string configured = "calling applySettings";
    std::size_t times = 0;
    for (std::size_t at = log.find(configured); at != std::string::npos; at = log.find(configured, at + 1)) {
        ++times;
    }
    // The calibrations at the beginning and at the end. The last recording is one of the kept values.
    EXPECT_LE(times, run.json.at("rates").at(0).at("recordings").get<std::size_t>() + 2);
    EXPECT_GT(times, 10U);
}

TEST(Margin, KeepsNoRecordingOfItsOwnInAnArchive) {
    const RunSpace space;
    const Outcome run = space.run({"margin", "--json", "--scenario", "two-pin", "--rate", "50MHz", "--error-rate",
                                   "1e-6", "--set", "archive=9", "--out", space.file("run").string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    for (const auto& entry : fs::recursive_directory_iterator(space.file("run"))) {
        EXPECT_THAT(entry.path().filename().string(), Not(testing::EndsWith(".bin")));
    }
}

TEST(Margin, MarksAWindowThatTheDelaysCutOff) {
    const RunSpace space;
    const Outcome run = scan(space, "cut-window");
    ASSERT_EQ(run.code, 0) << run.errors;
    for (const json& lane : run.json.at("rates").at(0).at("lanes")) {
        EXPECT_TRUE(lane.at("isCut").get<bool>());
        EXPECT_EQ(lane.at("hold").at("state"), "clipped");
        EXPECT_TRUE(lane.at("hold").at("firstBadOffset").is_null());
        EXPECT_EQ(lane.at("setup").at("state"), "bound-only");
    }
}

TEST(Margin, ALaneAtTheEndOfItsDelaysIsCutOffAlone) {
    const RunSpace space;
    const Outcome run = scan(space, "late-lane");
    ASSERT_EQ(run.code, 0) << run.errors;
    const json lanes = run.json.at("rates").at(0).at("lanes");
    for (const json& lane : lanes) {
        EXPECT_EQ(lane.at("isCut").get<bool>(), lane.at("title") == "D1 (EMU2)") << lane;
    }
}

TEST(Margin, WritesThePageAndPinsWhatWasFound) {
    const RunSpace space;
    const fs::path page = space.file("page.html");
    const fs::path pinned = space.file("pinned.properties");
    const Outcome run = scan(space, "cut-window", {"--html", page.string(), "--write", pinned.string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("files").at("page"), page.string());
    const std::string text = readBytes(page);
    EXPECT_THAT(text, HasSubstr("<svg"));
    EXPECT_THAT(text, HasSubstr("range ends"));
    const std::string properties = readBytes(pinned);
    EXPECT_THAT(properties, HasSubstr("# D1 (EMU2): setup margin"));
    EXPECT_THAT(properties, HasSubstr("calMode=manual\ndelays="));
}

TEST(Margin, PinsTheRateOfATargetWithSeveral) {
    const RunSpace space;
    const fs::path pinned = space.file("pinned.properties");
    const Outcome run = scan(space, "step-down", {"--write", pinned.string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(readBytes(pinned), HasSubstr("\nfrequencyLimit=50250000\n"));
}

TEST(Margin, ScansTheRateThatIsAskedFor) {
    const RunSpace space;
    const Outcome run = scan(space, "step-down", {"--rate", "25MHz"});
    ASSERT_EQ(run.code, 0) << run.errors;
    ASSERT_EQ(run.json.at("rates").size(), 1U);
    EXPECT_NEAR(run.json.at("rates").at(0).at("hertz").get<double>(), 25e6, 1e5);
    EXPECT_TRUE(run.json.at("rates").at(0).at("refusal").is_null());
    EXPECT_FALSE(run.json.at("rates").at(0).at("lanes").empty());
    EXPECT_EQ(run.json.at("verdict").at("hertz"), 50e6); // calibrated again as at the beginning
}

TEST(Margin, NamesARefusedRateWithItsReason) {
    const RunSpace space;
    const Outcome run = scan(space, "step-down", {"--rate", "118MHz"});
    ASSERT_EQ(run.code, 0) << run.errors;
    const json rate = run.json.at("rates").at(0);
    EXPECT_THAT(rate.at("refusal").get<std::string>(), HasSubstr("clock margin too low"));
    EXPECT_TRUE(rate.at("lanes").empty());
}

TEST(Margin, SaysWhatWouldBuyTheNextRate) {
    const RunSpace space;
    const Outcome run = space.run(
        {"margin", "--json", "--scenario", "step-down", "--error-rate", "1e-6", "--out", space.file("run").string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    const json rates = run.json.at("rates");
    ASSERT_EQ(rates.size(), 4U);
    EXPECT_TRUE(rates.at(1).at("next").is_null());
    const json next = rates.at(2).at("next");
    ASSERT_TRUE(next.is_object());
    EXPECT_THAT(next.at("limit").get<std::string>(), Not(IsEmpty()));
    EXPECT_THAT(run.json.at("answer").get<std::string>(), HasSubstr("\n114 MHz fails: "));
    EXPECT_EQ(run.json.at("verdict").at("hertz"), 50e6);
}

TEST(Margin, ARateThatTheTargetDoesNotHaveIsBadInput) {
    const RunSpace space;
    const Outcome run = scan(space, "two-pin", {"--rate", "33MHz"});
    EXPECT_EQ(run.code, 3) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("the target has no usable rate of 33 MHz; it has 25 MHz, 50 MHz"));
}

TEST(Margin, TwoScansAreComparedFromTheirRunsOrTheirJson) {
    const RunSpace space;
    const Outcome first = scan(space, "two-pin");
    ASSERT_EQ(first.code, 0) << first.errors;
    const fs::path printed = space.write("first.json", first.output);
    const std::string run = space.file("run").string();
    const Outcome runs = space.run({"diff", run, run, "--json", "--allow", "0"});
    ASSERT_EQ(runs.code, 0) << runs.errors << runs.output;
    ASSERT_EQ(runs.json.at("margins").at("rates").size(), 1U);
    EXPECT_TRUE(runs.json.at("equal").get<bool>());
    const Outcome mixed = space.run({"diff", printed.string(), run, "--json", "--allow", "0"});
    ASSERT_EQ(mixed.code, 0) << mixed.errors << mixed.output;
    EXPECT_TRUE(mixed.json.at("margins").at("shrink").is_null());
    std::string worse = first.output;
    const std::string errors = "\"errors\": 0";
    const std::size_t at = worse.find(errors);
    ASSERT_NE(at, std::string::npos);
    worse.replace(at, errors.size(), "\"errors\": 7");
    const Outcome lost = space.run({"diff", run, space.write("worse.json", worse).string(), "--allow", "3"});
    EXPECT_EQ(lost.code, 10) << lost.output << lost.errors;
    EXPECT_THAT(lost.output, HasSubstr("lost: 50 MHz is sound in A and not in B"));
}

TEST(Margin, ShowsAnswerTableAndPictureOnATerminal) {
    const RunSpace space;
    const Outcome run = space.run({"margin", "--quick", "--scenario", "two-pin", "--out", space.file("run").string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.output, testing::StartsWith("50 MHz is sound with "));
    EXPECT_THAT(run.output, HasSubstr("bound-only"));
    EXPECT_THAT(run.output, HasSubstr("verdict: "));
    EXPECT_THAT(run.output, Not(HasSubstr("?")));
}

} // namespace
