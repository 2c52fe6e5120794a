#include "DataFixture.h"

#include <atomic>
#include <chrono>
#include <numeric>
#include <thread>

// Reading the upload file, also while it grows, and saving it.

namespace {

using namespace rcvr_test;
using namespace std::string_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::Throw;

TEST_F(Data, TheNumberOfSamplesCountsWhatIsStillInTheUnitAndAPartialSample) {
    const auto count = [&](std::uint32_t ready, std::uint32_t total) {
        channel.metrics.bytesReady = ready;
        channel.metrics.bytesTotal = total;
        return driver->GetNumSamples();
    };
    EXPECT_EQ(count(0, 0), 0U);
    EXPECT_EQ(count(1, 0), 1U);
    EXPECT_EQ(count(8, 9), 3U);
    EXPECT_EQ(count(0xFFFFFFFF, 9), 1U); // added in 32 bits
    EXPECT_EQ(count(0xFFFFFFFF, 0), 0x20000000U);
    EXPECT_CALL(channel, status).WillOnce(Throw(failure()));
    EXPECT_EQ(failureOf([&] { driver->GetNumSamples(); }), "Error 1: data server failure : no answer");
}

TEST_F(Data, AVerifiedCalibrationsBytesAreStillCounted) {
    // Right after a calibration the channel's counters are those of its check.
    channel.metrics.state = client::Calibrated;
    channel.metrics.bytesTotal = 0x40000;
    EXPECT_EQ(driver->GetNumSamples(), 0x8000U);
}

TEST_F(Data, ReadsFromAnyPlace) {
    upload(samples(0, 100));
    EXPECT_THAT(read(0, 3), ElementsAre(0, 1, 2));
    EXPECT_THAT(read(97, 3), ElementsAre(97, 98, 99));
    EXPECT_THAT(read(5, 1), ElementsAre(5));
}

TEST_F(Data, AReadPastTheEndReturnsWhatExistsAtOnce) {
    upload(samples(0, 10));
    const LogCapture log(folder, "1");
    EXPECT_THAT(read(8, 100), ElementsAre(8, 9));
    EXPECT_EQ(log.lines().back(), "M ORV Receiver : seek read complete startSample=8, numSamplesRequested=100, "
                                  "numSamplesTotal=10, numSamplesAvailable=10, numSamplesRead=2");
    EXPECT_THAT(read(0xFFFFFFFF, 0xFFFF), ElementsAre());
    EXPECT_THAT(read(10, 1), ElementsAre());
    EXPECT_THAT(log.lines(), Contains("M ORV Receiver : seek read start sample out of range"));
}

TEST_F(Data, APartialSampleReadsAsZeroAndIsNotCounted) {
    upload(samples(1, 3) + "abc");
    const LogCapture log(folder, "1");
    constexpr std::uint64_t filled = 0x7777777777777777;
    std::vector<std::uint64_t> buffer(4, filled);
    unsigned number = 0;
    driver->SeekReadTraceData(0, 4, buffer.data(), &number);
    EXPECT_EQ(number, 2U);
    EXPECT_THAT(buffer, ElementsAre(1, 2, 0x636261, filled));
    EXPECT_THAT(log.lines(),
                Contains("E ORV Receiver : seek read file failed with numSamplesActual=3, numSamplesRead=2"));
    // The read that met the end left the stream failed; the next one goes on.
    grow(std::string(5, '\0'));
    EXPECT_THAT(read(0, 4), ElementsAre(1, 2, 0x636261));
}

TEST_F(Data, ReadingGoesOnAfterTheEndWasMet) {
    upload(samples(0, 2));
    EXPECT_THAT(read(0, 10), ElementsAre(0, 1));
    grow(samples(2, 4));
    EXPECT_THAT(read(0, 10), ElementsAre(0, 1, 2, 3));
}

TEST_F(Data, AMissingFileGivesNoSamplesAndIsOpenedWhenItComes) {
    EXPECT_THAT(read(0, 5), ElementsAre());
    upload(samples(0, 5));
    EXPECT_THAT(read(0, 5), ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(Data, AfterAStartTheFileIsOpenedAgain) {
    upload(samples(0, 3));
    EXPECT_THAT(read(0, 3), ElementsAre(0, 1, 2));
    std::filesystem::path archived = uploadFile + ".old";
    driver->StartRecording(false); // lets go of the file, so that it can be moved on any system
    std::filesystem::rename(uploadFile, archived);
    upload(samples(50, 53));
    EXPECT_THAT(read(0, 3), ElementsAre(50, 51, 52));
}

TEST_F(Data, AReadDuringAnUploadWaitsForTheData) {
    upload(samples(0, 10));
    std::atomic<bool> done{false};
    EXPECT_CALL(channel, status).WillRepeatedly([&](client::ChannelMetrics& out) {
        out.state = client::Stopped;
        out.threadDone = done;
        out.bytesReady = 240 * 8;
        out.bytesTotal = 160 * 8;
    });
    std::thread uploading([&] {
        for (std::uint64_t at = 10; at < 400; at += 30) {
            grow(samples(at, at + 30));
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        done = true;
    });
    std::vector<std::uint64_t> expected(400);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(read(0, 400), expected);
    uploading.join();
}

TEST_F(Data, AnUploadThatHasComeToItsEndIsWaitedForTenPolls) {
    upload(samples(0, 10));
    channel.metrics.threadDone = false;
    const LogCapture log(folder, "1");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(read(0, 20).size(), 10U);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900));
    EXPECT_THAT(log.lines(), Contains("M ORV Receiver : seek read timeout, numSamplesRequested=20, numSamplesRead=10, "
                                      "numSamplesTotal=10, numSamplesAvailable=10"));
}

TEST_F(Data, WhatIsAnnouncedLaterDoesNotCount) {
    upload(samples(0, 10));
    const LogCapture log(folder, "1");
    // The wait for a greater number would only end with the thread.
    int asked = 0;
    EXPECT_CALL(channel, status).WillRepeatedly([&](client::ChannelMetrics& out) {
        out.bytesTotal = ++asked == 1 ? 80 : 160;
        out.threadDone = asked > 30;
    });
    EXPECT_EQ(read(0, 20).size(), 10U);
    EXPECT_THAT(log.lines(), Contains("M ORV Receiver : seek read timeout, numSamplesRequested=20, numSamplesRead=10, "
                                      "numSamplesTotal=10, numSamplesAvailable=10"));
}

TEST_F(Data, AnUploadThatGrowsAgainIsWaitedForAnew) {
    upload(samples(0, 10));
    channel.metrics.threadDone = false;
    // Asked for the total, then once before the first poll and once after each.
    int asked = 0;
    EXPECT_CALL(channel, status).WillRepeatedly([&](client::ChannelMetrics& out) {
        out = channel.metrics;
        ++asked;
        if (asked == 2 + 6) {
            grow(samples(10, 11)); // more than was announced
        }
        if (asked == 2 + 14) {
            grow(samples(11, 20));
        }
    });
    EXPECT_EQ(read(0, 20).size(), 20U);
}

TEST_F(Data, FailuresWhileReadingComeInOneForm) {
    const LogCapture log(folder);
    std::uint64_t sample = 0;
    unsigned number = 0;
    const auto readOne = [&] { driver->SeekReadTraceData(0, 1, &sample, &number); };
    const std::string text = "Internal software error while reading trace data ";
    // The count's own guard makes an Error of it first.
    EXPECT_CALL(channel, status).WillOnce(Throw(failure()));
    EXPECT_EQ(failureOf(readOne), "Error 1: " + text + " : data server failure : no answer");
    EXPECT_THAT(log.lines(), Contains("E OrvRcvr : " + text + " : data server failure : no answer"));
    EXPECT_CALL(channel, status).WillOnce([](client::ChannelMetrics&) {}).WillOnce(Throw(std::runtime_error("later")));
    EXPECT_EQ(failureOf(readOne), "Error 1: " + text + " : later");
    upload(samples(0, 1));
    EXPECT_CALL(channel, status).WillOnce(Throw(42));
    EXPECT_EQ(failureOf(readOne), "Error 1: " + text);
    EXPECT_EQ(number, 1U) << "samples read before the failure";
}

TEST_F(Data, NullPointersAreRefusedAndNoSamplesNeedNoBuffer) {
    upload(samples(0, 3));
    std::uint64_t sample = 0;
    unsigned number = 99;
    EXPECT_EQ(failureOf([&] { driver->SeekReadTraceData(0, 1, nullptr, &number); }), "Error 3: null parameter");
    EXPECT_EQ(failureOf([&] { driver->SeekReadTraceData(0, 1, &sample, nullptr); }), "Error 3: null parameter");
    driver->SeekReadTraceData(0, 0, nullptr, &number);
    EXPECT_EQ(number, 0U);
}

TEST_F(Data, ARawSaveReplacesTheFile) {
    const std::string recording = samples(0, 20000);
    upload(recording);
    writeBytes(target, "what was there");
    const LogCapture log(folder, "1");
    driver->SaveFile(target, 2);
    EXPECT_EQ(readBytes(target), recording);
    EXPECT_EQ(log.lines().back(), "M ORV Receiver : SaveFile success");
}

TEST_F(Data, ASaveAddsASectionToATraceDataFile) {
    upload(samples(0, 8193));
    writeBytes(target, "TDF1");
    const std::string section = "\x20\0\x01\0\x01\0\0\0\x0c\0\0\0BinTraceData"s + samples(0, 8193); // 24 + 65544 bytes
    driver->SaveFile(target, 0);
    EXPECT_EQ(readBytes(target), "TDF1" + section);
    driver->SaveFile(target, 99);
    EXPECT_EQ(readBytes(target), "TDF1" + section + section);
}

TEST_F(Data, ASaveOfNothingMakesAnOutputWithoutData) {
    upload("");
    driver->SaveFile(target, 2);
    EXPECT_EQ(readBytes(target), "");
    writeBytes(target, "TDF1");
    driver->SaveFile(target, 0);
    EXPECT_EQ(readBytes(target), "TDF1\x18\0\0\0\x01\0\0\0\x0c\0\0\0BinTraceData"s);
}

TEST_F(Data, ASaveIntoANewFileFailsForWantOfAnIdentifier) {
    upload(samples(0, 3));
    const LogCapture log(folder);
    EXPECT_EQ(failureOf([&] { driver->SaveFile(target, 0); }),
              "Error 1: Section header offset to save data is not valid.");
    EXPECT_EQ(readBytes(target).size(), 24U);
    EXPECT_THAT(log.lines(),
                testing::IsSupersetOf({"E ORV Receiver : error(2) : Section header offset to save data is not valid.",
                                       "E ORV Receiver : SaveFile unknown exception"}));
}

TEST_F(Data, ASolePartialSampleInTheLastChunkEndsTheSave) {
    const std::string recording = samples(0, 8192);
    upload(recording + "abc");
    EXPECT_EQ(failureOf([&] { driver->SaveFile(target, 2); }), "Error 6: invalid file : Internal error saving file");
    EXPECT_EQ(readBytes(target), recording); // the output so far stays
}

TEST_F(Data, WhatCannotBeSavedIsRefusedBeforeAnythingIsWritten) {
    upload(samples(0, 3));
    EXPECT_EQ(failureOf([&] { driver->SaveFile("", 2); }), "Error 6: invalid file : Cannot save to empty file name");
    for (const unsigned format : {1U, 3U}) {
        EXPECT_EQ(failureOf([&] { driver->SaveFile(target, format); }),
                  "Error 6: invalid file : Internal error.  Cannot save uncompressed trace data format");
        EXPECT_FALSE(std::filesystem::exists(target));
    }
}

TEST_F(Data, ATargetThatCannotBeOpenedIsToldWithTheSystemsWords) {
    upload(samples(0, 3));
    const LogCapture log(folder, "1");
    const std::string missing = folder.file("no-such-folder") + "/x";
    const std::string text = "Could not open fileNo such file or directory";
    EXPECT_EQ(failureOf([&] { driver->SaveFile(missing, 2); }), "Error 6: invalid file : " + text);
    EXPECT_THAT(log.lines(), Contains("E ORV Receiver : " + text + " : " + missing));
    for (const unsigned format : {0U, 2U}) {
        EXPECT_THAT(failureOf([&] { driver->SaveFile(folder.path.string(), format); }),
                    testing::StartsWith("Error 6: invalid file : Could not open file"));
        EXPECT_THAT(failureOf([&] { driver->SaveFile(std::string(100000, 'x'), format); }),
                    testing::StartsWith("Error 6: invalid file : Could not open file"));
    }
}

TEST_F(Data, TheRecordingItselfIsNoTarget) {
    const std::string recording = samples(0, 30);
    upload(recording);
    for (const unsigned format : {0U, 2U}) {
        EXPECT_EQ(failureOf([&] { driver->SaveFile(uploadFile, format); }),
                  "Error 6: invalid file : Could not open filePermission denied");
        EXPECT_EQ(readBytes(uploadFile), recording);
    }
}

TEST_F(Data, AFullDiskEndsTheSaveAndLeavesTheRecording) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no device that is always full";
    }
    const std::string recording = samples(0, 30000);
    upload(recording);
    EXPECT_EQ(failureOf([&] { driver->SaveFile("/dev/full", 2); }),
              "Error 6: invalid file : Internal error saving file");
    EXPECT_EQ(failureOf([&] { driver->SaveFile("/dev/full", 0); }), "Error 1: Write error -  TDF section header size.");
    EXPECT_EQ(readBytes(uploadFile), recording);
}

} // namespace
