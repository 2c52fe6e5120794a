#include "common/source/source_utilities/uLog.h"
#include "tests/unit/client/frontend/ChannelFixture.h"
#include "tests/unit/client/frontend/RefusingPlatform.h"
#include "tests/unit/client/frontend/ServerSubstitute.h"
#include "tests/unit/client/transmitters/XmtrLibraryMock.h"

#include <functional>
#include <memory>
#include <string>

// What follows when memory or a thread is refused.

namespace client_test {

namespace {

/// Lets each allocation of `action` fail in turn until it goes through, and expects each failure to be an exception of
/// that status and detail. Gives the number of allocations that failed.
unsigned refuseEach(const std::function<void()>& action, Status status, const std::string& detail,
                    const std::function<void()>& afterFailure) {
    for (unsigned nth = 1; nth < 1000; ++nth) {
        refuseMemory(nth);
        try {
            action();
            if (!memoryWasRefused()) {
                return nth - 1;
            }
            ADD_FAILURE() << "allocation " << nth << " failed unreported";
        } catch (const Exception& e) {
            EXPECT_TRUE(memoryWasRefused());
            EXPECT_EQ(e.status(), status) << "allocation " << nth;
            EXPECT_EQ(std::string(e.detail()), detail);
        } catch (const std::exception& e) {
            memoryWasRefused();
            ADD_FAILURE() << "allocation " << nth << " ended in another failure: " << e.what();
        }
        afterFailure();
    }
    ADD_FAILURE() << "does not go through";
    return 0;
}

class RefusalsTest : public ChannelTest {
protected:
    testing::NiceMock<transmitter_test::MockXmtrLibrary> library;
    ChannelSettings setup;
};

} // namespace

TEST(RefusedFrontEnd, LeavesNoSingletonAndNoUse) {
    VX_QRS::getLogManager();
    refuseMemory(1);
    expectFailure([] { createFrontEnd(); }, eALLOC, "");
    EXPECT_TRUE(memoryWasRefused());
    // The object itself is there, but not the loader that it keeps.
    refuseMemory(2);
    expectFailure([] { createFrontEnd(); }, eNULL, "");
    EXPECT_TRUE(memoryWasRefused());
    EXPECT_EQ(serverClients(), 0u);
    FrontEnd* later = createFrontEnd();
    EXPECT_EQ(serverClients(), 1u);
    destroyFrontEnd(later);
    EXPECT_EQ(serverClients(), 0u);
}

TEST_F(RefusalsTest, ChannelThatCannotBeAllocatedIsAnAllocationFailureAndLeavesNothing) {
    FrontEndChannel* made = nullptr;
    const std::string longName(100, 'c');
    const unsigned failures = refuseEach([&] { made = frontEnd->alloc(longName.c_str(), &library, 0, 0, 2, &setup); },
                                         eALLOC, "", [&] { EXPECT_EQ(frontEnd->numChannels(), 0u); });
    EXPECT_GE(failures, 5u);
    EXPECT_EQ(frontEnd->numChannels(), 1u);
    // The failures have handed their use of the transmitter back: with the channel its last one goes.
    Transmitter* const before = createTransmitter(frontEnd.get(), longName.c_str(), &library, 0, 0, 2, &setup);
    destroyTransmitter(before, &setup);
    frontEnd->release(made);
    refuseMemory(1);
    EXPECT_THROW(createTransmitter(frontEnd.get(), longName.c_str(), &library, 0, 0, 2, &setup), Exception)
        << "a transmitter that is still there needs no memory";
    memoryWasRefused();
}

TEST_F(RefusalsTest, TransmitterThatCannotBeAllocatedIsAnAllocationFailure) {
    for (const char* name : {"fpga", "external", "some CPU with a long name, which takes memory of its own"}) {
        Transmitter* made = nullptr;
        EXPECT_GE(refuseEach([&] { made = createTransmitter(frontEnd.get(), name, &library, 0, 0, 0, nullptr); },
                             eALLOC, "", [] {}),
                  2u)
            << name;
        destroyTransmitter(made);
    }
}

TEST_F(RefusalsTest, APatternThatCannotBeAllocatedIsAnAllocationFailure) {
    for (const char* name : {"f0", "ramp", "walk", "lfsr"}) {
        std::unique_ptr<Pattern> made;
        EXPECT_EQ(refuseEach([&] { made.reset(createPattern(name, 4)); }, eALLOC, "", [] {}), 1u) << name;
    }
}

TEST_F(RefusalsTest, HostBuffersThatCannotBeAllocatedEndTheOpening) {
    openChannel();
    inside().freeSelf();
    bool someStayed = false;
    const unsigned failures =
        refuseEach([&] { inside().allocSelf(); }, eALLOC, "host buffer allocation failed",
                   [&] { someStayed = someStayed || !inside().oversampling().ovsAccess[1].empty(); });
    EXPECT_GE(failures, 1u);
    EXPECT_TRUE(someStayed) << "what was allocated so far stays";
}

TEST_F(RefusalsTest, OpeningThatLacksMemoryAnywhereLeavesTheChannelClosedAndCanBeRepeated) {
    configure("pinMap=0,1,2\ndelays=1,2,3\n");
    channel->applySettings(); // which reads the file
    inside().close();
    unsigned failures = 0;
    for (bool through = false; !through;) {
        ASSERT_LT(failures, 1000u);
        refuseMemory(failures + 1);
        try {
            inside().open();
            through = !memoryWasRefused(); // a log line can do without
            model.clearLog();
            inside().close();
            EXPECT_EQ(model.count(Call::CloseChannel), 1u) << "it was open";
        } catch (const std::exception&) {
            EXPECT_TRUE(memoryWasRefused());
            model.clearLog();
            inside().close();
            EXPECT_EQ(model.count(Call::CloseChannel), 0u) << "it was not";
        }
        ++failures;
    }
    EXPECT_GT(failures, 10u);
}

TEST_F(RefusalsTest, ErrorThatLacksMemoryForItsTextEndsTheRecordingAllTheSame) {
    openCalibrated();
    beginRecording();
    const std::string longText(1000, 'e');
    refuseMemory(1);
    inside().signalStop(Failed, longText.c_str());
    EXPECT_TRUE(memoryWasRefused());
    EXPECT_EQ(state(), Failed);
    EXPECT_TRUE(status().hasError);
    EXPECT_STREQ(status().errorText, "out of memory");
    model.clearLog();
    channel->run();
    EXPECT_EQ(model.count(Call::Status), 0u) << "the thread leaves at once";
}

TEST_F(RefusalsTest, ThreadThatDoesNotStartFailsTheRecordingAndIsNotWaitedFor) {
    openCalibrated();
    writeText(binPath(), "an earlier recording");
    letThreadsStart(false);
    channel->start(false);
    letThreadsStart(true);
    EXPECT_EQ(readText(binPath()), "") << "emptied before any thread runs";
    EXPECT_EQ(state(), Failed);
    EXPECT_STREQ(status().errorText, "failed to start collection thread");
    EXPECT_FALSE(status().threadDone) << "there never was one";
    EXPECT_TRUE(status().threadAbsent);
    EXPECT_TRUE(lockIsFree());
    // The next one runs: here inside the start, to its end by the unit's full buffer.
    model.deliverBefore(Call::Status, [](auto& callback) { callback.onStatus(0); });
    channel->start(false);
    EXPECT_EQ(state(), Idle);
    EXPECT_FALSE(status().hasError);
}

} // namespace client_test
