#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <fstream>
#include <regex>

// Calibrations that are used again, compared, or improved upon.

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Two settings, of which the faster one is kept; data 3 is EMU2.
std::string board(double skew, const std::string& rates = "25e6, 50e6") {
    return "cpu = \"bench/app\"\npins = 4\npin_map = \"0,1,2,3,4\"\n[settings]\nbuffer = 2\nstop_on_full = true\n"
           "[transmitter]\nfrequencies = [" +
           rates + "]\n[wiring]\njitter = 0.2\nseed = 5\n[[wiring.pin]]\nemu = 2\nskew = " + std::to_string(skew) +
           "\n";
}

Outcome record(const RunSpace& space, const std::filesystem::path& scenario, const char* out,
               std::vector<std::string> more = {}) {
    std::vector<std::string> arguments{"record",    "--json", "--scenario", scenario.string(),
                                       "--seconds", "0.05",   "--out",      space.file(out).string()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return space.run(arguments);
}

std::vector<int> delaysOf(const Outcome& run) {
    std::vector<int> delays;
    for (const json& pin : run.json.at("calibration").at("pins")) {
        delays.push_back(pin.at("delay").get<int>());
    }
    return delays;
}

/// The wires of these boards differ by 6 samples.
const std::regex sixSamplesLater(R"(D1 .EMU2. has drifted by (5\.[5-9]|6\.[0-5]) samples .* later since .*)");

TEST(EarlierCalibration, IsUsedAgainOnTheSameBoard) {
    const RunSpace space;
    const auto scenario = space.write("board.toml", board(1.5));
    const Outcome first = record(space, scenario, "first");
    ASSERT_EQ(first.code, 0) << first.errors;
    const Outcome second = record(space, scenario, "second", {"--calibration", space.file("first").string()});
    ASSERT_EQ(second.code, 0) << second.errors;
    const json earlier = second.json.at("earlierCalibration");
    EXPECT_EQ(earlier.at("reused"), true) << earlier;
    EXPECT_EQ(earlier.at("setting"), 1);
    EXPECT_EQ(delaysOf(second), delaysOf(first));
    EXPECT_EQ(second.json.at("verdict").at("kind"), "sound") << second.json.at("verdict");
    EXPECT_EQ(second.json.at("words").at(0).at("errors"), 0);
    // At the kept rate, although a receiver with given values knows of none.
    EXPECT_NEAR(truthOf(second).back().at("frequency").get<double>(), 50e6, 1.0);
    EXPECT_EQ(second.json.at("recordings").at(0).at("crc32"), first.json.at("recordings").at(0).at("crc32"));
    // A run that used one is one itself.
    const Outcome third = record(space, scenario, "third", {"--calibration", space.file("second").string()});
    EXPECT_EQ(third.json.at("earlierCalibration").at("reused"), true) << third.errors;
    EXPECT_EQ(delaysOf(third), delaysOf(first));
}

TEST(EarlierCalibration, OfABoardThatHasDriftedIsReplacedAndSaysWhatHasMoved) {
    const RunSpace space;
    ASSERT_EQ(record(space, space.write("board.toml", board(1.5)), "first").code, 0);
    const auto drifted = space.write("board.toml", board(7.5));
    const Outcome run = record(space, drifted, "second", {"--calibration", space.file("first").string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    const json earlier = run.json.at("earlierCalibration");
    EXPECT_EQ(earlier.at("reused"), false);
    ASSERT_EQ(earlier.at("reasons").size(), 1U);
    EXPECT_TRUE(std::regex_match(earlier.at("reasons").at(0).get<std::string>(), sixSamplesLater))
        << earlier.at("reasons");
    EXPECT_EQ(run.json.at("verdict").at("kind"), "sound") << "calibrated anew";
    EXPECT_EQ(run.json.at("calibration").at("setting"), 1);
    const Outcome strict = record(space, drifted, "third", {"--calibration", space.file("first").string(), "--strict"});
    EXPECT_EQ(strict.code, 10);
    EXPECT_THAT(strict.errors, HasSubstr("has drifted by"));
    EXPECT_THAT(strict.json.at("recordings"), IsEmpty());
}

TEST(EarlierCalibration, OfTheColdBoardNamesTheLaneThatIsLateWhenItIsWarm) {
    const RunSpace space;
    ASSERT_EQ(record(space, "late-lane-cold", "cold").code, 0);
    const Outcome warm = record(space, "late-lane", "warm", {"--calibration", space.file("cold").string()});
    ASSERT_EQ(warm.code, 0) << warm.errors;
    const json earlier = warm.json.at("earlierCalibration");
    EXPECT_EQ(earlier.at("reused"), false);
    EXPECT_TRUE(std::regex_match(earlier.at("reasons").at(0).get<std::string>(), sixSamplesLater))
        << earlier.at("reasons");
    EXPECT_EQ(warm.json.at("verdict").at("kind"), "sound") << "calibrated anew";
    const Outcome moved = space.run({"diff", "--json", space.file("cold").string(), space.file("warm").string()});
    ASSERT_EQ(moved.code, 0) << moved.errors;
    EXPECT_NEAR(moved.json.at("lanes").at(2).at("moved").get<double>(), 6.0, 0.5);
}

TEST(EarlierCalibration, OfAnotherRateOrNoneIsNotUsed) {
    const RunSpace space;
    ASSERT_EQ(record(space, space.write("board.toml", board(0.0)), "first").code, 0);
    const auto slower = space.write("board.toml", board(0.0, "25e6, 40e6"));
    const Outcome run = record(space, slower, "second", {"--calibration", space.file("first").string()});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.json.at("earlierCalibration").at("reasons").at(0).get<std::string>(),
                HasSubstr("the clock has 40 MHz instead of 50 MHz"));
    const auto fewer = space.write("board.toml", board(0.0, "25e6"));
    const Outcome without = record(space, fewer, "third", {"--calibration", space.file("first").string()});
    EXPECT_THAT(without.json.at("earlierCalibration").at("reasons").at(0).get<std::string>(),
                HasSubstr("the target has no setting 1"));
    EXPECT_EQ(without.json.at("verdict").at("kind"), "sound");
}

TEST(EarlierCalibration, ThatIsNoneIsBadInput) {
    const RunSpace space;
    ASSERT_EQ(record(space, "too-fast", "refused").code, 5);
    const Outcome run = record(space, "clean", "run", {"--calibration", space.file("refused").string()});
    EXPECT_EQ(run.code, 3) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("cannot be used again"));
    EXPECT_FALSE(std::filesystem::exists(space.file("run")));
    const Outcome both =
        record(space, "clean", "run", {"--calibration", space.file("refused").string(), "--set", "calMode=manual"});
    EXPECT_EQ(both.code, 3) << both.errors;
}

TEST(Diff, OfTheSameBoardIsEqualAndOfAMovedWireNamesIt) {
    const RunSpace space;
    ASSERT_EQ(record(space, space.write("a.toml", board(1.5)), "a").code, 0);
    std::string otherNoise = board(1.5);
    otherNoise.replace(otherNoise.find("seed = 5"), 8, "seed = 6");
    ASSERT_EQ(record(space, space.write("a.toml", otherNoise), "b").code, 0);
    ASSERT_EQ(record(space, space.write("a.toml", board(4.5)), "c").code, 0);
    const std::string a = space.file("a").string();
    const Outcome equal = space.run({"diff", a, space.file("b").string(), "--json", "--allow", "2"});
    ASSERT_EQ(equal.code, 0) << equal.errors;
    EXPECT_EQ(equal.json.at("equal"), true) << equal.json.at("differences");
    const Outcome moved =
        space.run({"diff", a, space.file("c").string(), "--json", "--html", space.file("page.html").string()});
    ASSERT_EQ(moved.code, 0) << moved.errors;
    EXPECT_EQ(moved.json.at("equal"), false);
    EXPECT_NEAR(moved.json.at("lanes").at(2).at("moved").get<double>(), 3.0, 0.6);
    EXPECT_NEAR(moved.json.at("lanes").at(1).at("moved").get<double>(), 0.0, 0.6);
    const std::string page = readBytes(space.file("page.html"));
    EXPECT_THAT(page, HasSubstr("D1 (EMU2) comes "));
    EXPECT_EQ(space.run({"diff", a, a, "--html", space.file("page.html").string()}).code, 8) << "it exists";
}

TEST(Diff, AMarginThatShrankByMoreThanAllowedIsCodeTen) {
    const RunSpace space;
    ASSERT_EQ(record(space, space.write("a.toml", board(1.5)), "a").code, 0);
    std::string noisy = board(1.5);
    noisy += "late_fall = 3.0\n";
    ASSERT_EQ(record(space, space.write("a.toml", noisy), "b", {"--set", "stretches=0,0,0,0,0"}).code, 0);
    const Outcome tight = space.run({"diff", space.file("a").string(), space.file("b").string(), "--allow", "0"});
    EXPECT_EQ(tight.code, 10) << tight.output;
    EXPECT_THAT(tight.output, HasSubstr("shrank most, by "));
    EXPECT_EQ(space.run({"diff", space.file("a").string(), space.file("b").string(), "--allow", "14"}).code, 0);
}

TEST(Tune, FindsTheValuesOfALaneThatTheReceiverTakesForItsNeighbour) {
    const RunSpace space;
    const Outcome before = space.record("half-period-peak");
    EXPECT_NE(before.code, 0) << "the receiver's own calibration does not end sound";
    const Outcome tuned = space.run({"tune", "--json", "--scenario", "half-period-peak", "--error-rate", "1e-7",
                                     "--out", space.file("t").string()});
    ASSERT_EQ(tuned.code, 0) << tuned.errors;
    const json tune = tuned.json.at("tune");
    EXPECT_EQ(tune.at("needed"), true);
    EXPECT_EQ(tune.at("kept"), 0);
    EXPECT_EQ(tune.at("settings").at(0).at("outcome"), "sound") << tune;
    EXPECT_THAT(tune.at("settings").at(0).at("rule").get<std::string>(), HasSubstr("its "));
    EXPECT_EQ(tuned.json.at("verdict").at("kind"), "sound") << tuned.json.at("verdict");
    const json last = truthOf(tuned).back();
    for (const json& pin : last.at("pins")) {
        EXPECT_EQ(pin.at("slot"), 0) << "every lane in the same slot";
        EXPECT_LT(pin.at("error_rate").get<double>(), 1e-9);
    }
    const Outcome used = space.run({"record", "--json", "--scenario", "half-period-peak", "--seconds", "0.05", "--out",
                                    space.file("r").string(), "--calibration", space.file("t").string()});
    ASSERT_EQ(used.code, 0) << used.errors;
    EXPECT_EQ(used.json.at("earlierCalibration").at("reused"), true) << used.json.at("earlierCalibration");
    EXPECT_EQ(delaysOf(used), delaysOf(tuned));
}

TEST(Tune, LeavesASoundCalibrationAsItIs) {
    const RunSpace space;
    const Outcome run = space.record("clean", {"--tune", "--error-rate", "1e-6", "--verify", "--seconds", "0.05"});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("tune").at("needed"), false) << run.json.at("tune");
    EXPECT_TRUE(run.json.at("tune").at("kept").is_null());
    EXPECT_EQ(run.json.at("calibration").at("setting"), 1);
}

TEST(Tune, OfATargetWithoutAUsableRateEndsAsItsCalibration) {
    const RunSpace space;
    const Outcome run = space.run({"tune", "--json", "--scenario", "too-fast", "--out", space.file("t").string()});
    EXPECT_EQ(run.code, 5) << run.errors;
    EXPECT_TRUE(run.json.at("tune").is_null());
}

} // namespace
