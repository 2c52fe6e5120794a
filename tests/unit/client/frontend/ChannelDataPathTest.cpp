#include "tests/unit/client/frontend/ChannelFixture.h"

#include <cstdio>
#include <string>
#include <vector>

namespace client_test {

using testing::ElementsAre;

namespace {

class DataPathTest : public ChannelTest {
protected:
    void openFile() {
        inside().control().dataFile = VX_QRS::OutputFile(binPath(), VX_QRS::OutputFile::Mode::binary);
        ASSERT_TRUE(inside().control().dataFile.isOpen());
    }
    std::string written() {
        inside().control().dataFile.close();
        return readText(binPath());
    }
};

} // namespace

// ---- data ----

TEST_F(DataPathTest, DataGoToTheFileAndFromPendingToTotal) {
    openChannel();
    beginRecording();
    openFile();
    inside().counters().bytesPending = 10;
    LogCapture log;
    channel->onData("abcd", 4);
    channel->onData("efghij", 6);
    EXPECT_EQ(inside().counters().bytesPending, 0u);
    EXPECT_EQ(status().bytesTotal, 10u);
    EXPECT_EQ(written(), "abcdefghij");
    EXPECT_THAT(log.steps(),
                ElementsAre("writing 4 bytes, 6 pending, 4 total", "writing 6 bytes, 0 pending, 10 total"));
    EXPECT_EQ(state(), Recording);
}

TEST_F(DataPathTest, MoreDataThanWereAskedForAreLostAndAnError) {
    openChannel();
    beginRecording();
    openFile();
    inside().counters().bytesPending = 3;
    channel->onData("abcd", 4);
    EXPECT_EQ(inside().counters().bytesPending, 3u);
    EXPECT_EQ(status().bytesTotal, 0u);
    EXPECT_STREQ(status().errorText, "software error : data received from orv before host storage was ready : 4 bytes "
                                     "of data lost");
    EXPECT_EQ(state(), Failed);
    EXPECT_EQ(written(), "");
}

TEST_F(DataPathTest, DataWithoutAFileAreAnErrorEvenWhenPending) {
    openChannel();
    beginRecording();
    inside().counters().bytesPending = 16384;
    channel->onData("abcd", 4);
    EXPECT_EQ(inside().counters().bytesPending, 16384u);
    EXPECT_STREQ(status().errorText, "software error : data received from orv before host storage was ready : 4 bytes "
                                     "of data lost");
}

TEST_F(DataPathTest, NoDataAreNoError) {
    openChannel();
    beginRecording();
    openFile();
    channel->onData(nullptr, 0);
    EXPECT_FALSE(status().hasError);
    EXPECT_EQ(written(), "");
}

// ---- errors ----

TEST_F(DataPathTest, ServerErrorsKeepTheirCodeAndTexts) {
    struct Case {
        std::uint32_t code;
        const char* first;
        const char* second;
        const char* text;
    };
    const Case cases[] = {
        {7, "a", "", "data server error (7) : a"},
        {7, "", "b", "data server error (7) :  : b"},
        {7, "a", "b", "data server error (7) : a : b"},
        {7, "", "", "data server error (7) : "},
        {4294967295u, nullptr, nullptr, "data server error (4294967295)"},
        {0, nullptr, "b", "data server error (0) : b"},
        {1, "a", nullptr, "data server error (1) : a"},
    };
    openChannel();
    for (const Case& c : cases) {
        inside().initializeThreadState();
        channel->onError(c.code, c.first, c.second);
        EXPECT_STREQ(status().errorText, c.text);
        EXPECT_EQ(state(), Failed);
    }
}

// ---- status ----

TEST_F(DataPathTest, StreamThatWentIdleEndsARecording) {
    openChannel();
    beginRecording();
    channel->onStatus(1);
    channel->onStatus(4294967295u);
    EXPECT_EQ(state(), Recording);
    channel->onStatus(0);
    EXPECT_EQ(state(), Idle);
    EXPECT_FALSE(status().hasError);
}

TEST_F(DataPathTest, StreamThatWentIdleOutsideARecordingChangesNothing) {
    openCalibrated();
    inside().control().exitThread = false;
    channel->onStatus(0);
    EXPECT_EQ(state(), Calibrated);
    EXPECT_FALSE(inside().control().exitThread);
}

// ---- what a callback meets during the start ----

TEST_F(DataPathTest, StaleDataDuringTheStartAreAnErrorOfTheNewRecording) {
    openCalibrated();
    model.deliverBefore(Call::Start, [](auto& callback) { callback.onData("abcd", 4); });
    model.setRecorded({});
    channel->start(false);
    waitUntilDone();
    EXPECT_EQ(state(), Failed);
    EXPECT_STREQ(status().errorText, "software error : data received from orv before host storage was ready : 4 bytes "
                                     "of data lost");
}

TEST_F(DataPathTest, ErrorsBeforeTheRecordingBeginsAreForgotten) {
    openCalibrated();
    model.deliverBefore(Call::Cancel, [](auto& callback) { callback.onError(3, "old", ""); });
    beginRecording();
    EXPECT_FALSE(status().hasError);
    EXPECT_FALSE(inside().control().exitThread);
    EXPECT_EQ(state(), Recording);
}

} // namespace client_test
