#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

namespace {

TEST(DataServer, EndsWithTheProgramThatStartedIt) {
    const RunSpace space;
    ASSERT_EQ(space.record("one-pin").code, 0);
    // The server inherits the run's folder in its environment.
    const Outcome left = space.run(
        {"-c", "sleep 1; grep -ls \"ORV_BENCH_DIR=$1\" /proc/[0-9]*/environ | wc -l", "sh", space.file("run").string()},
        "/bin/sh");
    EXPECT_EQ(left.output, "0\n");
}

} // namespace
