#include "host/session/StartTurn.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "toolkit/ExitCode.h"

#include <gmock/gmock.h>

#include <atomic>
#include <optional>
#include <thread>

// Runs on the bench start their data servers one after the other.

namespace host {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

class StartTurnTest : public testing::Test {
protected:
    ProgressLine quiet{ProgressStyle::Quiet};
    const test_support::TemporaryFolder folder;
    const std::filesystem::path file = folder.path / "x.lock";
};

TEST_F(StartTurnTest, OneAtATimeHoldsTheFile) {
    FileLock first(file);
    FileLock second(file);
    ASSERT_TRUE(first.usable());
    ASSERT_TRUE(second.usable());
    EXPECT_TRUE(first.tryLock());
    EXPECT_FALSE(second.tryLock());
}

TEST_F(StartTurnTest, TheEndOfOneIsTheTurnOfTheNext) {
    std::optional<StartTurn> first(std::in_place, quiet, file);
    std::atomic<bool> ended{false};
    std::thread other([&] {
        const StartTurn second(quiet, file);
        EXPECT_TRUE(ended) << "they were at it at once";
    });
    std::this_thread::sleep_for(100ms);
    ended = true;
    first.reset();
    other.join();
}

TEST_F(StartTurnTest, AWaitIsReportedAndBounded) {
    const StartTurn first(quiet, file);
    testing::internal::CaptureStderr();
    ProgressLine line(ProgressStyle::Plain);
    try {
        const StartTurn second(line, file, 1200ms);
        ADD_FAILURE() << "both have the turn";
    } catch (const toolkit::Failure& failure) {
        EXPECT_EQ(failure.code, toolkit::ExitCode::NoSystem);
        EXPECT_EQ(std::string(failure.what()), "another run of orvtrace has held " + file.string() +
                                                   " for too long; end the run that hangs, or wait for it");
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("orvtrace: waiting for other runs to start their data servers"));
}

TEST_F(StartTurnTest, AShortWaitIsNotReported) {
    const StartTurn first(quiet, file);
    testing::internal::CaptureStderr();
    ProgressLine line(ProgressStyle::Plain);
    EXPECT_THROW(StartTurn(line, file, 0ms), toolkit::Failure);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(StartTurnTest, WithoutAPlaceForTheFileThereAreNoTurns) {
    const std::filesystem::path nowhere = folder.path / "no" / "x.lock";
    EXPECT_FALSE(FileLock(nowhere).usable());
    EXPECT_NO_THROW({
        const StartTurn first(quiet, nowhere);
        const StartTurn second(quiet, nowhere, 0ms);
    });
}

TEST_F(StartTurnTest, TheFileIsTheUsersAndInTheTemporaryFolder) {
    const std::filesystem::path mine = userLockFile("orvtrace-test");
    EXPECT_EQ(mine.parent_path() / "x", std::filesystem::temp_directory_path() / "x");
    EXPECT_THAT(mine.filename().string(), testing::AllOf(HasSubstr("orvtrace-test"), testing::EndsWith(".lock")));
}

} // namespace
} // namespace host
