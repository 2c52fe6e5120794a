#include "tests/unit/client/frontend/ChannelFixture.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

// The control thread's body, run on the test's own thread, so that a test decides what each pass meets.

namespace client_test {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr std::uint32_t passInterval = 5;

std::vector<std::uint8_t> someBytes(std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    }
    return bytes;
}

std::string asText(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

class RecordingTest : public ChannelTest {
protected:
    void begin(const std::string& moreLines = {}) {
        openCalibrated(moreLines);
        beginRecording();
        model.clearLog();
    }

    /// Runs the body to its end; calls `afterPass` with the number of each pass, in the sleep that follows it.
    void run(const std::function<void(unsigned)>& afterPass = {}) {
        unsigned passes = 0;
        waits.hook = [&](std::uint32_t milliseconds) {
            if (milliseconds != passInterval) {
                return;
            }
            ASSERT_LT(++passes, 1000u) << "the body does not end";
            if (afterPass) {
                afterPass(passes);
            }
        };
        channel->run();
        waits.hook = {};
        passesRun = passes;
    }

    /// Stops after the second pass.
    void runAndStop() {
        run([this](unsigned pass) {
            if (pass == 2) {
                channel->stop();
            }
        });
    }

    /// As terminateThread does, which waits for the thread as well.
    void tellToLeave() { inside().control().exitThread = true; }

    bool logHas(const std::string& line) {
        const auto log = model.log();
        return std::find(log.begin(), log.end(), line) != log.end();
    }

    unsigned passesRun = 0;
};

const std::string poll = "read 08008010 08008020";

/// The capture side of a stop.
const std::vector<std::string> stopSequence{"transmitter end 1",
                                            "transmitter flush",
                                            "transmitter shutdown",
                                            "read 0800811e",
                                            "write 0800811e=0000",
                                            "read 08008050",
                                            "write 08008050=0000",
                                            "read 08008060",
                                            "read 2:01c70404",
                                            "stop",
                                            "status",
                                            "read 0800100a"};

std::vector<std::string> operator+(std::vector<std::string> left, const std::vector<std::string>& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

} // namespace

// ---- polling ----

TEST_F(RecordingTest, PassOfARecordingIsOneStatusRequestAndOneRegisterRead) {
    begin();
    runAndStop();
    const std::vector<std::string> polls{"status", poll, "status", poll, "status"};
    EXPECT_EQ(model.log(), polls + stopSequence);
    EXPECT_EQ(waits.last, 5u);
}

TEST_F(RecordingTest, StopWithoutDataEndsAtOnceAndLeavesTheFileEmpty) {
    begin();
    LogCapture log;
    runAndStop();
    EXPECT_EQ(state(), Stopped);
    EXPECT_EQ(passesRun, 3u);
    EXPECT_TRUE(exists(binPath()));
    EXPECT_EQ(readText(binPath()), "");
    EXPECT_THAT(log.steps(), Contains("no more data in orv buffer, setting exit to true"));
    EXPECT_EQ(log.steps().front(), "opened data file " + binPath());
    EXPECT_EQ(log.steps().back(), "closed data file");
    EXPECT_TRUE(status().threadDone);
    EXPECT_FALSE(status().hasError);
}

TEST_F(RecordingTest, FullBufferInStopModeEndsInIdleAndUploads) {
    begin();
    const auto bytes = someBytes(32768);
    model.setRecorded(bytes);
    model.deliverBefore(Call::Status, [](auto& callback) { callback.onStatus(0); }, 3);
    run();
    EXPECT_EQ(state(), Idle);
    EXPECT_EQ(passesRun, 5u)
        << "three polls, the upload in the pass that sees the end, and one that finds nothing left";
    EXPECT_TRUE(readText(binPath()) == asText(bytes));
    EXPECT_EQ(status().bytesTotal, 32768u);
    EXPECT_EQ(status().bytesReady, 0u);
    channel->stop();
    EXPECT_EQ(state(), Idle) << "a recording that is over is not stopped";
}

TEST_F(RecordingTest, TriggerFileStopsTheRecording) {
    begin();
    run([this](unsigned pass) {
        if (pass == 2) {
            writeText(stem + ".trg.txt", "");
        }
    });
    EXPECT_EQ(state(), Stopped);
    EXPECT_EQ(passesRun, 4u) << "seen by the third pass, acted on by the fourth";
    EXPECT_EQ(model.count(Call::Stop), 1u);
}

TEST_F(RecordingTest, TriggerFileLeftOverFromAnEarlierRunDoesNotStopTheNextOne) {
    openCalibrated();
    writeText(stem + ".trg.txt", "");
    beginRecording();
    model.clearLog();
    run([this](unsigned pass) {
        EXPECT_EQ(state(), pass < 5 ? Recording : Stopped);
        if (pass == 4) {
            channel->stop();
        }
    });
    EXPECT_EQ(passesRun, 5u);
}

// ---- upload ----

TEST_F(RecordingTest, RequestIsOfWholeBlocksAndTheRestIsAskedForWithZero) {
    begin();
    const auto bytes = someBytes(20000);
    model.setRecorded(bytes);
    model.onNext(Call::Request, [this] { model.setRecorded({}); }, 4);
    LogCapture log;
    runAndStop();
    EXPECT_TRUE(readText(binPath()) == asText(bytes).substr(0, 16384));
    const auto lines = model.log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "request 16384"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "request 0"), 4)
        << "one for each pass until the unit reports none";
    EXPECT_THAT(log.steps(), Contains("calling ds_request for 16384 bytes"));
    EXPECT_THAT(log.steps(), Contains("calling ds_request for 0 bytes"));
    EXPECT_THAT(log.steps(), Contains("writing 16384 bytes, 0 pending, 16384 total"));
    EXPECT_FALSE(status().hasError);
}

TEST_F(RecordingTest, RestBelowABlockIsAskedForWithZeroUntilTheUnitReportsNone) {
    begin();
    model.setRecorded(someBytes(100));
    model.onNext(Call::Request, [this] { model.setRecorded({}); }, 2);
    runAndStop();
    const auto lines = model.log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "request 0"), 3);
    EXPECT_EQ(model.count(Call::Request), 3u);
    EXPECT_EQ(readText(binPath()), "");
    EXPECT_EQ(status().bytesTotal, 0u);
}

TEST_F(RecordingTest, NextRequestWaitsUntilTheLastOneHasBeenReceivedInFull) {
    begin();
    model.scriptStatus({20000, 20000, 20000, 20000, 20000, 20000, 20000});
    const auto half = someBytes(8192);
    const auto deliver = [&half](auto& callback) { callback.onData(half.data(), 8192); };
    model.deliverBefore(Call::Status, deliver, 5);
    model.deliverBefore(Call::Status, deliver, 7);
    std::vector<std::uint32_t> pending;
    run([&](unsigned pass) {
        if (pass == 2) {
            channel->stop();
        }
        pending.push_back(inside().counters().bytesPending);
    });
    // One status request in each pass, and one more in the stop.
    EXPECT_THAT(pending, ElementsAre(0u, 0u, 16384u, 16384u, 8192u, 8192u, 0u));
    EXPECT_EQ(model.count(Call::Request), 1u);
    EXPECT_TRUE(readText(binPath()) == asText(half) + asText(half));
}

TEST_F(RecordingTest, WhatWasAskedForAndDoesNotComeIsCancelledWhenTheUnitReportsNone) {
    begin();
    // Two polls, the pass that sees the stop, the request of what is there at its end, and a pass that finds nothing.
    model.scriptStatus({0, 0, 20000, 20000, 0});
    LogCapture log;
    runAndStop();
    EXPECT_EQ(model.log().back(), "cancel");
    EXPECT_EQ(model.count(Call::Request), 1u);
    EXPECT_THAT(log.steps(), Contains("calling ds_cancel, 0 bytes on orv, 16384 bytes pending"));
    EXPECT_FALSE(status().hasError);
    EXPECT_EQ(status().bytesTotal, 0u);
}

TEST_F(RecordingTest, ARecordingAfterACancelledUploadRequestsItsOwnData) {
    begin();
    model.scriptStatus({0, 0, 20000, 20000, 0});
    runAndStop();
    ASSERT_EQ(model.log().back(), "cancel");
    beginRecording();
    model.setRecorded(someBytes(16384));
    run([this](unsigned pass) {
        if (pass == 2) {
            channel->stop();
        } else if (pass == 20) {
            tellToLeave(); // it waits for the cancelled data
        }
    });
    EXPECT_EQ(readText(binPath()).size(), 16384u);
}

TEST_F(RecordingTest, DataArriveInAsManyPiecesAsTheServerLikes) {
    begin();
    const auto bytes = someBytes(16384 * 5);
    model.setRecorded(bytes);
    model.setPieceSize(1000);
    runAndStop();
    EXPECT_TRUE(readText(binPath()) == asText(bytes));
    EXPECT_EQ(status().bytesTotal, 81920u);
}

TEST_F(RecordingTest, NewRecordingOverwritesTheFile) {
    begin();
    model.setRecorded(someBytes(32768));
    runAndStop();
    ASSERT_EQ(readText(binPath()).size(), 32768u);
    beginRecording();
    EXPECT_EQ(status().bytesTotal, 0u);
    runAndStop();
    EXPECT_EQ(readText(binPath()).size(), 0u);
}

TEST_F(RecordingTest, MoreDataThanAskedForEndTheUpload) {
    begin();
    model.setRecorded(someBytes(16384));
    model.deliverBefore(Call::Request, [](auto& callback) {
        const auto surplus = someBytes(16385);
        callback.onData(surplus.data(), 16385);
    });
    runAndStop();
    EXPECT_EQ(state(), Stopped) << "the recording was over by then";
    EXPECT_TRUE(status().hasError);
    EXPECT_EQ(status().bytesTotal, 16384u) << "what was asked for came as well";
    EXPECT_TRUE(logHas("cancel"));
}

// ---- errors ----

TEST_F(RecordingTest, ErrorOfTheUnitLeavesTheLoopWithoutStoppingAnything) {
    begin();
    model.set(0x8008020, 0x4000);
    run();
    EXPECT_EQ(state(), Failed);
    EXPECT_STREQ(status().errorText, "orv receiver error 16384");
    EXPECT_THAT(model.log(), ElementsAre("status", poll));
    EXPECT_TRUE(status().threadDone);
}

TEST_F(RecordingTest, ErrorOfTheUnitIsShownAsASignedNumber) {
    begin();
    model.set(0x8008010, 0x8000);
    run();
    EXPECT_STREQ(status().errorText, "orv receiver error -2147483648");
}

TEST_F(RecordingTest, ErrorOfTheUnitWithDataLeftCancelsTheStream) {
    begin();
    model.setRecorded(someBytes(100));
    model.set(0x8008020, 0x8000);
    LogCapture log;
    run();
    EXPECT_THAT(model.log(), ElementsAre("status", poll, "cancel"));
    EXPECT_THAT(log.steps(), Contains("calling ds_cancel, 100 bytes on orv, 0 bytes pending"));
}

TEST_F(RecordingTest, ServerErrorFoundByThePollReachesTheStopInTheSamePass) {
    begin();
    model.deliverBefore(Call::Status, [](auto& callback) { callback.onError(7, "overrun", "port 2"); }, 1);
    run();
    EXPECT_EQ(state(), Failed);
    EXPECT_STREQ(status().errorText, "data server error (7) : overrun : port 2");
    const std::vector<std::string> polls{"status", poll, "status"};
    EXPECT_EQ(model.log(), polls + stopSequence);
    EXPECT_EQ(passesRun, 2u);
}

TEST_F(RecordingTest, ServerErrorWithDataLeftAsksOnceAndCancels) {
    begin();
    model.setRecorded(someBytes(50000));
    model.deliverBefore(Call::Status, [](auto& callback) { callback.onError(7, "overrun", ""); });
    run();
    EXPECT_EQ(passesRun, 1u);
    EXPECT_TRUE(logHas("request 49152"));
    EXPECT_EQ(model.log().back(), "cancel");
    EXPECT_EQ(model.count(Call::Cancel), 1u);
}

TEST_F(RecordingTest, FailureOfARequestBecomesTheErrorsText) {
    begin();
    model.setRecorded(someBytes(100));
    model.failNext(Call::Status, "disconnected from server", 2);
    run();
    EXPECT_EQ(state(), Failed);
    EXPECT_STREQ(status().errorText, "disconnected from server");
    EXPECT_EQ(model.count(Call::Cancel), 0u) << "a pass that failed does nothing more";
    EXPECT_EQ(model.count(Call::Stop), 0u);
    EXPECT_EQ(passesRun, 3u);
}

TEST_F(RecordingTest, FailuresWithoutWordsGetSome) {
    begin();
    model.failNext(Call::Status, "");
    run();
    EXPECT_STREQ(status().errorText, "unknown exception");
    beginRecording();
    model.onNext(Call::Status, [] { throw 7; });
    run();
    EXPECT_STREQ(status().errorText, "unknown exception");
}

TEST_F(RecordingTest, FailureDuringTheUploadKeepsTheState) {
    begin();
    model.setRecorded(someBytes(16384));
    model.failNext(Call::Request, "internal rsp error");
    runAndStop();
    EXPECT_EQ(state(), Stopped);
    EXPECT_STREQ(status().errorText, "internal rsp error");
    EXPECT_TRUE(status().threadDone);
}

TEST_F(RecordingTest, FailureOfTheStopIsNotTriedAgain) {
    begin();
    model.failNext(Call::Stop, "failed to write to server");
    runAndStop();
    EXPECT_EQ(model.count(Call::Stop), 1u);
    EXPECT_STREQ(status().errorText, "failed to write to server");
}

TEST_F(RecordingTest, FileThatCannotBeOpenedEndsTheThreadBeforeItsFirstPass) {
    begin();
    channel->setProperty("file", (folder.path / "missing" / "trace").string().c_str());
    LogCapture log;
    run();
    const std::string path = (folder.path / "missing" / "trace").string() + ".bin";
    EXPECT_EQ(state(), Failed);
    EXPECT_EQ(status().errorText, "failed to open " + path);
    EXPECT_THAT(log.errorSteps(),
                ElementsAre("channel error : failed to open " + path, "failed to open thread data file " + path));
    EXPECT_TRUE(status().threadDone);
    EXPECT_THAT(model.log(), IsEmpty());
    EXPECT_EQ(passesRun, 0u);
    channel->setProperty("file", stem.c_str());
}

TEST_F(RecordingTest, FileThatCannotBeOpenedLeavesNothingToDoOnceTheThreadIsDone) {
    begin();
    channel->setProperty("file", (folder.path / "missing" / "trace").string().c_str());
    inside().counters().bytesReady = 100; // what asks for a cancel, under the lock, wherever a thread leaves otherwise
    run();
    EXPECT_TRUE(status().threadDone);
    EXPECT_THAT(model.log(), IsEmpty());
    channel->setProperty("file", stem.c_str());
}

// ---- leaving ----

TEST_F(RecordingTest, LeavingBetweenTwoPassesCancelsWhatIsLeftOnce) {
    begin();
    model.setRecorded(someBytes(100));
    LogCapture log;
    run([this](unsigned pass) {
        if (pass == 3) {
            tellToLeave();
        }
    });
    EXPECT_EQ(passesRun, 3u);
    EXPECT_THAT(model.log(), ElementsAre("status", poll, "status", poll, "status", poll, "cancel"));
    EXPECT_THAT(log.steps(), Contains("calling ds_cancel, 100 bytes on orv, 0 bytes pending"));
    EXPECT_EQ(state(), Recording) << "no caller asked for another state";
    EXPECT_TRUE(status().threadDone);
}

TEST_F(RecordingTest, LeavingBetweenTwoPassesWithNothingLeftCancelsNothing) {
    begin();
    run([this](unsigned pass) {
        if (pass == 1) {
            tellToLeave();
        }
    });
    EXPECT_THAT(model.log(), ElementsAre("status", poll));
}

TEST_F(RecordingTest, LeavingInAPassIsSettledThere) {
    begin();
    model.setRecorded(someBytes(100));
    model.onNext(Call::Status, [this] { tellToLeave(); }, 1);
    run();
    EXPECT_THAT(model.log(), ElementsAre("status", poll, "status", poll, "cancel"));
}

TEST_F(RecordingTest, LeavingBeforeTheFirstPassDoesNothing) {
    begin();
    tellToLeave();
    run();
    EXPECT_THAT(model.log(), IsEmpty());
    EXPECT_TRUE(status().threadDone);
}

TEST_F(RecordingTest, FailedCancelAfterTheLoopIsAnError) {
    begin();
    model.setRecorded(someBytes(100));
    model.failNext(Call::Cancel, "disconnected from server");
    run([this](unsigned) { tellToLeave(); });
    EXPECT_STREQ(status().errorText, "disconnected from server");
    EXPECT_TRUE(status().threadDone);
}

// ---- the limit of a verification ----

TEST_F(RecordingTest, LimitOfTicksEndsARecordingThatDoesNotEnd) {
    begin();
    inside().control().verifyTimeoutTicks = 3;
    run();
    EXPECT_EQ(state(), Failed);
    EXPECT_STREQ(status().errorText, "timeout during calibration verification");
    EXPECT_EQ(passesRun, 5u) << "the ticks of the fifth pass are above the limit";
}

TEST_F(RecordingTest, TicksCountAnewFromTheStop) {
    begin();
    inside().control().verifyTimeoutTicks = 3;
    model.setRecorded(someBytes(100));
    run([this](unsigned pass) {
        if (pass == 3) {
            channel->stop();
        }
    });
    EXPECT_STREQ(status().errorText, "timeout during calibration verification");
    EXPECT_EQ(state(), Stopped);
    EXPECT_EQ(passesRun, 8u);
}

TEST_F(RecordingTest, FileThatIsOpenAlreadyIsUsedAndClosed) {
    begin();
    const std::string path = stem + ".ver";
    VX_QRS::OutputFile& dataFile = inside().control().dataFile;
    dataFile = VX_QRS::OutputFile(path, VX_QRS::OutputFile::Mode::binary);
    model.setRecorded(someBytes(16384));
    runAndStop();
    EXPECT_EQ(readText(path).size(), 16384u);
    EXPECT_FALSE(exists(binPath()));
    EXPECT_FALSE(dataFile.isOpen());
}

// ---- margins ----

TEST_F(RecordingTest, MarginsAreWatchedOnlyWhenAskedFor) {
    const std::string trigger = "write 08008206=001f 08008206=801f 08008206=0000";
    begin();
    runAndStop();
    EXPECT_THAT(model.log(), Not(Contains(trigger)));
    channel->setProperty("ovsMargin", "1");
    beginRecording();
    model.clearLog();
    runAndStop();
    EXPECT_THAT(model.log(), Contains(trigger));
}

} // namespace client_test
