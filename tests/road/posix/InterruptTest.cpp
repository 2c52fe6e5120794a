#include <gmock/gmock.h>

#include "tests/road/Orvtrace.h"

// Interrupting by the system's signal. On the other system a console event takes its place, which needs a console.

namespace {

// Runs orvtrace in the background, waits until the receiver has opened its file of samples and a while longer, and
// sends the signal.
constexpr const char* interruptWhileRecording =
    "program=$1; folder=$2; shift 2\n"
    "\"$program\" \"$@\" &\n"
    "for i in $(seq 600); do [ -e \"$folder/.VX-trace/data/stop-by-user.bin\" ] && break; sleep 0.1; done\n"
    "sleep 0.5\n"
    "kill -INT $!\n"
    "wait $!\n";

TEST(Interrupt, StopsInOrderAndKeepsWhatWasCaptured) {
    const RunSpace space;
    const std::string folder = space.file("run").string();
    const Outcome run = space.run({"-c", interruptWhileRecording, "sh", orvtraceProgram().string(), folder, "record",
                                   "--json", "--scenario", "stop-by-user", "--seconds", "600", "--out", folder, "--raw",
                                   space.file("out.bin").string()},
                                  "/bin/sh");
    EXPECT_EQ(run.code, 7) << run.errors;
    ASSERT_TRUE(run.json.is_object()) << run.output;
    EXPECT_EQ(run.json.at("outcome"), "interrupted");
    EXPECT_EQ(run.json.at("recording").at("state"), "Stopped by user : upload complete");
    EXPECT_GT(run.json.at("recording").at("bytes").get<unsigned>(), 0U);
    EXPECT_EQ(readBytes(space.file("out.bin")).size(), run.json.at("recording").at("bytes").get<std::size_t>());
}

TEST(Interrupt, TheServerEndsWithTheProgram) {
    const RunSpace space;
    ASSERT_EQ(space.record("one-pin").code, 0);
    // The server inherits the run's folder in its environment.
    const Outcome left = space.run(
        {"-c", "sleep 1; grep -ls \"ORV_BENCH_DIR=$1\" /proc/[0-9]*/environ | wc -l", "sh", space.file("run").string()},
        "/bin/sh");
    EXPECT_EQ(left.output, "0\n");
}

} // namespace
