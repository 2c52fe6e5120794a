#include "tests/recording/LibrarySession.h"

#include <gmock/gmock.h>

#include <random>

// Whole recordings through the shared library and the server process. The file is compared, byte for byte, with what
// the simulated target sent.

namespace recording_test {

using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string noise(std::size_t size) {
    std::mt19937 source(20240229);
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(source() & 0xFF);
    }
    return bytes;
}

/// A target that sends random bytes for longer than the recordings of these tests.
Target noisy(const char* kind = "pti") {
    Target target;
    target.kind = kind;
    target.play = noise(0x100000);
    return target;
}

} // namespace

TEST(StopMode, FillsTheBufferWithWhatWasSent) {
    LibrarySession session(noisy());
    session.configure(1);
    session.start();
    EXPECT_EQ(session.finish(), "Stopped by buffer full : upload complete");
    EXPECT_EQ(session.file().size(), 0x80000u);
    EXPECT_EQ(session.differenceFromSent(), "");
    EXPECT_EQ(session.attribute("orvBufHasWrapped"), "false");
}

TEST(StopMode, RecordsWordsUnchangedFromAnExportWithoutSequences) {
    LibrarySession session(noisy("tpiu"));
    session.configure(0);
    session.start();
    EXPECT_EQ(session.finish(), "Stopped by buffer full : upload complete");
    EXPECT_EQ(session.file().size(), 0x40000u);
    EXPECT_EQ(session.differenceFromSent(), "");
}

class FewerPins : public testing::TestWithParam<unsigned> {};

TEST_P(FewerPins, FillTheBufferToo) {
    Target target = noisy();
    target.pins = GetParam();
    LibrarySession session(target);
    session.configure(0);
    session.start();
    session.finish();
    EXPECT_EQ(session.file().size(), 0x40000u);
    EXPECT_EQ(session.differenceFromSent(), "");
}

INSTANTIATE_TEST_SUITE_P(StopMode, FewerPins, testing::Values(1u, 2u));

TEST(StopByUser, KeepsWhatWasRecordedUntilThen) {
    LibrarySession session(Target{});
    session.configure(9);
    session.start();
    session.waitForBytes(5 * block);
    EXPECT_TRUE(session.status().stoppable);
    session.stop();
    EXPECT_EQ(session.finish(), "Stopped by user : upload complete");
    EXPECT_GE(session.file().size(), 5 * block);
    EXPECT_EQ(session.file().size() % block, 0u);
    EXPECT_EQ(session.differenceFromSent(), "");
}

TEST(WrapMode, KeepsTheNewest) {
    LibrarySession session(Target{});
    session.configure(0, LibrarySession::WhenFull::Wrap);
    session.start();
    // A buffer that has wrapped holds its size less one block.
    session.waitForBytes(0x40000 - block);
    session.stop();
    EXPECT_EQ(session.finish(), "Stopped by user : upload complete");
    EXPECT_EQ(session.file().size(), 0x40000u - block);
    EXPECT_EQ(session.differenceFromSent(), "");
    EXPECT_EQ(session.attribute("orvBufSize"), std::to_string(0x40000 - block));
}

TEST(WrapMode, ReportsOnlyAWrapThatHappened) {
    Target slow;
    slow.speed = 1;
    slow.frequency = 12.5e6;
    LibrarySession session(slow);
    session.configure(9, LibrarySession::WhenFull::Wrap);
    session.start();
    session.waitForBytes(block);
    session.stop();
    session.finish();
    EXPECT_EQ(session.attribute("orvBufHasWrapped"), "false");
    EXPECT_EQ(session.differenceFromSent(), "");

    session.configure(0, LibrarySession::WhenFull::Wrap);
    session.start();
    const auto overwritten = [&] { return session.channel->GetNumSamples() * 8 == 0x40000 - block; };
    EXPECT_TRUE(waitUntil(overwritten));
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // at 12 MB/s far more than the one remaining block
    session.stop();
    session.finish();
    EXPECT_EQ(session.attribute("orvBufHasWrapped"), "true");
    EXPECT_GT(lastContents(session.bench.benchFolder())->blocksOverwritten, 0u);
    EXPECT_EQ(session.differenceFromSent(), "");
}

TEST(TriggerFile, EndsARecordingAsAStopDoes) {
    LibrarySession session(Target{});
    session.configure(9);
    test_support::writeText(session.stem() + ".trg.txt", "left over from an earlier run");
    session.start();
    EXPECT_FALSE(test_support::exists(session.stem() + ".trg.txt"));
    session.waitForBytes(2 * block);
    test_support::writeText(session.stem() + ".trg.txt", "");
    EXPECT_EQ(session.finish(), "Stopped by user : upload complete");
    EXPECT_GE(session.file().size(), 2 * block);
    EXPECT_EQ(session.differenceFromSent(), "");
}

TEST(ErrorWhileRecording, OfTheUnitEndsItWithoutAnUpload) {
    Target target;
    target.speed = 0.1;                                                            // far from full by then
    target.more = "[unit]\nerror_b = 0x4000\nerror_after = 0.3\nerror_from = 2\n"; // past the verification
    LibrarySession session(target);
    session.configure(9);
    session.start();
    EXPECT_EQ(session.finish(), "Stopped by error : upload complete : orv receiver error 16384");
    EXPECT_EQ(session.file().size(), 0u);
}

TEST(ErrorWhileRecording, OfTheServerKeepsTheBytesThatArrived) {
    Target target;
    target.speed = 0.1;
    target.more = "[[faults.at]]\ncommand = \"?\"\nnth = 400\naction = \"error_record\"\ncode = 7\n"
                  "text = \"overrun\"\ndetail = \"port 2\"\n";
    LibrarySession session(target);
    session.configure(9);
    session.start();
    EXPECT_EQ(session.finish(), "Stopped by error : upload complete : data server error (7) : overrun : port 2");
    EXPECT_EQ(session.differenceFromSent(Compare::Prefix), "");
    session.start();
    session.waitForBytes(block);
    session.stop();
    EXPECT_EQ(session.finish(), "Stopped by user : upload complete");
    EXPECT_EQ(session.differenceFromSent(), "");
}

TEST(ErrorWhileRecording, OfAServerThatDiesIsReported) {
    Target target;
    target.speed = 0.1;
    target.more = "[[faults.at]]\ncommand = \"?\"\nnth = 400\naction = \"die\"\n";
    LibrarySession session(target);
    session.configure(9);
    session.start();
    EXPECT_THAT(session.finish(), StartsWith("Stopped by error : upload complete : "));
    EXPECT_EQ(session.file().size(), 0u);
}

TEST(BufferSizes, AllTenComeBackWhole) {
    Target target;
    target.speed = 40;
    LibrarySession session(target);
    for (unsigned index = 0; index < 10; ++index) {
        session.configure(index);
        session.start();
        EXPECT_EQ(session.finish(), "Stopped by buffer full : upload complete");
        const std::uint32_t size = 0x40000u << index;
        EXPECT_EQ(std::filesystem::file_size(session.stem() + ".bin"), size);
        EXPECT_EQ(session.channel->GetNumSamples(), size / 8);
        EXPECT_EQ(session.differenceFromSent(), "") << size << " bytes";
    }
}

TEST(ManyRecordings, TwoHundredFollowEachOther) {
    Target target;
    target.speed = 1;
    target.frequency = 12.5e6;
    LibrarySession session(target);
    session.configure(9);
    for (unsigned i = 0; i < 200; ++i) {
        session.start();
        if (i % 4 == 0) {
            session.waitForBytes(block);
        }
        session.stop();
        ASSERT_EQ(session.finish(), "Stopped by user : upload complete") << i;
        const std::string differs = session.differenceFromSent();
        ASSERT_EQ(differs, "") << i;
    }
}

TEST(SeveralChannels, AreCreatedAndReleasedBesideAnOpenOne) {
    LibrarySession session(Target{});
    session.configure(0);
    std::vector<Vx::Qrs::Trace::CChannelDriver*> others;
    for (unsigned i = 1; i < 4; ++i) {
        others.push_back(session.receiver->AllocateChannel("bench/app", session.transmitter(), i, 0));
    }
    EXPECT_EQ(session.receiver->GetNumAttachedCpus(), 4u);
    for (auto* other : others) {
        session.receiver->ReleaseChannel(other);
    }
    EXPECT_EQ(session.receiver->GetNumAttachedCpus(), 1u);
    session.start();
    EXPECT_EQ(session.finish(), "Stopped by buffer full : upload complete");
    EXPECT_EQ(session.differenceFromSent(), "");
}

TEST(Polling, FromTwoThreadsDisturbsNothing) {
    Target target;
    target.speed = 40;
    LibrarySession session(target);
    std::atomic<bool> ending{false};
    std::atomic<unsigned> progressSeen{0};
    std::thread progress([&] {
        while (!ending) {
            unsigned first = 0;
            int percent = -2;
            std::string text;
            session.channel->GetProgress(&first, &percent, &text);
            EXPECT_EQ(first, 1u);
            EXPECT_THAT(text, StartsWith("Kite R2 Trace - "));
            ++progressSeen;
            std::this_thread::yield();
        }
    });
    session.configure(2);
    std::thread states([&] {
        while (!ending) {
            EXPECT_NE(session.status().text, "");
            std::this_thread::yield();
        }
    });
    for (unsigned i = 0; i < 10; ++i) {
        session.start();
        if (i % 2 == 0) {
            session.stop();
        }
        EXPECT_THAT(session.finish(), HasSubstr("upload complete"));
    }
    ending = true;
    progress.join();
    states.join();
    EXPECT_GT(progressSeen, 0u);
    EXPECT_EQ(session.differenceFromSent(), "");
}

// ---- damaged files ----

TEST(DamagedFiles, AMissingFolderIsReportedByTheStart) {
    LibrarySession session(Target{});
    session.configure(0);
    std::filesystem::remove_all(std::filesystem::path(session.stem()).parent_path());
    const std::string error = LibrarySession::errorOf([&] { session.channel->StartRecording(false); });
    EXPECT_EQ(error, "invalid file : " + session.stem() + ".reg.txt");
    EXPECT_TRUE(session.status().stoppable) << "the unit was started before";
    session.stop();
    std::filesystem::create_directories(std::filesystem::path(session.stem()).parent_path());
    session.start();
    EXPECT_EQ(session.finish(), "Stopped by buffer full : upload complete");
    EXPECT_EQ(session.differenceFromSent(), "");
}

TEST(DamagedFiles, AFileThatCannotBeOpenedIsReportedInTheStatus) {
    LibrarySession session(Target{});
    session.configure(0);
    std::filesystem::remove(session.stem() + ".bin");
    std::filesystem::create_directory(session.stem() + ".bin");
    session.start();
    EXPECT_EQ(session.finish(), "Stopped by error : upload complete : failed to open " + session.stem() + ".bin");
    std::filesystem::remove(session.stem() + ".bin");
    session.start();
    EXPECT_EQ(session.finish(), "Stopped by buffer full : upload complete");
    EXPECT_EQ(session.differenceFromSent(), "");
}

TEST(DamagedFiles, AFileRemovedDuringARecordingAffectsOnlyThatRecording) {
    LibrarySession session(Target{});
    session.configure(9);
    session.start();
    session.waitForBytes(4 * block);
    ASSERT_TRUE(waitUntil([&] { return test_support::exists(session.stem() + ".bin"); }));
    std::error_code refused;
    const bool removed = std::filesystem::remove(session.stem() + ".bin", refused);
    session.stop();
    EXPECT_EQ(session.finish(), "Stopped by user : upload complete");
    std::vector<std::uint64_t> samples(16);
    unsigned read = 0;
    const std::string error =
        LibrarySession::errorOf([&] { session.channel->SeekReadTraceData(0, 16, samples.data(), &read); });
    if (removed) {
        EXPECT_FALSE(test_support::exists(session.stem() + ".bin"));
        EXPECT_TRUE(!error.empty() || read == 0) << "samples of a file that is not there";
    } else {
        EXPECT_EQ(session.differenceFromSent(), "")
            << "a system that keeps open files from being removed keeps them whole";
    }
    session.start();
    session.waitForBytes(block);
    session.stop();
    session.finish();
    EXPECT_EQ(session.differenceFromSent(), "");
}

} // namespace recording_test
