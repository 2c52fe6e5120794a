#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

// Ctrl-C ends a run in order.

namespace {

class Interrupt : public testing::Test {
protected:
    void SetUp() override {
        if (!RunningProgram::canInterrupt()) {
            GTEST_SKIP() << "no console event can be sent here, as under Wine; there the test road_interrupt sends it "
                            "from outside";
        }
    }

    const RunSpace space;
};

/// Waits until the program has said it is in a phase, as long as that takes; the test's own time limit ends it.
void waitForPhase(const RunSpace& space, const std::string& phase) {
    while (readBytes(space.file("stderr.txt")).find("orvtrace: " + phase) == std::string::npos) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

TEST_F(Interrupt, StopsInOrderAndKeepsWhatWasCaptured) {
    const Outcome run = space.run({"record", "--json", "--scenario", "stop-by-user", "--seconds", "600", "--out",
                                   space.file("run").string(), "--raw", space.file("out.bin").string(), "--save",
                                   space.file("out.tdf").string()},
                                  {}, [&](RunningProgram& running) {
                                      waitForPhase(space, "recording");
                                      std::this_thread::sleep_for(std::chrono::milliseconds(500));
                                      EXPECT_TRUE(running.interrupt());
                                  });
    EXPECT_EQ(run.code, 7) << run.errors;
    ASSERT_TRUE(run.json.is_object()) << run.output;
    EXPECT_EQ(run.json.at("outcome"), "interrupted");
    EXPECT_EQ(run.json.at("recordings").back().at("state"), "Stopped by user : upload complete");
    EXPECT_GT(run.json.at("recordings").back().at("bytes").get<unsigned>(), 0U);
    EXPECT_EQ(readBytes(space.file("out.bin")).size(), run.json.at("recordings").back().at("bytes").get<std::size_t>());
    EXPECT_EQ(space.run({"tdf", "list", space.file("out.tdf").string()}).code, 0);
}

TEST_F(Interrupt, OfAVerificationLeavesWhatWasCompared) {
    const Outcome run = space.run(
        {"verify", "--json", "--scenario", "clean", "--error-rate", "1e-12", "--out", space.file("run").string()}, {},
        [&](RunningProgram& running) {
            waitForPhase(space, "verifying known words");
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
            EXPECT_TRUE(running.interrupt());
        });
    EXPECT_EQ(run.code, 7) << run.errors;
    ASSERT_TRUE(run.json.is_object()) << run.output;
    const nlohmann::json words = run.json.at("words").at(0);
    EXPECT_EQ(words.at("failure"), "interrupted");
    EXPECT_EQ(words.at("errors"), 0);
    EXPECT_GT(words.at("bits").get<std::uint64_t>(), 0U);
    const auto checks = nlohmann::json::parse(readBytes(run.json.at("files").at("checks").get<std::string>()));
    EXPECT_EQ(checks.at("words").at(0), words);
    EXPECT_EQ(checks.at("exitCode"), 7);
}

TEST_F(Interrupt, OfAScanOfMarginsLeavesWhatWasMeasuredAndACalibratedTarget) {
    const Outcome run = space.run(
        {"margin", "--json", "--scenario", "clean", "--error-rate", "1e-11", "--out", space.file("run").string()}, {},
        [&](RunningProgram& running) {
            waitForPhase(space, "50 MHz: scanning");
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
            EXPECT_TRUE(running.interrupt());
        });
    EXPECT_EQ(run.code, 7) << run.errors;
    ASSERT_TRUE(run.json.is_object()) << run.output;
    ASSERT_FALSE(run.json.at("rates").empty()) << run.output;
    const nlohmann::json scanned = run.json.at("rates").front();
    EXPECT_TRUE(scanned.at("interrupted").get<bool>());
    EXPECT_FALSE(scanned.at("lanes").at(0).at("points").empty());
    const Outcome after = space.run({"doctor", space.file("run").string()});
    EXPECT_THAT(after.output, testing::HasSubstr("50 MHz")) << after.output << after.errors;
}

TEST_F(Interrupt, OfASearchForValuesIsNoFaultOfTheBoard) {
    const Outcome run = space.run({"tune", "--json", "--scenario", "half-period-peak", "--error-rate", "1e-12", "--out",
                                   space.file("run").string()},
                                  {}, [&](RunningProgram& running) {
                                      waitForPhase(space, "tuning 100 MHz: verifying known words");
                                      std::this_thread::sleep_for(std::chrono::milliseconds(200));
                                      EXPECT_TRUE(running.interrupt());
                                  });
    EXPECT_EQ(run.code, 7) << run.errors;
    ASSERT_TRUE(run.json.is_object()) << run.output;
    EXPECT_EQ(run.json.at("error").at("text"), "interrupted during the search for values");
}

TEST_F(Interrupt, TheSecondEndsTheProgramAtOnceAndSaysSo) {
    // The server keeps the program waiting for longer than the two take, and then finds it gone.
    const auto scenario =
        space.write("slow.toml", "cpu = \"bench/app\"\n[[faults.at]]\nnth = 20\naction = \"late\"\nseconds = 3.0\n");
    const Outcome run = space.run({"record", "--scenario", scenario.string(), "--out", space.file("run").string()}, {},
                                  [&](RunningProgram& running) {
                                      waitForPhase(space, "calibrating");
                                      std::this_thread::sleep_for(std::chrono::milliseconds(500));
                                      EXPECT_TRUE(running.interrupt());
                                      std::this_thread::sleep_for(std::chrono::milliseconds(100));
                                      EXPECT_TRUE(running.interrupt());
                                  });
    EXPECT_EQ(run.code, -1) << run.errors;
    EXPECT_THAT(run.errors,
                testing::EndsWith("\norvtrace: ended at once by a second interrupt; what was captured may be "
                                  "lost\n"));
    std::this_thread::sleep_for(std::chrono::seconds(4));
}

TEST_F(Interrupt, IsAnsweredAtOnceWhileTheServerHangs) {
    const auto scenario = space.write("hang.toml", "cpu = \"bench/app\"\n[[faults.at]]\ncommand = \"r\"\nnth = 2\n"
                                                   "action = \"hang\"\n");
    const Outcome run =
        space.run({"record", "--scenario", scenario.string(), "--seconds", "0.1", "--out", space.file("run").string()},
                  {}, [&](RunningProgram& running) {
                      waitForPhase(space, "uploading");
                      EXPECT_TRUE(running.interrupt());
                      waitForPhase(space, "stopping");
                      EXPECT_TRUE(running.interrupt());
                  });
    EXPECT_NE(run.code, 7) << "ended at once";
}

TEST_F(Interrupt, BeforeTheCalibrationThereIsNone) {
    const auto scenario = space.write("late.toml", "cpu = \"bench/app\"\n[[faults.at]]\nnth = 1\naction = \"late\"\n"
                                                   "seconds = 3.0\n");
    const Outcome run =
        space.run({"record", "--json", "--scenario", scenario.string(), "--out", space.file("run").string()}, {},
                  [&](RunningProgram& running) {
                      waitForPhase(space, "starting the data server");
                      EXPECT_TRUE(running.interrupt());
                  });
    EXPECT_EQ(run.code, 7) << run.errors;
    EXPECT_EQ(run.json.at("error").at("text"), "interrupted before the calibration");
    EXPECT_THAT(run.errors, testing::HasSubstr("orvtrace: stopping as soon as the data server has started; "));
    EXPECT_THAT(run.errors, testing::Not(testing::HasSubstr("calibrating")));
}

TEST_F(Interrupt, EndsASeriesOfRecordings) {
    const Outcome run = space.run({"record", "--json", "--scenario", "stop-by-user", "--repeat", "9999", "--seconds",
                                   "0.1", "--out", space.file("run").string()},
                                  {}, [&](RunningProgram& running) {
                                      waitForPhase(space, "2 of 9999: recording");
                                      EXPECT_TRUE(running.interrupt());
                                  });
    EXPECT_EQ(run.code, 7) << run.errors;
    EXPECT_GE(run.json.at("recordings").size(), 2U);
}

TEST_F(Interrupt, EndsASoakAfterItsRound) {
    const Outcome run = space.run({"soak", "--json", "--seconds", "600", "--out", space.file("run").string()}, {},
                                  [&](RunningProgram& running) {
                                      waitForPhase(space, "soaking");
                                      while (!std::filesystem::exists(space.file("run") / ".VX-trace")) {
                                          std::this_thread::sleep_for(std::chrono::milliseconds(20));
                                      }
                                      EXPECT_TRUE(running.interrupt());
                                  });
    EXPECT_EQ(run.code, 7) << run.errors;
    EXPECT_GE(run.json.at("rounds").get<unsigned>(), 1U);
    EXPECT_EQ(run.json.at("wrongWords"), 0);
}

} // namespace
