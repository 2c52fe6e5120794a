#include "tests/unit/client/frontend/ChannelFixture.h"

#include <string>
#include <vector>

namespace client_test {

using testing::Contains;
using testing::IsSupersetOf;

namespace {

class DataPathTest : public ChannelTest {
protected:
    /// Records, and has these pieces of data arrive with the answer to the request for 16384 bytes that the stop makes.
    void recordWith(const std::vector<std::string>& pieces) {
        openCalibrated();
        beginRecording();
        model.setRecorded(std::vector<std::uint8_t>(16384, 'x'));
        model.deliverBefore(Call::Request, [this, pieces](auto& callback) {
            for (const std::string& piece : pieces) {
                callback.onData(piece.data(), static_cast<std::uint32_t>(piece.size()));
            }
            model.setRecorded({}); // and nothing else comes
        });
        channel->stop();
        channel->run();
    }
};

} // namespace

// ---- data ----

TEST_F(DataPathTest, DataGoToTheFileAndFromPendingToTotal) {
    LogCapture log;
    recordWith({"abcd", "efghij"});
    EXPECT_EQ(status().bytesTotal, 10u);
    EXPECT_EQ(readText(binPath()), "abcdefghij");
    EXPECT_THAT(log.steps(), IsSupersetOf({std::string("writing 4 bytes, 16380 pending, 4 total"),
                                           std::string("writing 6 bytes, 16374 pending, 10 total")}));
    EXPECT_FALSE(status().hasError);
}

TEST_F(DataPathTest, MoreDataThanWereAskedForAreLostAndAnError) {
    LogCapture log;
    recordWith({std::string(16385, 'a'), "bcde"});
    EXPECT_THAT(log.steps(), Contains("writing 4 bytes, 16380 pending, 4 total")) << "still pending";
    EXPECT_EQ(status().bytesTotal, 4u);
    EXPECT_STREQ(status().errorText, "software error : data received from orv before host storage was ready : 16385 "
                                     "bytes of data lost");
    EXPECT_EQ(readText(binPath()), "bcde");
}

TEST_F(DataPathTest, MoreDataThanWereAskedForEndARecording) {
    openCalibrated();
    beginRecording();
    channel->onData("abcd", 4);
    EXPECT_EQ(status().bytesTotal, 0u);
    EXPECT_EQ(state(), Failed);
}

TEST_F(DataPathTest, DataWithoutAFileAreAnErrorEvenWhenPending) {
    openChannel();
    beginRecording();
    inside().counters().bytesPending = 16384;
    channel->onData("abcd", 4);
    EXPECT_STREQ(status().errorText, "software error : data received from orv before host storage was ready : 4 bytes "
                                     "of data lost");
    EXPECT_EQ(status().bytesTotal, 0u);
}

TEST_F(DataPathTest, NoDataAreNoError) {
    recordWith({""});
    EXPECT_FALSE(status().hasError);
    EXPECT_EQ(readText(binPath()), "");
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
        beginRecording();
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
    channel->onStatus(0);
    EXPECT_EQ(state(), Calibrated);
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
    EXPECT_EQ(state(), Recording);
    model.clearLog();
    waits.hook = [this](std::uint32_t) { channel->stop(); };
    channel->run(); // does not end before its first pass
    waits.hook = {};
    EXPECT_EQ(model.count(Call::Stop), 1u);
}

} // namespace client_test
