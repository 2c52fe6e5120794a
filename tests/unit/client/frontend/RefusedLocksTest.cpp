#include "tests/unit/client/frontend/ChannelFixture.h"
#include "tests/unit/client/frontend/RefusingPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

// What holds when a lock is asked for: another thread may wait there.

namespace client_test {

namespace {

class LocksTest : public ChannelTest {
protected:
    ~LocksTest() override { watchLocks({}); }
};

} // namespace

TEST_F(LocksTest, CalibrationTakesItsStemBeforeItWaitsForTheChannel) {
    openChannel("calMode=manual\n");
    const std::string later = folder.file("later");
    bool waited = false;
    watchLocks([&](const VX_QRS::uMutex& mutex) {
        if (waited || &mutex != &inside().mutex()) {
            return;
        }
        waited = true;
        EXPECT_EQ(inside().calibration().baseFile, stem);
        inside().settings().file = later; // the thread that holds the lock
    });
    channel->calibrate();
    EXPECT_TRUE(waited);
    EXPECT_EQ(get("file"), stem);
    EXPECT_TRUE(exists(stem + ".cache"));
    EXPECT_FALSE(exists(later + ".cache"));
}

TEST_F(LocksTest, TheDataFileIsCompleteBeforeTheThreadSaysThatItIsDone) {
    openCalibrated();
    const std::vector<std::uint8_t> recorded(16384, 'a');
    model.setRecorded(recorded);
    model.setPieceSize(100); // less than a buffer of the file's, so that the last ones wait for its closing
    beginRecording();
    LogCapture log; // each line takes a lock; the last one reports the closed file
    bool complete = false;
    bool doneAtClosing = true;
    watchLocks([&](const VX_QRS::uMutex&) {
        complete = exists(binPath()) && std::filesystem::file_size(binPath()) == recorded.size();
        doneAtClosing = inside().control().threadDone;
    });
    inside().control().state = Stopped;
    channel->run();
    watchLocks({});
    EXPECT_EQ(log.steps().back(), "closed data file");
    EXPECT_TRUE(complete);
    EXPECT_FALSE(doneAtClosing);
    EXPECT_TRUE(inside().control().threadDone);
}

} // namespace client_test
