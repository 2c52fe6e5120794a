#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

// Soaks of units that are sound, that have defective memory and that fail: what is counted, what is shown, how it ends.

namespace {

using nlohmann::json;
using testing::HasSubstr;

/// A unit on its own generator, four data pins, and what else is said of it.
std::filesystem::path unitWith(const RunSpace& space, const std::string& lines, const std::string& kind = "pti") {
    return space.write("unit.toml", "cpu = \"fpga\"\npins = 4\nkind = \"" + kind + "\"\n" + lines);
}

Outcome soak(const RunSpace& space, const std::filesystem::path& scenario, const std::string& rounds,
             std::vector<std::string> more = {}, const std::function<void(RunningProgram&)>& meanwhile = {}) {
    std::vector<std::string> arguments{"soak",     "--json", "--scenario", scenario.string(),
                                       "--rounds", rounds,   "--out",      space.file("run").string()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return space.run(arguments, {}, meanwhile ? meanwhile : [](RunningProgram&) {});
}

/// Where in the generator's stream each recording of the run begins, those that prove a calibration included.
std::vector<std::uint64_t> firstWords(const RunSpace& space) {
    std::vector<std::uint64_t> all;
    std::istringstream in(readBytes(space.file("run") / "bench" / "contents.jsonl"));
    for (std::string line; std::getline(in, line);) {
        all.push_back(json::parse(line).at("runs").at(0).at("first_word").get<std::uint64_t>());
    }
    return all;
}

/// What the generator sends for the word at a byte of a recording.
unsigned sentAt(std::uint64_t firstWord, std::uint64_t byte, bool packets) {
    constexpr unsigned ramp[] = {0x1234, 0x5678, 0x9ABC, 0xDEF0};
    const std::uint64_t word = byte / 2;
    return ramp[(firstWord + word - (packets ? word / 256 : 0)) % 4];
}

struct Wrong {
    unsigned round;
    std::uint64_t byte;      ///< the defective one
    unsigned bit;            ///< of it
    std::uint64_t firstWord; ///< of the round's recording
};

/// One entry of "firstWrongWords", for a bit that reads inverted.
json entryOf(const Wrong& wrong, bool packets = true) {
    const unsigned expected = sentAt(wrong.firstWord, wrong.byte, packets);
    return {{"round", wrong.round},         {"packet", wrong.byte / 512},
            {"word", wrong.byte % 512 / 2}, {"byte", wrong.byte / 2 * 2},
            {"expected", expected},         {"got", expected ^ (1U << (wrong.bit + (wrong.byte % 2 == 1 ? 8 : 0)))}};
}

TEST(Soak, CountsEveryWordOfEveryRound) {
    const RunSpace space;
    const Outcome run = soak(space, "self-test", "3");
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("outcome"), "done");
    EXPECT_EQ(run.json.at("rounds"), 3);
    EXPECT_EQ(run.json.at("words"), 3 * 512 * 255) << "a buffer of 256 kB in packets";
    EXPECT_EQ(run.json.at("wrongWords"), 0);
    EXPECT_EQ(run.json.at("firstWrongWords"), json::array());
    EXPECT_EQ(run.json.at("interrupted"), false);
    EXPECT_EQ(run.json.at("dataPins"), 4);
    EXPECT_EQ(run.json.at("scenario"), "self-test");
    EXPECT_EQ(run.json.at("bitsPerSecond"), 4e8);
    EXPECT_GT(run.json.at("wordsPerSecond").get<double>(), 0.0);
    EXPECT_TRUE(run.json.at("error").is_null());
    EXPECT_EQ(firstWords(space).size(), 6U) << "each round is calibrated, proved and recorded anew";
    EXPECT_EQ(withoutProgress(run.errors), "");
}

TEST(Soak, WithoutPacketsEveryWordIsOfTheGenerator) {
    const RunSpace space;
    const Outcome run = soak(space, unitWith(space, "", "tpiu"), "2");
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("words"), 2 * 512 * 256);
    EXPECT_EQ(run.json.at("wrongWords"), 0);
}

TEST(Soak, OtherPinCountsSendTheirOwnRamp) {
    const RunSpace space;
    for (const unsigned pins : {1U, 2U}) {
        const Outcome run = soak(space, "self-test", "1", {"--force", "--pins", std::to_string(pins)});
        EXPECT_EQ(run.code, 0) << run.errors;
        EXPECT_EQ(run.json.at("dataPins"), pins);
        EXPECT_EQ(run.json.at("words"), 512 * 255);
        EXPECT_EQ(run.json.at("wrongWords"), 0);
    }
}

TEST(Soak, RoundsFollowEachOtherUntilTheTimeIsOver) {
    const RunSpace space;
    const Outcome run = space.run({"soak", "--seconds", "1", "--out", space.file("run").string()});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("generator, which bypasses the wiring, scenario self-test, 4 data pins"));
    EXPECT_THAT(run.output, HasSubstr(" checked, 0 errors"));
    EXPECT_EQ(withoutProgress(run.errors), "");
}

// The cells are past the part that calibration reads, so it passes; they break in the second round.
TEST(Soak, WrongWordsAreCountedAndShownWithTheirPlace) {
    const RunSpace space;
    const auto scenario =
        unitWith(space, "[settings]\nbuffer = 1\n"
                        "[[unit.cell]]\nbyte = 0x40000\nbit = 0\nfrom_recording = 4\n"
                        "[[unit.cell]]\nbyte = 0x60201\nevery = 0x8000\nbit = 7\nfrom_recording = 4\n");
    const Outcome run = soak(space, scenario, "3");
    EXPECT_EQ(run.code, 10) << run.errors;
    EXPECT_EQ(run.json.at("outcome"), "faults-found");
    EXPECT_EQ(run.json.at("exitCode"), 10);
    EXPECT_EQ(run.json.at("rounds"), 3);
    EXPECT_EQ(run.json.at("words"), 3 * 1024 * 255);
    EXPECT_EQ(run.json.at("wrongWords"), 2 * 5) << "five places, two rounds";
    EXPECT_EQ(run.json.at("error").at("text"), "10 words came back wrong");
    const std::vector<std::uint64_t> first = firstWords(space);
    ASSERT_EQ(first.size(), 6U);
    json expected = json::array();
    for (const unsigned round : {2U, 3U}) {
        expected.push_back(entryOf({round, 0x40000, 0, first[2 * round - 1]}));
        for (const std::uint64_t byte : {0x60201U, 0x68201U, 0x70201U, 0x78201U}) {
            expected.push_back(entryOf({round, byte, 7, first[2 * round - 1]}));
        }
    }
    EXPECT_EQ(run.json.at("firstWrongWords"), expected);
}

TEST(Soak, WrongWordsAreFoundWithoutPacketsToo) {
    const RunSpace space;
    // The verification of this export is not checked: the cell may be in the part that calibration reads.
    const auto scenario = unitWith(space, "[[unit.cell]]\nbyte = 511\nevery = 0x20000\nbit = 3\n", "tpiu");
    const Outcome run = soak(space, scenario, "1");
    EXPECT_EQ(run.code, 10) << run.errors;
    EXPECT_EQ(run.json.at("words"), 512 * 256);
    const std::vector<std::uint64_t> first = firstWords(space);
    ASSERT_FALSE(first.empty());
    EXPECT_EQ(run.json.at("firstWrongWords"),
              json::array({entryOf({1, 511, 3, first.back()}, false), entryOf({1, 0x201FF, 3, first.back()}, false)}));
}

TEST(Soak, WrongWordsAreATableForAPerson) {
    const RunSpace space;
    const Outcome run =
        space.run({"soak", "--rounds", "1", "--scenario", "bad-memory", "--out", space.file("run").string()});
    EXPECT_EQ(run.code, 10) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("261120 words checked, 14 errors; "));
    EXPECT_THAT(run.output, HasSubstr("round  packet  word    byte  expected     got"));
    EXPECT_THAT(run.output, HasSubstr("    1     581    24  297520    0x"));
    EXPECT_THAT(withoutProgress(run.errors), testing::StartsWith("orvtrace: 14 words came back wrong"));
    EXPECT_EQ(lines(withoutProgress(run.errors)), 1U) << run.errors;
}

// What a scenario's author expects of a soak with one round.
TEST(Soak, ScenariosEndAsTheirAuthorSays) {
    const RunSpace space;
    unsigned tried = 0;
    const Outcome known = space.run({"scenarios", "--json"});
    for (const json& scenario : known.json.at("scenarios")) {
        const json& expect = scenario.at("expect");
        if (expect.at("soakOutcome").is_null()) {
            continue;
        }
        ++tried;
        const Outcome run = soak(space, scenario.at("name").get<std::string>(), "1", {"--force"});
        EXPECT_EQ(run.json.at("outcome"), expect.at("soakOutcome")) << scenario.at("name") << run.errors;
        EXPECT_EQ(run.json.at("words"), expect.at("soakWords"));
        EXPECT_EQ(run.json.at("wrongWords"), expect.at("soakWrongWords"));
    }
    EXPECT_GE(tried, 1U);
}

TEST(Soak, ADefectWhereCalibrationProvesItselfIsRefused) {
    const RunSpace space;
    const Outcome run = soak(space, unitWith(space, "[[unit.cell]]\nbyte = 0x3F000\nbit = 5\n"), "1");
    EXPECT_EQ(run.code, 5) << run.errors;
    EXPECT_EQ(run.json.at("outcome"), "calibration-refused");
    EXPECT_EQ(run.json.at("error").at("text"), "failed to calibrate channel : failed calibration pattern test");
    EXPECT_EQ(run.json.at("rounds"), 0);
    EXPECT_EQ(run.json.at("words"), 0);
    EXPECT_TRUE(run.json.at("dataPins").is_null());
    EXPECT_EQ(lines(withoutProgress(run.errors)), 1U) << run.errors;
}

// The cell breaks in the second round's recording, and the third round's calibration meets it.
TEST(Soak, ARefusalWeighsMoreThanWrongWordsAndTheRoundsBeforeAreKept) {
    const RunSpace space;
    const auto scenario = unitWith(space, "[[unit.cell]]\nbyte = 0x3F000\nbit = 5\nfrom_recording = 4\n");
    const Outcome run = soak(space, scenario, "100");
    EXPECT_EQ(run.code, 5) << run.errors;
    EXPECT_EQ(run.json.at("rounds"), 2);
    EXPECT_EQ(run.json.at("words"), 2 * 512 * 255);
    EXPECT_EQ(run.json.at("wrongWords"), 1);
    const std::vector<std::uint64_t> first = firstWords(space);
    ASSERT_EQ(first.size(), 5U);
    EXPECT_EQ(run.json.at("firstWrongWords"), json::array({entryOf({2, 0x3F000, 5, first[3]})}));
}

// The largest buffer, so that the unit is still recording when its error is asked for.
TEST(Soak, AnErrorOfTheUnitWhileItRecordsEndsIt) {
    const RunSpace space;
    const auto scenario = unitWith(space, "[settings]\nbuffer = 9\n[unit]\nerror_a = 0x8000\nerror_from = 2\n");
    const Outcome run = soak(space, scenario, "100");
    EXPECT_EQ(run.code, 6) << run.errors;
    EXPECT_EQ(run.json.at("outcome"), "recording-error");
    EXPECT_EQ(run.json.at("exitCode"), 6);
    EXPECT_EQ(run.json.at("error").at("text"), "Stopped by error : upload complete : orv receiver error -2147483648");
    EXPECT_EQ(run.json.at("rounds"), 0);
    EXPECT_EQ(lines(withoutProgress(run.errors)), 1U) << run.errors;
}

// A slow unit, so that it is still recording when its error is asked for.
TEST(Soak, AnErrorOfTheUnitWhileItProvesACalibrationRefusesTheChannel) {
    const RunSpace space;
    const Outcome run = soak(space, unitWith(space, "[unit]\nerror_a = 0x8000\n[server]\nspeed = 0.05\n"), "1");
    EXPECT_EQ(run.code, 5) << run.errors;
    EXPECT_EQ(run.json.at("error").at("text"), "failed to calibrate channel : orv receiver error -2147483648");
}

TEST(Soak, ASettingsFileThatWrapsIsRefused) {
    const RunSpace space;
    ASSERT_EQ(soak(space, "self-test", "1").code, 0);
    std::string text = readBytes(space.file("run") / "self-test.xml");
    const std::string key = "<is_stop_on_full>";
    ASSERT_NE(text.find(key + "true"), std::string::npos) << text;
    text.replace(text.find(key) + key.size(), 4, "false");
    const auto settings = space.write("wrapping.xml", text);
    const Outcome run = soak(space, "self-test", "1", {"--force", "--settings", settings.string()});
    EXPECT_EQ(run.code, 3) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("is_stop_on_full"));
}

class InterruptedSoak : public testing::Test {
protected:
    void SetUp() override {
        if (!RunningProgram::canInterrupt()) {
            GTEST_SKIP() << "no console event can be sent here, as under Wine; there the test road_interrupt sends it "
                            "from outside";
        }
    }

    /// Interrupts a soak without end once so many of the unit's recordings have ended.
    Outcome interrupted(const std::filesystem::path& scenario, std::size_t recordings) const {
        return soak(space, scenario, "1000000", {}, [&](RunningProgram& running) {
            while (lines(readBytes(space.file("run") / "bench" / "contents.jsonl")) < recordings) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
            EXPECT_TRUE(running.interrupt());
        });
    }

    const RunSpace space;
};

TEST_F(InterruptedSoak, KeepsItsRounds) {
    const Outcome run = interrupted("self-test", 4);
    EXPECT_EQ(run.code, 7) << run.errors;
    EXPECT_EQ(run.json.at("outcome"), "interrupted");
    EXPECT_EQ(run.json.at("interrupted"), true);
    EXPECT_EQ(run.json.at("error").at("text"), "interrupted; the rounds until then were in order");
    EXPECT_GE(run.json.at("rounds").get<unsigned>(), 2U);
    EXPECT_GT(run.json.at("words").get<unsigned>(), 512U * 255U);
    EXPECT_EQ(run.json.at("wrongWords"), 0);
}

TEST_F(InterruptedSoak, TellsOfWrongWordsFirst) {
    // The second recording, which is the first round's, has filled the buffer by then.
    const Outcome run = interrupted("bad-memory", 2);
    EXPECT_EQ(run.code, 10) << run.errors;
    EXPECT_EQ(run.json.at("outcome"), "faults-found");
    EXPECT_EQ(run.json.at("interrupted"), true);
    EXPECT_GE(run.json.at("wrongWords").get<unsigned>(), 14U);
    EXPECT_THAT(run.json.at("error").at("text").get<std::string>(),
                HasSubstr(" words came back wrong; interrupted by the user"));
}

} // namespace
