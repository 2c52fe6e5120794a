#include "Host.h"

#include <thread>

// Any argument in any state of a channel: an error of the framework's family or an effect, and a receiver that
// continues to work.

namespace {

using namespace face;

class AbuseFace : public FaceTest {
protected:
    static constexpr std::size_t longName = 100000;

    // Of the framework's family or none: failureOf reports any other.
    static void attempt(const std::function<void()>& step) { failureOf(step); }

    void callEverything() {
        const std::string endless(longName, 'x');
        for (const char* name : {static_cast<const char*>(nullptr), "", endless.c_str()}) {
            SCOPED_TRACE(name == nullptr ? "null" : std::to_string(std::string(name).size()));
            callWithName(name);
        }
        attempt([&] { channel->GetChannelStatus(nullptr); });
        unsigned number = 0;
        int percent = 0;
        std::string text;
        std::uint64_t sample = 0;
        attempt([&] { channel->GetProgress(nullptr, &percent, &text); });
        attempt([&] { channel->GetProgress(&number, nullptr, &text); });
        attempt([&] { channel->GetProgress(&number, &percent, nullptr); });
        attempt([&] { channel->SeekReadTraceData(0, 1, nullptr, &number); });
        attempt([&] { channel->SeekReadTraceData(0, 1, &sample, nullptr); });
        attempt([&] { channel->SeekReadTraceData(0, 0, &sample, &number); });
        attempt([&] { channel->GetNumSamples(); });
        attempt([&] { channel->ResumeRecording(); });
        attempt([&] { channel->NotImplementedText(0xFFFFFFFF, 0); });
        attempt([&] { channel->CpuName(); });
        attempt([&] { receiver->GetAttachedCpuNames(nullptr); });
        attempt([&] { receiver->ReleaseChannel(nullptr); });
        attempt([&] { receiver->ReleaseChannel(reinterpret_cast<CChannelDriver*>(&sample)); });
        attempt([&] { receiver->GetNumChannels(); });
        EXPECT_STREQ(channel->CpuName(), "bench/app");
    }

    void callWithName(const char* name) {
        const std::string text = name != nullptr ? name : "";
        TraceAttribute answer;
        attempt([&] { channel->GetAttribute(name, &answer); });
        attempt([&] { channel->GetAttribute(name, nullptr); });
        attempt([&] { channel->GetAttribute(("Trace Clock Select List " + text).c_str(), &answer); });
        attempt([&] { channel->GetUserConfiguration(name); });
        attempt([&] { channel->SetConfiguration(name); });
        attempt([&] { channel->LoadFile(name); });
        for (const unsigned format : {1U, 3U}) {
            attempt([&] { channel->SaveFile(text, format); });
        }
        attempt([&] { receiver->GetChannelDriverForCpuName(name); });
        attempt([&] { receiver->GetDataSourceForCpuName(name); });
        attempt([&] { receiver->GetTotalNumPins(name); });
        attempt([&] { receiver->GetPinsForFunction(name, nullptr); });
        attempt([&] { receiver->OnTraceJobChange(name, 0); });
        attempt([&] { receiver->OnTraceSystemStateChange(name, 1); });
        attempt([&] { receiver->OnTargetStateChange(name, 77); });
        attempt([&] { receiver->ReleaseChannel(receiver->AllocateChannel(name, nullptr, 0xFFFFFFFF, 0xFFFFFFFF)); });
    }

    // These wait for a recording's data, so for its end.
    void readAndSave() {
        const std::string raw = space.file("abuse.bin").string();
        std::uint64_t sample = 0;
        unsigned number = 0;
        attempt([&] { channel->SeekReadTraceData(0xFFFFFFFF, 1, &sample, &number); });
        attempt([&] { channel->SeekReadTraceData(0xFFFFFFFF, 0xFFFFFFFF, &sample, &number); });
        for (const std::string& path : {std::string(), std::string(longName, 'x'), raw}) {
            for (const unsigned format : {0U, 2U, 0xFFFFFFFFU}) {
                attempt([&] { channel->SaveFile(path, format); });
            }
        }
    }

    void connect() {
        // All states of the target except two report the status.
        receiver->OnTargetStateChange("bench/app", 0);
    }
};

TEST_F(AbuseFace, BeforeAnyConfiguration) {
    create();
    allocate();
    callEverything();
    readAndSave();
    attempt([&] { channel->StartRecording(false); });
    attempt([&] { channel->StopRecording(); });
    connect();
    EXPECT_EQ(status().text, "Ready to calibrate");
    configure();
    EXPECT_EQ(status().text, "Ready to record");
}

TEST_F(AbuseFace, CalibratedRecordingAndRecorded) {
    create();
    allocate();
    configure({{"is_stop_on_full", "false"}});
    callEverything();
    readAndSave();
    connect();
    EXPECT_EQ(status().text, "Ready to record");

    channel->StartRecording(false);
    callEverything();
    connect();
    EXPECT_TRUE(status().stoppable);
    channel->StartRecording(false);
    std::thread reader([this] { readAndSave(); });
    channel->StopRecording();
    callEverything();
    reader.join();
    waitFor("upload complete");
    channel->StopRecording();
    callEverything();
    readAndSave();
    EXPECT_THAT(status().text, testing::StartsWith("Stopped by user : upload complete"));
    EXPECT_GT(channel->GetNumSamples(), 0U);

    for (const unsigned state : {3U, 4U}) {
        receiver->OnTargetStateChange("bench/app", state);
        callEverything();
        readAndSave();
        connect();
        EXPECT_THAT(status().text, testing::StartsWith("Stopped by user : upload complete"));
    }
}

TEST_F(AbuseFace, ASettingsFileThatCannotBeUsedOrReplacedStillLoadsAsDefaults) {
    create();
    allocate();
    const std::string file = space.file("broken.xml").string();
    const std::string broken = "<CHANNEL-SETUP>\n<num_pins>3</num_pins>\n</CHANNEL-SETUP>\n";
    writeBytes(file, broken);
    bool refused = false;
    {
        const WriteRefused readOnly(file);
        refused = readOnly.holds();
        channel->SetConfiguration(file.c_str());
    }
    EXPECT_EQ(status().text, "Ready to record");
    EXPECT_EQ(attribute("numPins"), "1");
    EXPECT_EQ(attribute("targetSync"), "true");
    if (refused) { // a user with all rights can write it anyway
        EXPECT_EQ(readBytes(file), broken);
    }
}

} // namespace
