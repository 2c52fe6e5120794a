#include "host/platform/Platform.h"
#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// Properties of the channel that no settings file has, from a user's file or --set to the unit.

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// The file of the user's properties for as long as the object lives.
class GivenFile {
public:
    explicit GivenFile(const std::filesystem::path& file) {
        host::setEnvironment("VX_TRACE_PROPERTIES", file.string());
    }
    ~GivenFile() { host::setEnvironment("VX_TRACE_PROPERTIES", ""); }
    GivenFile(const GivenFile&) = delete;
    GivenFile& operator=(const GivenFile&) = delete;
};

std::string sectionOf(const RunSpace& space, const std::string& scenario) {
    return readBytes(space.file("run") / ".VX-trace" / "data" / (scenario + ".cfg"));
}

double chosenHertz(const Outcome& run) {
    return run.json.at("calibration").at("hertz").get<double>();
}

TEST(Properties, ALimitSetByHandLowersTheRate) {
    const RunSpace space;
    const Outcome usual = space.record("clean");
    ASSERT_EQ(usual.code, 0) << usual.errors;
    EXPECT_NEAR(chosenHertz(usual), 50e6, 1e6);
    EXPECT_THAT(usual.json.at("properties"), IsEmpty());
    EXPECT_FALSE(usual.json.at("files").contains("properties"));
    EXPECT_THAT(sectionOf(space, "clean"), Not(HasSubstr("frequencyLimit")));

    const Outcome limited = space.record("clean", {"--force", "--set", "frequencyLimit=30e6"});
    ASSERT_EQ(limited.code, 0) << limited.errors;
    EXPECT_NEAR(chosenHertz(limited), 25e6, 1e6);
    EXPECT_EQ(limited.json.at("properties"), json::parse(R"([{"name": "frequencyLimit", "value": "30e6"}])"));
    EXPECT_THAT(readBytes(limited.json.at("files").at("properties").get<std::string>()),
                testing::StartsWith("frequencyLimit=30e6"));
    EXPECT_THAT(sectionOf(space, "clean"), HasSubstr("frequencyLimit=30e6"));

    const Outcome again = space.record("clean", {"--force"});
    EXPECT_THAT(again.json.at("properties"), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(space.file("run") / "clean.properties")) << "of the earlier run";
}

TEST(Properties, AFileOfTheUserLimitsTheRateToo) {
    const RunSpace space;
    const std::string text = "# my board\nfrequencyLimit=30e6\ncpi=500000\n";
    const auto mine = space.write("mine.txt", text);
    const GivenFile given(mine);
    const Outcome run = space.record("clean", {"--set", "cpi=1000000"});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_NEAR(chosenHertz(run), 25e6, 1e6);
    EXPECT_EQ(run.json.at("properties"), json::parse(R"([{"name": "frequencyLimit", "value": "30e6"},
                                                         {"name": "cpi", "value": "1000000"}])"));
    EXPECT_EQ(readBytes(mine), text);
}

TEST(Properties, ManualDelaysAreKept) {
    const RunSpace space;
    const Outcome run = space.run({"calibrate", "--json", "--scenario", "clean", "--out", space.file("run").string(),
                                   "--set", "calMode=manual", "--set", "delays=1,2,3,4,5"});
    ASSERT_EQ(run.code, 0) << run.errors;
    const json& pins = run.json.at("calibration").at("pins");
    ASSERT_EQ(pins.size(), 5U);
    for (int pin = 0; pin < 5; ++pin) {
        EXPECT_EQ(pins.at(static_cast<std::size_t>(pin)).at("delay"), pin + 1);
    }
    EXPECT_TRUE(run.json.at("calibration").at("frequencies").empty()) << "nothing was measured";
}

TEST(Properties, ResultsForAPersonNameThem) {
    const RunSpace space;
    const Outcome run =
        space.run({"soak", "--rounds", "1", "--out", space.file("run").string(), "--set", "cpi=500000"});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("with cpi=500000"));
    const Outcome calibrated = space.run({"calibrate", "--scenario", "one-pin", "--out", space.file("second").string(),
                                          "--set", "cpi=500000", "--set", "archive=1"});
    EXPECT_EQ(calibrated.code, 0) << calibrated.errors;
    EXPECT_THAT(calibrated.output, HasSubstr("with cpi=500000, archive=1"));
}

TEST(Properties, ABufferThatWrapsEndsNoRunThatWaitsForAFullOne) {
    const RunSpace space;
    const std::string wraps = "the property orvBufMode makes the unit's buffer wrap";
    const Outcome recorded = space.record("clean", {"--until-full", "--set", "orvBufMode=wrap"});
    EXPECT_EQ(recorded.code, 3) << recorded.errors;
    EXPECT_THAT(recorded.errors, HasSubstr(wraps));
    EXPECT_THAT(recorded.json.at("recordings"), IsEmpty());
    const Outcome soaked =
        space.run({"soak", "--rounds", "1", "--out", space.file("soak").string(), "--set", "orvBufMode=wrap"});
    EXPECT_EQ(soaked.code, 3) << soaked.errors;
    EXPECT_THAT(soaked.errors, HasSubstr(wraps));
    const Outcome usual = space.record("clean", {"--force", "--seconds", "0.2", "--set", "orvBufMode=wrap"});
    EXPECT_EQ(usual.code, 0) << usual.errors;
    EXPECT_THAT(usual.json.at("recordings").at(0).at("state").get<std::string>(), HasSubstr("Stopped by user"));
}

TEST(Properties, ABadFileLeavesNothing) {
    const RunSpace space;
    const auto mine = space.write("mine.txt", "\nfrequncyLimit=1\n");
    {
        const GivenFile given(mine);
        const Outcome run = space.record("clean");
        EXPECT_EQ(run.code, 3) << run.errors;
        EXPECT_THAT(withoutProgress(run.errors),
                    StartsWith("orvtrace: " + mine.string() +
                               ":2: there is no property 'frequncyLimit'; correct or remove the line"));
        EXPECT_FALSE(std::filesystem::exists(space.file("run")));
    }
    const GivenFile none(space.file("none.txt"));
    const Outcome run = space.record("clean");
    EXPECT_EQ(run.code, 3) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("the properties file " + space.file("none.txt").string() + " does not exist"));
    EXPECT_FALSE(std::filesystem::exists(space.file("run")));
}

} // namespace
