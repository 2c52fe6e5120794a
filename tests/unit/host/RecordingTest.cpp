#include "host/session/Recording.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "host/basics/Crc32.h"
#include "host/session/Receiver.h"
#include "rcvr/framework/cZarnError.h"
#include "tests/unit/host/TempFolder.h"

namespace host {
namespace {

using Vx::Qrs::Trace::ChannelStatus;

/// A channel whose states are a script: each status poll takes the next one, the last one stays.
class ScriptedChannel : public Vx::Qrs::Trace::CChannelDriver {
public:
    static ChannelStatus recording() {
        ChannelStatus status;
        status.code = ChannelStatus::eBusy;
        status.text = "Recording : 1.0 Mbits/second :   1% full";
        status.stoppable = true;
        return status;
    }
    static ChannelStatus ended(unsigned code, const std::string& text) {
        ChannelStatus status;
        status.code = code;
        status.text = text;
        return status;
    }

    std::vector<ChannelStatus> script; ///< while not stopped
    std::vector<ChannelStatus> afterStop;
    std::filesystem::path trigger; ///< a file that stops it too
    std::vector<std::uint64_t> samples;
    unsigned announced = 0;
    unsigned stops = 0;
    unsigned starts = 0;

    void GetAttribute(const char*, Vx::Qrs::Trace::TraceAttribute*) override {}
    void GetProgress(unsigned*, int*, std::string*) override {}
    bool GetUserConfiguration(const char*) override { return false; }
    void SetConfiguration(const char*) override {}
    void StartRecording(bool) override { ++starts; }
    void StopRecording() override { ++stops; }
    void ResumeRecording() override {}
    void SaveFile(std::string, unsigned) override {}
    void LoadFile(const char*) override {}
    void SeekReadTraceData(unsigned start, unsigned count, std::uint64_t* buffer, unsigned* numRead) override {
        *numRead = 0;
        while (start + *numRead < samples.size() && *numRead < count) {
            buffer[*numRead] = samples[start + *numRead];
            ++*numRead;
        }
    }
    unsigned GetNumSamples() override { return announced; }
    const char* CpuName() override { return "x"; }
    void GetChannelStatus(ChannelStatus* out) override {
        const bool stopped = stops > 0 || (!trigger.empty() && std::filesystem::exists(trigger));
        std::vector<ChannelStatus>& states = stopped ? afterStop : script;
        *out = states.front();
        if (states.size() > 1)
            states.erase(states.begin());
    }
    std::string NotImplementedText(unsigned, std::uint64_t) override { return {}; }
};

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
    const TempFolder folder;
    ScriptedChannel channel;
    channel.trigger = folder.file("x.trg.txt");
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

TEST(ReadBackTest, EverySampleEntersTheChecksumInItsBytesOrder) {
    ScriptedChannel channel;
    std::uint64_t first = 0;
    std::memcpy(&first, "12345678", 8); // this test runs on little-endian machines
    channel.samples.assign(20000, first);
    channel.announced = 20000;
    ProgressLine line(ProgressStyle::Quiet);
    std::uint32_t checksum = 0;
    const auto add = [&](std::span<const std::uint64_t> samples) { checksum = crc32(checksum, samples); };
    EXPECT_EQ(readBack(channel, line, false, add), 20000U);
    std::uint32_t expected = 0;
    for (int i = 0; i < 20000; ++i)
        expected = crc32(expected, reinterpret_cast<const unsigned char*>("12345678"), 8);
    EXPECT_EQ(checksum, expected);
}

TEST(ReadBackTest, MissingSamplesAreAnErrorUnlessTheRecordingFailed) {
    ScriptedChannel channel;
    channel.samples.assign(10, 1);
    channel.announced = 11;
    ProgressLine line(ProgressStyle::Quiet);
    const auto ignore = [](std::span<const std::uint64_t>) {};
    EXPECT_THROW(readBack(channel, line, false, ignore), Failure);
    EXPECT_EQ(readBack(channel, line, true, ignore), 10U);
}

TEST(Crc32, HasItsWellKnownCheckValue) {
    EXPECT_EQ(crc32(0, reinterpret_cast<const unsigned char*>("123456789"), 9), 0xCBF43926U);
    EXPECT_EQ(crc32(0, nullptr, 0), 0U);
}

TEST(Guarded, AReceiversErrorKeepsItsTexts) {
    try {
        guarded(ExitCode::CalibrationRefused, [] {
            Vx::Qrs::Zarn::cZarnError error("failed to calibrate channel : x", Vx::Qrs::Zarn::eSeverityError);
            error.AddDetailedInfo("unit(12)");
            throw error;
        });
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, ExitCode::CalibrationRefused);
        EXPECT_STREQ(failure.what(), "failed to calibrate channel : x");
        EXPECT_EQ(failure.where, "unit(12)");
    }
}

TEST(Guarded, TheServersFailuresAreOfTheSystem) {
    EXPECT_EQ(classify("data server failure : failed to connect to orv", ExitCode::CalibrationRefused),
              ExitCode::NoSystem);
    EXPECT_EQ(classify("disconnected from server", ExitCode::RecordingError), ExitCode::NoSystem);
    EXPECT_EQ(classify("failed to calibrate channel : clock margin too low", ExitCode::CalibrationRefused),
              ExitCode::CalibrationRefused);
}

} // namespace
} // namespace host
