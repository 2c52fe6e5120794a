#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// Boards with a fault each: calibrated on the bench as a user does, then shown to the doctor.

namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

/// A scenario of four pins at 25 and 50 MHz, calibrated in a folder of its own; the doctor is asked in JSON.
class Board {
public:
    explicit Board(const std::string& more, const std::string& kind = "pti",
                   const std::string& frequencies = "25e6, 50e6") {
        const std::string scenario = "name = \"board\"\nabout = \"a board\"\ncpu = \"bench/app\"\nkind = \"" + kind +
                                     "\"\npins = 4\n[settings]\nstop_on_full = true\n[transmitter]\nfrequencies = [" +
                                     frequencies + "]\n" + more;
        const std::string file = space.write("board.toml", scenario).string();
        calibration = space.run({"calibrate", "--json", "--scenario", file, "--out", run()});
        doctor = space.run({"doctor", "--json", run()});
    }

    std::string run() const { return space.file("run").string(); }
    std::filesystem::path data() const { return space.file("run") / ".VX-trace" / "data"; }
    std::vector<std::string> kinds() const {
        std::vector<std::string> found;
        for (const auto& finding : doctor.json.at("findings")) {
            found.push_back(finding.at("kind"));
        }
        return found;
    }
    std::string page() const { return readBytes(space.file("run") / "board.report.html"); }

    RunSpace space;
    Outcome calibration;
    Outcome doctor;
};

using Kinds = std::vector<std::string>;

TEST(DoctorOn, AnOpenClock) {
    const Board board("[[wiring.pin]]\nemu = 0\nopen = true\n");
    EXPECT_EQ(board.calibration.code, 5);
    EXPECT_EQ(board.doctor.code, 10);
    EXPECT_EQ(board.kinds(), Kinds{"clock-suspect"});
    EXPECT_THAT(board.doctor.output, AllOf(HasSubstr("as with a clock of 50 MHz"), HasSubstr("at the same rate")));
    EXPECT_THAT(board.page(), HasSubstr("Check the CLK (EMU0) pin first"));
}

TEST(DoctorOn, NoiseOnAllWires) {
    const Board board("[wiring]\njitter = 3.0\n");
    EXPECT_EQ(board.doctor.code, 10);
    ASSERT_FALSE(board.kinds().empty());
    EXPECT_EQ(board.kinds().front(), "pins-noisy");
    EXPECT_THAT(board.kinds(), Not(Contains("pin-garbled")));
}

TEST(DoctorOn, AClockWithJitter) {
    const Board board("[[wiring.pin]]\nemu = 0\njitter = 2.5\n");
    EXPECT_EQ(board.doctor.code, 10);
    ASSERT_FALSE(board.kinds().empty());
    EXPECT_EQ(board.kinds().front(), "clock-suspect");
    EXPECT_THAT(board.doctor.output, Not(HasSubstr("The pins' lengths differ")));
}

TEST(DoctorOn, SwappedPinsOfAPatternThatIsTheSameOnAll) {
    const Board board("[wiring]\njitter = 0.2\n[[wiring.pin]]\nemu = 1\nswapped_with = 2\n", "tpiu", "50e6");
    EXPECT_EQ(board.calibration.code, board.doctor.code) << "the receiver does not check the words, the verdict does";
    EXPECT_THAT(board.kinds(), Not(Contains("pins-shorted")));
    // By the burst of the moment the alignment ends half a period off, or right, and then there is nothing to see.
    if (board.kinds().empty()) {
        EXPECT_THAT(board.doctor.output, HasSubstr("all of them fit the pattern f0"));
    } else {
        EXPECT_THAT(board.doctor.output, HasSubstr("A wire that is swapped with another's would look the same"));
    }
}

TEST(DoctorOn, ATransmitterThatFails) {
    // The only setting, in its measurement and in its attempt.
    for (const char* when : {"enablePort", "enablePort:2"}) {
        const Board board(std::string("fail = [\"") + when + "\"]\n", "pti", "50e6");
        EXPECT_EQ(board.calibration.code, 5) << when;
        EXPECT_EQ(board.doctor.code, 10) << when;
        EXPECT_EQ(board.kinds(), Kinds{"transmitter-failed"}) << when;
        EXPECT_THAT(board.doctor.output, HasSubstr("the transmitter failed: failed enabling port"));

        const RunSpace elsewhere;
        std::filesystem::copy(board.data(), elsewhere.file("files"), std::filesystem::copy_options::recursive);
        const Outcome alone = elsewhere.run({"doctor", elsewhere.file("files").string()});
        EXPECT_THAT(alone.output, Not(HasSubstr("no trace clock arrives"))) << "which the files alone do not prove";
    }
}

TEST(DoctorOn, FilesThatAreTooFewToJudgeBy) {
    const Board board("");
    EXPECT_EQ(board.doctor.code, 0) << board.doctor.output;
    EXPECT_EQ(board.doctor.json.at("judged"), true);
    for (const auto& entry : std::filesystem::directory_iterator(board.data())) {
        const std::string name = entry.path().filename().string();
        if (name.ends_with(".cap.txt") || name.ends_with(".ver")) {
            std::filesystem::remove(entry.path());
        }
    }
    const Outcome text = board.space.run({"doctor", board.run()});
    EXPECT_EQ(text.code, 3);
    EXPECT_THAT(text.output,
                HasSubstr("nothing found, but 2 kinds of files are missing: burst (.cap.txt) and verification (.ver)"));
    const Outcome json = board.space.run({"doctor", "--json", board.run()});
    EXPECT_EQ(json.json.at("outcome"), "bad-input");
    EXPECT_EQ(json.json.at("judged"), false);
    EXPECT_EQ(json.json.at("missing").size(), 2U);
}

TEST(DoctorOn, ARateAtWhichNothingIsMeasured) {
    const Board board("", "pti", "2e6, 5e6");
    EXPECT_EQ(board.calibration.code, 0) << board.calibration.errors;
    EXPECT_EQ(board.doctor.code, 0);
    EXPECT_THAT(board.doctor.output, HasSubstr("Below 10.1 MHz"));
    for (const auto& pin : board.calibration.json.at("calibration").at("pins")) {
        EXPECT_TRUE(pin.at("correlation").is_null()) << pin;
        EXPECT_TRUE(pin.at("correlationAtZero").is_null()) << pin;
        EXPECT_TRUE(pin.at("setupMargin").is_null()) << pin;
        EXPECT_EQ(pin.at("delay"), 0) << "what the unit holds; the report has 31 for the clock";
    }
    EXPECT_THAT(board.page(), AllOf(HasSubstr("keeps the unit's default settings"), Not(HasSubstr("0.000"))));
}

} // namespace
