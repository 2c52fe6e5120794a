#include "tests/road/Orvtrace.h"
#include "tests/road/posix/Terminal.h"

#include <gmock/gmock.h>

// Ctrl-C at a terminal, which echoes the key, and a terminal that is closed.

namespace {

using testing::HasSubstr;
using testing::Not;

std::vector<std::string> longRecording(const RunSpace& space) {
    return {"record",
            "--scenario",
            "stop-by-user",
            "--seconds",
            "600",
            "--out",
            space.file("run").string(),
            "--raw",
            space.file("out.bin").string()};
}

TEST(OnATerminal, TheEchoOfCtrlCIsNotPartOfTheResult) {
    const RunSpace space;
    Terminal terminal(orvtraceProgram(), longRecording(space));
    ASSERT_TRUE(terminal.waitFor("\rrecording")) << terminal.shown();
    terminal.pressCtrlC();
    terminal.waitForEnd();
    EXPECT_EQ(terminal.exitCode(), 7) << terminal.shown();
    EXPECT_THAT(terminal.shown(), HasSubstr("\norvtrace: stopping the recording; interrupt again to end now\r\n"));
    const std::size_t result = terminal.shown().find("scenario stop-by-user,");
    ASSERT_NE(result, std::string::npos);
    EXPECT_THAT(terminal.lineBefore(result), Not(HasSubstr("^C")));
    EXPECT_GT(std::filesystem::file_size(space.file("out.bin")), 0U);
}

TEST(OnATerminal, TheResultBeginsALineWhereTheMessagesGoElsewhere) {
    const RunSpace space;
    Terminal terminal(orvtraceProgram(), longRecording(space), space.file("errors.txt"));
    while (readBytes(space.file("errors.txt")).find("orvtrace: recording") == std::string::npos) {
        usleep(20000);
    }
    terminal.pressCtrlC();
    terminal.waitForEnd();
    EXPECT_EQ(terminal.exitCode(), 7) << terminal.shown();
    EXPECT_THAT(readBytes(space.file("errors.txt")), HasSubstr("\norvtrace: stopping the recording; "));
    const std::size_t result = terminal.shown().find("scenario stop-by-user,");
    ASSERT_NE(result, std::string::npos);
    EXPECT_EQ(terminal.lineBefore(result), "");
}

TEST(OnATerminal, OneThatIsClosedEndsTheRecordingInOrder) {
    const RunSpace space;
    Terminal terminal(orvtraceProgram(), longRecording(space), space.file("errors.txt"));
    while (readBytes(space.file("errors.txt")).find("orvtrace: recording") == std::string::npos) {
        usleep(20000);
    }
    usleep(300000);
    terminal.close();
    EXPECT_EQ(terminal.exitCode(), 7) << readBytes(space.file("errors.txt"));
    EXPECT_THAT(readBytes(space.file("errors.txt")), HasSubstr("interrupted; what was captured is kept"));
    EXPECT_GT(std::filesystem::file_size(space.file("out.bin")), 0U);
}

} // namespace
