#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>

// Verifications with known words: what they cost, what they find, and that trace is none the worse for them.

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// With the pin map "0,1,2,3,4" EMU4 carries the top bit, so that it is the first data pin.
constexpr const char* ideal = "cpu = \"bench/app\"\npins = 4\npin_map = \"0,1,2,3,4\"\n";
constexpr const char* fiftyMegahertz = "[transmitter]\nfrequencies = [50e6]\n";

Outcome verify(const RunSpace& space, const std::string& scenario, const std::string& rate) {
    return space.run(
        {"verify", "--json", "--scenario", scenario, "--error-rate", rate, "--out", space.file("run").string()});
}

/// The contents of the bench's recordings, verifications included.
std::vector<std::string> patternsOf(const Outcome& run) {
    std::vector<std::string> all;
    for (const json& each : truthOf(run)) {
        all.push_back(each.at("pattern").get<std::string>());
    }
    return all;
}

std::vector<std::string> whensOf(const Outcome& run) {
    std::vector<std::string> all;
    for (const json& each : run.json.at("words")) {
        all.push_back(each.at("when").get<std::string>());
    }
    return all;
}

std::vector<std::string> lanesOf(const json& words) {
    std::vector<std::string> all;
    for (const json& each : words.at("lanes")) {
        all.push_back(each.at("lane").get<std::string>());
    }
    return all;
}

TEST(Verify, OnACleanWireNoBitIsWrongAndTheAskedRateIsExcluded) {
    const RunSpace space;
    const Outcome run = verify(space, "clean", "1e-6");
    ASSERT_EQ(run.code, 0) << run.errors;
    ASSERT_EQ(run.json.at("words").size(), 1U);
    const json words = run.json.at("words").at(0);
    EXPECT_EQ(words.at("when"), "alone");
    EXPECT_EQ(words.at("pattern"), "walk and a5");
    EXPECT_EQ(words.at("errors"), 0);
    EXPECT_GE(words.at("bits"), 3'000'000);
    EXPECT_LE(words.at("errorRateBelow"), 1e-6);
    EXPECT_TRUE(words.at("failure").is_null());
    // The files of the calibration, what was checked, and no recording.
    const std::filesystem::path checks = run.json.at("files").at("checks").get<std::string>();
    EXPECT_EQ(json::parse(readBytes(checks)).at("words"), run.json.at("words"));
    EXPECT_FALSE(std::filesystem::exists(checks.parent_path() / "clean.bin"));
    EXPECT_TRUE(std::filesystem::exists(checks.parent_path() / "clean.freq1.ver"));
}

TEST(Verify, TheTextSaysWhatIsExcluded) {
    const RunSpace space;
    const Outcome run =
        space.run({"verify", "--scenario", "two-pin", "--error-rate", "1e-5", "--out", space.file("run").string()});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("bits compared, none wrong; error rate below "));
    EXPECT_THAT(run.errors, HasSubstr("orvtrace: verifying known words"));
}

TEST(Verify, EveryNumberOfPinsHasAPattern) {
    for (const char* scenario : {"one-pin", "two-pin"}) {
        const RunSpace space;
        const Outcome run = verify(space, scenario, "1e-5");
        EXPECT_EQ(run.code, 0) << run.errors;
        EXPECT_GE(run.json.at("words").at(0).at("bits"), 300'000) << scenario;
    }
}

TEST(Verify, TheUnitsOwnGeneratorIsCompared) {
    const RunSpace space;
    const Outcome run = verify(space, "self-test", "1e-6");
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("words").at(0).at("pattern"), "ramp1");
    EXPECT_EQ(run.json.at("words").at(0).at("errors"), 0);
}

TEST(Verify, ADefectPastTheReceiversOwnVerificationIsFoundOnItsLane) {
    const RunSpace space;
    // Bit 13 of a word, past the first 256 KiB: of four lanes the third one.
    const auto scenario =
        space.write("cell.toml", std::string(ideal) + "[settings]\nbuffer = 1\nstop_on_full = true\n" + fiftyMegahertz +
                                     "[[unit.cell]]\nbyte = 0x50001\nbit = 5\n");
    const Outcome run = verify(space, scenario.string(), "4e-7");
    EXPECT_EQ(run.code, 10) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("2 errors; D1: 2")) << "one with each pattern";
    const json words = run.json.at("words").at(0);
    EXPECT_EQ(words.at("errors"), 2);
    EXPECT_THAT(lanesOf(words), ElementsAre("data3"));
    EXPECT_EQ(words.at("firstDamage").at("place").at("byte"), 0x50000);
}

TEST(Verify, ATpiuliteExportIsNotVerifiedAndSaysSo) {
    const RunSpace space;
    const Outcome run = verify(space, "tpiulite", "1e-5");
    EXPECT_EQ(run.code, 1) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("none compared, a tpiulite export takes no order for a test pattern"));
    const Outcome record = space.record("tpiulite", {"--verify", "--force"});
    EXPECT_EQ(record.code, 0) << "trace was recorded";
    EXPECT_THAT(whensOf(record), ElementsAre("before", "after"));
    EXPECT_EQ(record.json.at("words").at(1).at("bits"), 0);
}

TEST(BriefVerification, IsMadeWhereTheReceiverLooksAtNoWords) {
    const RunSpace space;
    const Outcome run = space.record("tpiu");
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(whensOf(run), ElementsAre("before"));
    EXPECT_EQ(run.json.at("words").at(0).at("errors"), 0);
    EXPECT_GE(run.json.at("words").at(0).at("bits"), 2'000'000);
    EXPECT_EQ(patternsOf(run).back(), "none") << "the recording is of trace";
}

TEST(BriefVerification, IsLeftOutOnRequestAndOfOtherExports) {
    const RunSpace space;
    const Outcome without = space.record("tpiu", {"--no-verify"});
    EXPECT_EQ(without.code, 0) << without.errors;
    EXPECT_THAT(without.json.at("words"), IsEmpty());
    const Outcome pti = space.record("clean", {"--force"});
    EXPECT_EQ(pti.code, 0) << pti.errors;
    EXPECT_THAT(pti.json.at("words"), IsEmpty());
}

TEST(BriefVerification, FindsPinsThatCarryEachOthersBits) {
    const RunSpace space;
    const auto scenario = space.write("swapped.toml", std::string(ideal) + "kind = \"tpiu\"\n" + fiftyMegahertz +
                                                          "[[wiring.pin]]\nemu = 1\nswapped_with = 3\n");
    const Outcome run =
        space.run({"calibrate", "--json", "--scenario", scenario.string(), "--out", space.file("run").string()});
    EXPECT_EQ(run.code, 10) << run.errors;
    EXPECT_TRUE(run.json.at("calibration").at("calibrated").get<bool>()) << "the receiver has not noticed";
    EXPECT_THAT(lanesOf(run.json.at("words").at(0)), ElementsAre("data2", "data4"));
}

TEST(VerifiedCalibration, FindsTheLaneWithNoise) {
    const RunSpace space;
    const auto scenario = space.write(
        "noise.toml", std::string(ideal) + "kind = \"tpiu\"\n[settings]\nbuffer = 4\nstop_on_full = true\n" +
                          fiftyMegahertz + "[[wiring.pin]]\nemu = 2\nglitch_every = 3e6\nglitch_length = 10\n");
    const Outcome run = space.run({"calibrate", "--json", "--scenario", scenario.string(), "--verify", "--error-rate",
                                   "1e-7", "--out", space.file("run").string()});
    EXPECT_EQ(run.code, 10) << run.errors;
    ASSERT_EQ(run.json.at("words").size(), 1U);
    const json words = run.json.at("words").at(0);
    EXPECT_GT(words.at("errors"), 0);
    ASSERT_THAT(lanesOf(words), ElementsAre("data3"));
    const json lane = words.at("lanes").at(0);
    EXPECT_EQ(lane.at("errors"), words.at("errors"));
}

TEST(VerifiedRecording, AWireThatDriftsMeanwhileIsFoundAfterIt) {
    const RunSpace space;
    const auto scenario = space.write(
        "drift.toml", std::string(ideal) + "[settings]\nbuffer = 9\nstop_on_full = true\n" + fiftyMegahertz +
                          "[wiring]\ndrift_stays = true\n[[wiring.pin]]\nemu = 2\ndrift = 60\n");
    const Outcome run = space.record(scenario.string(), {"--seconds", "0.3", "--verify", "--error-rate", "1e-5"});
    EXPECT_EQ(run.code, 10) << run.errors;
    ASSERT_THAT(whensOf(run), ElementsAre("before", "after"));
    EXPECT_EQ(run.json.at("words").at(0).at("errors"), 0);
    const json after = run.json.at("words").at(1);
    EXPECT_GT(after.at("errors"), 0);
    EXPECT_THAT(lanesOf(after), ElementsAre("data3"));
    // By how much it has drifted depends on how long the run took.
    const json last = truthOf(run).back();
    const auto isOneSlotAway = [](const json& pin) { return std::abs(pin.at("slot").get<int>()) == 1; };
    if (std::ranges::any_of(last.at("pins"), isOneSlotAway)) {
        EXPECT_EQ(after.at("firstDamage").at("kind"), "drift-late");
    }
    EXPECT_THAT(run.errors, HasSubstr("known words after the recording: "));
}

TEST(VerifiedRecording, TraceIsTheSameAsWithoutAVerification) {
    const RunSpace space;
    const Outcome plain = space.record("clean", {"--raw", space.file("plain.bin").string(), "--until-full"});
    ASSERT_EQ(plain.code, 0) << plain.errors;
    const Outcome verified = space.record("clean", {"--raw", space.file("verified.bin").string(), "--until-full",
                                                    "--verify", "--error-rate", "1e-5", "--force"});
    ASSERT_EQ(verified.code, 0) << verified.errors;
    const std::string trace = readBytes(space.file("plain.bin"));
    EXPECT_EQ(trace, readBytes(space.file("verified.bin")));
    EXPECT_EQ(trace, readBytes(verified.json.at("files").at("samples").get<std::string>()))
        << "the receiver's own file is of trace again";
    const std::vector<std::string> patterns = patternsOf(verified);
    ASSERT_GE(patterns.size(), 5U);
    EXPECT_EQ(std::vector<std::string>(patterns.end() - 5, patterns.end()),
              (std::vector<std::string>{"walk", "a5", "none", "walk", "a5"}));
    // What is said of the recording later is not about the verification after it.
    const Outcome check = space.run({"check", "--json", verified.json.at("files").at("samples").get<std::string>()});
    EXPECT_EQ(check.code, 0) << check.output;
}

TEST(VerifiedRecording, TheStreamOfEachRecordingIsChecked) {
    const RunSpace space;
    const Outcome run = space.record("clean", {"--repeat", "2", "--seconds", "0.05"});
    ASSERT_EQ(run.code, 0) << run.errors;
    const json checks = json::parse(readBytes(run.json.at("files").at("checks").get<std::string>()));
    EXPECT_EQ(checks.at("exitCode"), 0);
    ASSERT_EQ(checks.at("recordings").size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        const json recording = checks.at("recordings")[i];
        EXPECT_EQ(recording.at("samples"), run.json.at("recordings")[i].at("samples"));
        EXPECT_EQ(recording.at("stream").at("verdict"), "sound") << recording;
    }
}

TEST(VerifiedRecording, AFailedCalibrationLeavesItsChecksToo) {
    const RunSpace space;
    const Outcome run = space.record("too-fast", {"--verify"});
    EXPECT_EQ(run.code, 5) << run.errors;
    const json checks = json::parse(readBytes(run.json.at("files").at("checks").get<std::string>()));
    EXPECT_EQ(checks.at("exitCode"), 5);
    EXPECT_THAT(checks.at("words"), IsEmpty());
}

TEST(Verify, WrongUsageIsCodeTwo) {
    const RunSpace space;
    EXPECT_EQ(space.record("clean", {"--error-rate", "1e-6"}).code, 2) << "it needs --verify";
    EXPECT_EQ(space.record("clean", {"--verify", "--no-verify"}).code, 2);
    EXPECT_EQ(space.record("clean", {"--verify", "--error-rate", "0"}).code, 2);
}

} // namespace
