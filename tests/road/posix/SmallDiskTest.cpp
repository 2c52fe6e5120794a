#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <cstdlib>

// A disk with less than 5 MB of free space: the receiver writes no log. A library that is loaded with every program says
// that of every disk.

namespace {

using testing::HasSubstr;
using testing::Not;

class Preloaded {
public:
    Preloaded() { setenv("LD_PRELOAD", ORV_SMALL_DISK, 1); }
    ~Preloaded() { unsetenv("LD_PRELOAD"); }
    Preloaded(const Preloaded&) = delete;
    Preloaded& operator=(const Preloaded&) = delete;
};

TEST(SmallDisk, WithoutALogTheResultComesFromTheReceiverAndItsFiles) {
    const RunSpace space;
    const Outcome whole = space.record("step-down", {"--seconds", "0.1"});
    ASSERT_EQ(whole.code, 0) << whole.errors;
    Outcome run;
    {
        const Preloaded small;
        run = space.record("step-down", {"--seconds", "0.1", "--force"});
    }
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_FALSE(run.json.at("files").contains("log")) << run.output;
    EXPECT_THAT(withoutProgress(run.errors), HasSubstr("orvtrace: the receiver wrote no log"));
    EXPECT_EQ(run.json.at("notes").size(), 1U);
    const auto& calibration = run.json.at("calibration");
    EXPECT_EQ(calibration.at("setting"), whole.json.at("calibration").at("setting"));
    EXPECT_NEAR(calibration.at("hertz").get<double>(), 5e7, 1e6);
    EXPECT_EQ(calibration.at("pins").size(), 5U);
    ASSERT_EQ(calibration.at("attempts").size(), whole.json.at("calibration").at("attempts").size());
    EXPECT_EQ(calibration.at("attempts").at(0).at("reason"), "clock margin too low");
    EXPECT_EQ(calibration.at("attempts").at(0).at("position"), nullptr) << "only the log has it";
}

TEST(SmallDisk, GivenValuesAreStillCalledSo) {
    const RunSpace space;
    const Preloaded small;
    const Outcome run = space.run({"record", "--scenario", "tpiulite", "--out", space.file("run").string()});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("with fixed values, no frequency was measured"));
    EXPECT_THAT(run.output, Not(HasSubstr("\n  log ")));
}

} // namespace
