#include "host/session/Receiver.h"
#include "host/session/Recording.h"
#include "rcvr/framework/cZarnError.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/host/session/ScriptedChannel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace host {
namespace {

constexpr std::uint64_t digits = 0x3837363534333231; ///< "12345678" in a file

TEST(RunRecording, IsStoppedAfterItsSecondsAndWaitsForTheUpload) {
    ScriptedChannel channel;
    channel.script = {ScriptedChannel::recording()};
    channel.afterStop = {ScriptedChannel::ended(11, "Stopped by user"),
                         ScriptedChannel::ended(6, "Stopped by user : uploading data :  50% complete"),
                         ScriptedChannel::ended(11, "Stopped by user : upload complete")};
    RecordingPlan plan;
    plan.seconds = 0.05;
    ProgressLine line(ProgressStyle::Quiet);
    const RecordingEnd end = runRecording(channel, plan, line);
    EXPECT_EQ(channel.starts, 1U);
    EXPECT_GE(channel.stops, 1U);
    EXPECT_EQ(end.state, "Stopped by user : upload complete");
    EXPECT_FALSE(end.failed);
    EXPECT_GE(end.seconds, 0.05);
}

TEST(RunRecording, UntilFullNeverStopsItself) {
    ScriptedChannel channel;
    channel.script.assign(20, ScriptedChannel::recording());
    channel.script.push_back(ScriptedChannel::ended(8, "Stopped by buffer full : upload complete"));
    RecordingPlan plan;
    plan.seconds = 0.0;
    plan.untilFull = true;
    ProgressLine line(ProgressStyle::Quiet);
    EXPECT_EQ(runRecording(channel, plan, line).state, "Stopped by buffer full : upload complete");
    EXPECT_EQ(channel.stops, 0U);
}

TEST(RunRecording, TheTriggerFileTakesThePlaceOfTheStop) {
    const test_support::TemporaryFolder folder;
    ScriptedChannel channel;
    channel.trigger = folder.path / "x.trg.txt";
    channel.script = {ScriptedChannel::recording()};
    channel.afterStop = {ScriptedChannel::ended(11, "Stopped by user : upload complete")};
    RecordingPlan plan;
    plan.seconds = 0.0;
    plan.triggerFile = channel.trigger;
    ProgressLine line(ProgressStyle::Quiet);
    EXPECT_EQ(runRecording(channel, plan, line).state, "Stopped by user : upload complete");
    EXPECT_EQ(channel.stops, 0U);
}

TEST(RunRecording, AnErrorIsToldApart) {
    ScriptedChannel channel;
    channel.script = {ScriptedChannel::recording(),
                      ScriptedChannel::ended(10, "Stopped by error : upload complete : orv receiver error 3")};
    ProgressLine line(ProgressStyle::Quiet);
    const RecordingEnd end = runRecording(channel, RecordingPlan(), line);
    EXPECT_TRUE(end.failed);
    EXPECT_EQ(end.state, "Stopped by error : upload complete : orv receiver error 3");
}

TEST(RunRecording, AnErrorWithoutAnUploadEnds) {
    ScriptedChannel channel;
    channel.script = {ScriptedChannel::ended(
        10, "Stopped by error : uploading data :   0% complete : failed to start collection thread")};
    ProgressLine line(ProgressStyle::Quiet);
    const RecordingEnd end = runRecording(channel, RecordingPlan(), line);
    EXPECT_TRUE(end.failed);
    EXPECT_EQ(end.error, "Stopped by error : uploading data :   0% complete : failed to start collection thread");
}

TEST(RunRecording, AnErrorOfTheUploadIsAFailureInWhateverStateTheRecordingEnded) {
    for (const unsigned code : {8U, 11U}) {
        ScriptedChannel channel;
        channel.script = {ScriptedChannel::recording(),
                          ScriptedChannel::ended(code, "Stopped : upload complete : data server error (7) : a : b")};
        ProgressLine line(ProgressStyle::Quiet);
        const RecordingEnd end = runRecording(channel, RecordingPlan(), line);
        EXPECT_TRUE(end.failed);
        EXPECT_EQ(end.error, "data server error (7) : a : b");
    }
}

TEST(ReadBackTest, EverySampleEntersTheChecksumInItsBytesOrder) {
    ScriptedChannel channel;
    std::uint64_t first = 0;
    std::memcpy(&first, "12345678", 8); // this test runs on little-endian machines
    channel.samples.assign(20000, first);
    channel.announced = 20000;
    ProgressLine line(ProgressStyle::Quiet);
    std::uint32_t checksum = 0;
    const auto add = [&](std::span<const std::uint64_t> samples) { checksum = checksumOf(checksum, samples); };
    const ReadBack back = readBack(channel, line, add);
    EXPECT_EQ(back.samples, 20000U);
    EXPECT_TRUE(back.whole());
    std::uint32_t expected = 0;
    for (int i = 0; i < 20000; ++i) {
        expected = checksumOf(expected, std::span(&digits, 1));
    }
    EXPECT_EQ(checksum, expected);
}

TEST(ReadBackTest, GoesAsFarAsSamplesCame) {
    ScriptedChannel channel;
    channel.samples.assign(10, 1);
    channel.announced = 11;
    ProgressLine line(ProgressStyle::Quiet);
    const ReadBack back = readBack(channel, line, [](std::span<const std::uint64_t>) {});
    EXPECT_EQ(back.samples, 10U);
    EXPECT_EQ(back.announced, 11U);
    EXPECT_FALSE(back.whole());
}

TEST(RecordingFault, MissingSamplesPointAtTheDiskOnlyWithoutAnError) {
    const RecordingEnd good{"Stopped by user : upload complete", "", false, 1.0};
    EXPECT_FALSE(faultOf(good, {10, 10}));
    const auto disk = faultOf(good, {11, 10});
    ASSERT_TRUE(disk);
    EXPECT_STREQ(disk->what(), "the receiver announces 11 samples but its file holds only 10; is the disk full?");
    const RecordingEnd bad{"Stopped by user : upload complete : data server error (7)", "data server error (7)", true,
                           1.0};
    EXPECT_STREQ(faultOf(bad, {11, 10})->what(), "data server error (7); the 10 samples that came are kept");
    EXPECT_STREQ(faultOf(bad, {10, 10})->what(), "data server error (7); the 10 samples that came are kept");
    EXPECT_STREQ(faultOf(bad, {10, 0})->what(), "data server error (7); no samples came");
    EXPECT_EQ(faultOf(bad, {10, 0})->code, toolkit::ExitCode::RecordingError);
}

TEST(Checksum, IsTheCrc32OfTheBytesInTheFile) {
    EXPECT_EQ(checksumOf(0, std::span(&digits, 1)), 0x9AE0DAAFU) << "the one of \"12345678\"";
    EXPECT_EQ(checksumOf(0, {}), 0U);
    EXPECT_EQ(checksumOf(0x9AE0DAAFU, {}), 0x9AE0DAAFU);
}

TEST(Guarded, AReceiversErrorKeepsItsTexts) {
    try {
        guarded(toolkit::ExitCode::CalibrationRefused, [] {
            Vx::Qrs::Zarn::cZarnError error("failed to calibrate channel : x", Vx::Qrs::Zarn::eSeverityError);
            error.AddDetailedInfo("unit(12)");
            throw error;
        });
        FAIL();
    } catch (const toolkit::Failure& failure) {
        EXPECT_EQ(failure.code, toolkit::ExitCode::CalibrationRefused);
        EXPECT_STREQ(failure.what(), "failed to calibrate channel : x");
        EXPECT_EQ(failure.where, "unit(12)");
    }
}

TEST(Guarded, TheServersFailuresAreOfTheSystem) {
    EXPECT_EQ(classify("data server failure : failed to connect to orv", toolkit::ExitCode::CalibrationRefused),
              toolkit::ExitCode::NoSystem);
    EXPECT_EQ(classify("disconnected from server", toolkit::ExitCode::RecordingError), toolkit::ExitCode::NoSystem);
    EXPECT_EQ(classify("failed to calibrate channel : clock margin too low", toolkit::ExitCode::CalibrationRefused),
              toolkit::ExitCode::CalibrationRefused);
}

} // namespace
} // namespace host
