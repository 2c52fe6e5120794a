// Rules that Windows has built in and this back end implements.
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/support/failure/FailureText.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VX_QRS {
namespace {

void makeRunnable(const std::string& path) {
    chmod(path.c_str(), 0755);
}

std::uint32_t startSleeper(const std::string& program) {
    return uEnvironment::startProcess(program.c_str(), "60", uEnvironment::detachedMode);
}

TEST(ProcessRules, ZombieCountsAsGone) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    ASSERT_GT(child, 0);
    siginfo_t info{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0); // ended and not reaped
    EXPECT_FALSE(uEnvironment::processExists(static_cast<std::uint32_t>(child)));
    EXPECT_FALSE(uEnvironment::terminateProcess(static_cast<std::uint32_t>(child)));
    EXPECT_TRUE(uEnvironment::processHasEnded(static_cast<std::uint32_t>(child)));
    EXPECT_EQ(waitpid(child, nullptr, 0), child) << "the host's own child is the host's to reap";
}

TEST(ProcessRules, EndedChildIsReaped) {
    const auto child = static_cast<pid_t>(uEnvironment::startProcess("true", nullptr, uEnvironment::detachedMode));
    ASSERT_NE(child, 0);
    while (uEnvironment::processExists(static_cast<std::uint32_t>(child))) {
        uThread::sleep(1);
    }
    while (waitpid(child, nullptr, WNOHANG) == 0) { // still in the list during the query
        uEnvironment::findProcess("true", 0);
    }
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(ProcessRules, TerminatedChildIsReapedAtOnce) {
    const std::uint32_t child = startSleeper("sleep");
    ASSERT_NE(child, 0U);
    EXPECT_TRUE(uEnvironment::terminateProcess(child));
    EXPECT_FALSE(uEnvironment::terminateProcess(child));
    EXPECT_EQ(waitpid(static_cast<pid_t>(child), nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(ProcessRules, FailedStartLeavesNoChild) {
    EXPECT_EQ(uEnvironment::startProcess("orv_no_such_program", nullptr, uEnvironment::detachedMode), 0U);
    // No child of this process is waiting to be reaped.
    siginfo_t info{};
    const int result = waitid(P_ALL, 0, &info, WEXITED | WNOWAIT | WNOHANG);
    EXPECT_TRUE(result == -1 || info.si_pid == 0);
}

TEST(ProcessRules, StartedProcessHasASessionOfItsOwn) {
    const std::uint32_t child = startSleeper("sleep");
    ASSERT_NE(child, 0U);
    EXPECT_EQ(getsid(static_cast<pid_t>(child)), static_cast<pid_t>(child));
    EXPECT_NE(getsid(0), static_cast<pid_t>(child));
    uEnvironment::terminateProcess(child);
}

TEST(ProcessRules, NameIsComparedInFullAndNotCutAtFifteenCharacters) {
    const test_support::TemporaryFolder folder;
    // Other runs of this test may be active; the program of this one has its own name.
    const std::string number = std::to_string(getpid());
    const std::string name = "a_program_with_a_long_name_" + number;
    const std::string program = folder.file(name + ".exe");
    std::filesystem::copy_file("/bin/sleep", program);
    const std::uint32_t child = startSleeper(program);
    ASSERT_NE(child, 0U);
    EXPECT_EQ(uEnvironment::findProcess(("A_Program_With_A_Long_NAME_" + number + ".EXE").c_str(), child), child);
    EXPECT_EQ(uEnvironment::findProcess(name.c_str(), 0), child);
    EXPECT_EQ(uEnvironment::findProcess("a_program_with_", child), 0U);
    EXPECT_EQ(uEnvironment::findProcess("a_program_with_a_long_name_", child), 0U);
    std::filesystem::remove(program);
    EXPECT_EQ(uEnvironment::findProcess(name.c_str(), child), child) << "its file is gone";
    uEnvironment::terminateProcess(child);
}

TEST(ProcessRules, CurrentDirectoryPrecedesThePath) {
    const test_support::TemporaryFolder folder;
    const std::string program = folder.write("sleep", "#!/bin/sh\necho \"$@\" > out\n");
    makeRunnable(program);
    const uEnvironment::ScopedDirectoryChanger changer(folder.path.string().c_str());
    const std::uint32_t child = startSleeper("sleep");
    ASSERT_NE(child, 0U);
    while (uEnvironment::processExists(child)) {
        uThread::sleep(1);
    }
    EXPECT_EQ(folder.read("out"), "60\n");
}

TEST(ProcessRules, FolderOfTheNameIsPassedOver) {
    const test_support::TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("sleep"));
    const uEnvironment::ScopedDirectoryChanger changer(folder.path.string().c_str());
    const std::uint32_t child = startSleeper("sleep");
    EXPECT_NE(child, 0U);
    uEnvironment::terminateProcess(child);
}

TEST(WorkingDirectory, ARemovedOneIsAFailure) {
    const test_support::TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("gone"));
    std::string before;
    uEnvironment::getCurrentDirectory(before);
    std::filesystem::current_path(folder.file("gone"));
    std::filesystem::remove(folder.file("gone"));
    std::string directory;
    EXPECT_EQ(test_support::failureText<source_utilities_error>([&] { uEnvironment::getCurrentDirectory(directory); }),
              "failed to get current working directory");
    std::filesystem::current_path(before);
}

TEST(ProfileDirectory, HomeReplacesAnEmptyProfile) {
    const std::string profile = uEnvironment::get("USERPROFILE");
    const std::string home = uEnvironment::get("HOME");
    uEnvironment::set("USERPROFILE", "");
    uEnvironment::set("HOME", "/some/home");
    std::string directory;
    uEnvironment::getTraceDirectory(directory);
    EXPECT_EQ(directory, "/some/home/.VX-trace");
    uEnvironment::set("USERPROFILE", "/some/profile");
    uEnvironment::getTraceDirectory(directory);
    EXPECT_EQ(directory, "/some/profile/.VX-trace");
    uEnvironment::set("USERPROFILE", "");
    uEnvironment::set("HOME", "");
    EXPECT_EQ(test_support::failureText<source_utilities_error>([&] { uEnvironment::getTraceDirectory(directory); }),
              "failed to read environment variable \"USERPROFILE\"");
    uEnvironment::set("USERPROFILE", profile.c_str());
    uEnvironment::set("HOME", home.c_str());
}

TEST(Paths, BackslashesAreNormalised) {
    std::string path = "a\\b/c\\\\d";
    uEnvironment::normalisePath(path);
    EXPECT_EQ(path, "a/b/c/d");
}

TEST(Paths, ABackslashBelongsToTheNameOfADirectory) {
    const test_support::TemporaryFolder folder;
    const std::string home = folder.file("DOMAIN\\user");
    const std::string before = uEnvironment::get("USERPROFILE");
    uEnvironment::set("USERPROFILE", home.c_str());
    std::string directory;
    uEnvironment::getTraceDataDirectory(directory);
    uEnvironment::set("USERPROFILE", before.c_str());
    EXPECT_EQ(directory, home + "/.VX-trace/data");
    EXPECT_TRUE(folder.has("DOMAIN\\user/.VX-trace/data"));
    EXPECT_FALSE(folder.has("DOMAIN"));
}

} // namespace
} // namespace VX_QRS
