#include "diagnosis/stream/RecordingCheck.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "toolkit/ExitCode.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>

// What the files of a run say about its recording, and what is printed of it.

namespace {

using diagnosis::FileCheck;
using diagnosis::StreamMode;
using diagnosis::StreamVerdict;
using testing::HasSubstr;

const std::string properties = "[Channel 0]\nxmtrType=\nnumPins=2\npinMap=0,1,2\ndrmXmtr=pti\n";

/// Packets of the ramp of two data pins.
std::string rampPackets(std::size_t packets) {
    std::string bytes;
    for (std::size_t i = 0; i < packets; ++i) {
        bytes += std::string(510, '\x1B') + std::string("\xFF\x08", 2);
    }
    return bytes;
}

std::string logOf(const std::string& uploaded) {
    return "M     12:29:05:544 | ORV Receiver : loading settings from /x/run.xml\n"
           "M     12:29:05:545 | ORV Receiver (orv_client_frontend:133) trying freq1 (5.00000e+07)\n"
           "M     12:29:05:546 | ORV Receiver (orv_client_frontend:200) writing 16384 bytes, 0 pending, " +
           uploaded + " total\n";
}

TEST(FileCheck, TheFilesBesideItSayWhatItIs) {
    const test_support::TemporaryFolder folder;
    folder.write("run.cfg", properties);
    folder.write("run.bin", rampPackets(32));
    folder.write("vx_trace_log_1.txt", logOf("16384"));
    const FileCheck recording = diagnosis::checkRecording(folder.path / "run.bin");
    EXPECT_EQ(recording.check.form.mode, StreamMode::Pti);
    EXPECT_EQ(recording.check.form.lanes, 2U);
    EXPECT_EQ(recording.check.form.clockHertz, 5e7);
    EXPECT_EQ(recording.check.form.announcedSamples, 2048U);
    EXPECT_EQ(recording.check.verdict, StreamVerdict::Unknown) << "its content may be any";
    EXPECT_THAT(recording.facts.source, HasSubstr("run"));
}

TEST(FileCheck, AnUploadThatTheLogSaysWasLongerIsDamage) {
    const test_support::TemporaryFolder folder;
    folder.write("run.cfg", properties);
    folder.write("run.bin", rampPackets(32));
    folder.write("vx_trace_log_1.txt", logOf("32768"));
    const FileCheck recording = diagnosis::checkRecording(folder.path / "run.bin");
    ASSERT_TRUE(recording.check.firstDamage);
    EXPECT_EQ(recording.check.firstDamage->kind, diagnosis::DamageKind::MissingSamples);
    EXPECT_EQ(recording.check.firstDamage->place.byte, 16384U);
}

TEST(FileCheck, AVerificationAfterTheRecordingIsNotTakenForIt) {
    const test_support::TemporaryFolder folder;
    folder.write("run.cfg", properties);
    folder.write("run.bin", rampPackets(32));
    folder.write("vx_trace_log_1.txt", logOf("32768"));
    const auto announced = [&](const std::string& when) {
        folder.write("run.checks.json", R"({"words":[{"when":")" + when + R"(","pattern":"walk"}],)" +
                                            R"("recordings":[{"samplesAnnounced":2048,"samples":2048}]})");
        return diagnosis::checkRecording(folder.path / "run.bin").check.form.announcedSamples;
    };
    EXPECT_EQ(announced("after"), 2048U);
    EXPECT_EQ(announced("before"), 4096U);
}

TEST(FileCheck, AVerificationIsComparedWithItsPattern) {
    const test_support::TemporaryFolder folder;
    folder.write("run.cfg", properties);
    folder.write("run.freq1.ver", rampPackets(32));
    const FileCheck recording = diagnosis::checkRecording(folder.path / "run.freq1.ver");
    EXPECT_EQ(recording.check.form.pattern, "ramp");
    EXPECT_EQ(recording.check.verdict, StreamVerdict::Sound);
    folder.write("run.cfg", properties + "verifyPattern=a5\n");
    EXPECT_EQ(diagnosis::checkRecording(folder.path / "run.freq1.ver").check.verdict, StreamVerdict::Damaged);
}

TEST(FileCheck, WhatIsGivenWins) {
    const test_support::TemporaryFolder folder;
    folder.write("run.cfg", properties);
    folder.write("run.bin", rampPackets(32));
    diagnosis::StreamForm given;
    given.mode = StreamMode::Tpiu;
    given.lanes = 4;
    given.clockHertz = 1e6;
    const FileCheck recording = diagnosis::checkRecording(folder.path / "run.bin", {}, given);
    EXPECT_EQ(recording.check.form.mode, StreamMode::Tpiu);
    EXPECT_EQ(recording.check.form.lanes, 4U);
    EXPECT_EQ(recording.check.form.clockHertz, 1e6);
}

TEST(FileCheck, AFileWithoutARunIsJudgedByItself) {
    const test_support::TemporaryFolder folder;
    folder.write("alone.raw", rampPackets(32));
    const FileCheck recording = diagnosis::checkRecording(folder.path / "alone.raw");
    EXPECT_EQ(recording.check.form.mode, StreamMode::Pti);
    EXPECT_TRUE(recording.check.modeRecognised);
    EXPECT_EQ(recording.facts.source, "");
    EXPECT_THROW(diagnosis::checkRecording(folder.path / "missing.raw"), toolkit::Failure);
    EXPECT_THROW(diagnosis::checkRecording(folder.path / "alone.raw", folder.path / "missing"), toolkit::Failure);
}

TEST(FileCheck, LanesThatAreSwappedBackAreSaidToBeSo) {
    FileCheck recording;
    recording.check.form.lanes = 2;
    diagnosis::Damage damage;
    damage.kind = diagnosis::DamageKind::Swapped;
    damage.lane = 0;
    damage.carries = 1;
    recording.check.damages.push_back(damage);
    damage.place.byte = 4096;
    damage.carries = 0;
    recording.check.damages.push_back(damage);
    recording.check.firstDamage = recording.check.damages.front();
    const std::string text = diagnosis::recordingText(recording);
    EXPECT_THAT(text, HasSubstr("D1 carries the bits of D0"));
    EXPECT_THAT(text, HasSubstr("D1 carries its own bits again"));
}

TEST(FileCheck, TextAndJsonSayTheSame) {
    const test_support::TemporaryFolder folder;
    folder.write("run.cfg", properties);
    std::string bytes = rampPackets(32);
    bytes[512 * 4 + 100] = '\x1A'; // the last group's lower lane
    folder.write("run.ver", bytes);
    const FileCheck recording = diagnosis::checkRecording(folder.path / "run.ver");
    const std::string text = diagnosis::recordingText(recording);
    EXPECT_THAT(text, HasSubstr("damaged from sample 268 (byte 2148, 13.11 %): D0 has noise: 1 wrong bit\n"));
    EXPECT_LE(std::count(text.begin(), text.end(), '\n'), 12);
    const nlohmann::json json = diagnosis::recordingJson(recording);
    EXPECT_EQ(json.at("verdict"), "damaged");
    EXPECT_EQ(json.at("firstDamage").at("kind"), "noise");
    EXPECT_EQ(json.at("firstDamage").at("lane"), "data2");
    EXPECT_EQ(json.at("firstDamage").at("place").at("byte"), 2148);
    EXPECT_EQ(json.at("lanes").size(), 1U);
    EXPECT_EQ(json.at("wordsCompared"), 32 * 255);
}

} // namespace
