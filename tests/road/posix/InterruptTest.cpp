#include <gmock/gmock.h>

#include "tests/road/Orvtrace.h"

// Interrupting by the system's signal. On the other system a console event takes its place, which needs a console.

namespace {

TEST(Interrupt, StopsInOrderAndKeepsWhatWasCaptured) {
    const RunSpace space;
    // The recording would last ten minutes; four seconds are enough to calibrate and record for a while.
    const Outcome run = space.run({"--preserve-status", "-s", "INT", "4", orvtraceProgram().string(), "record", "--json",
                               "--scenario", "stop-by-user", "--seconds", "600", "--out", space.file("run").string(),
                               "--raw", space.file("out.bin").string()},
                              "/usr/bin/timeout");
    EXPECT_EQ(run.code, 7) << run.errors;
    ASSERT_TRUE(run.json.is_object()) << run.output;
    EXPECT_EQ(run.json.at("outcome"), "interrupted");
    EXPECT_EQ(run.json.at("recording").at("state"), "Stopped by user : upload complete");
    EXPECT_GT(run.json.at("recording").at("bytes").get<unsigned>(), 0U);
    EXPECT_EQ(readBytes(space.file("out.bin")).size(), run.json.at("recording").at("bytes").get<std::size_t>());
}

} // namespace
