#include "Host.h"

#include <atomic>
#include <cstring>
#include <limits>
#include <thread>

// A channel's operations, through the loaded library, in the order in which a framework uses them.

namespace {

using namespace face;

using ChannelFace = FaceTest;
namespace fs = std::filesystem;

TEST_F(ChannelFace, ReportsItsKindBeforeAnyConfiguration) {
    create();
    allocate();
    EXPECT_STREQ(channel->CpuName(), "bench/app");
    EXPECT_FALSE(channel->GetUserConfiguration("x"));
    EXPECT_EQ(channel->NotImplementedText(1, 2), "Not Implemented");
    const ChannelStatus status = this->status();
    EXPECT_EQ(status.code, 1U);
    EXPECT_EQ(status.text, "Ready to calibrate");
    EXPECT_FALSE(status.configurable || status.startable || status.resumable || status.stoppable || status.hasData);
    CChannelDriverProgress& progress = *channel;
    unsigned first = 0;
    int percent = 0;
    std::string text;
    progress.GetProgress(&first, &percent, &text);
    EXPECT_EQ(first, 1U);
    EXPECT_EQ(percent, -1);
    EXPECT_EQ(text, "Kite R2 Trace - Ready for calibration");
    EXPECT_EQ(channel->GetNumSamples(), 0U);
    EXPECT_EQ(failureOf([&] { channel->ResumeRecording(); }),
              "error(2): operation failed : ResumeRecording not supported");
    EXPECT_EQ(failureOf([&] { channel->LoadFile("x.tdf"); }), "error(2): operation failed : load file not supported");
    EXPECT_EQ(failureOf([&] { channel->SetConfiguration(nullptr); }), "error(2): null parameter");
}

TEST_F(ChannelFace, MakesAWholeRecording) {
    create();
    allocate();

    // The calibration can be followed from another thread.
    std::atomic<bool> done{false};
    std::atomic<bool> seen{false};
    std::thread follower([&] {
        while (!done) {
            unsigned first = 0;
            int percent = 0;
            std::string text;
            channel->GetProgress(&first, &percent, &text);
            if (text == "Kite R2 Trace - Calibration in progress" && percent >= 0 && percent <= 100) {
                seen = true;
            }
        }
    });
    configure({{"num_pins", "4"}, {"bufsize_current", "2"}});
    done = true;
    follower.join();
    EXPECT_TRUE(seen);
    unsigned first = 0;
    int percent = 0;
    std::string text;
    channel->GetProgress(&first, &percent, &text);
    EXPECT_EQ(percent, 100);
    EXPECT_EQ(text, "Kite R2 Trace - Calibration complete");
    EXPECT_GT(channel->GetNumSamples(), 0U) << "what the verification recorded is still counted";

    ChannelStatus status = this->status();
    EXPECT_EQ(status.code, 16U);
    EXPECT_EQ(status.text, "Ready to record");
    EXPECT_TRUE(status.configurable && status.startable);
    EXPECT_FALSE(status.resumable || status.stoppable || status.hasData);

    channel->StartRecording(true);
    waitFor("Stopped by buffer full");
    // Reads during the upload wait for the requested data.
    std::vector<std::uint64_t> samples(8192);
    unsigned read = 0;
    channel->SeekReadTraceData(122880, 8192, samples.data(), &read);
    EXPECT_EQ(read, 8192U);
    waitFor("Stopped by buffer full : upload complete");
    status = this->status();
    EXPECT_EQ(status.code, 8U);
    EXPECT_TRUE(status.configurable && status.startable && status.hasData);
    EXPECT_FALSE(status.resumable || status.stoppable);

    ASSERT_EQ(channel->GetNumSamples(), 131072U);
    const std::string uploaded = readBytes(attribute("file") + ".bin");
    ASSERT_EQ(uploaded.size(), 1048576U);
    EXPECT_EQ(std::memcmp(samples.data(), uploaded.data() + 983040, 65536), 0);
    channel->SeekReadTraceData(131070, 8192, samples.data(), &read);
    EXPECT_EQ(read, 2U) << "a read beyond the end returns the rest";
    channel->SeekReadTraceData(131072, 1, samples.data(), &read);
    EXPECT_EQ(read, 0U);
    channel->SeekReadTraceData(std::numeric_limits<unsigned>::max(), 8192, samples.data(), &read);
    EXPECT_EQ(read, 0U);

    const fs::path raw = space.file("raw.bin");
    writeBytes(raw, std::string(2000000, 'x'));
    channel->SaveFile(raw.string(), CChannelDriver::eSaveRaw);
    EXPECT_TRUE(readBytes(raw) == uploaded) << "a raw file is replaced";

    const fs::path tdf = space.file("trace.tdf");
    writeBytes(tdf, "some identifier");
    channel->SaveFile(tdf.string(), CChannelDriver::eSaveTraceDataFile);
    channel->SaveFile(tdf.string(), 4);
    const std::string section = std::string("\x18\0\x10\0\x01\0\0\0\x0c\0\0\0BinTraceData", 24) + uploaded;
    EXPECT_TRUE(readBytes(tdf) == "some identifier" + section + section) << "two saves make two sections";

    channel->StartRecording(false);
    waitFor("upload complete");
    channel->SeekReadTraceData(0, 8192, samples.data(), &read);
    EXPECT_EQ(read, 8192U) << "the new recording is read";
}

TEST_F(ChannelFace, RefusesToSaveWhereItMust) {
    create();
    allocate();
    configure();
    recordUntilFull();
    EXPECT_EQ(failureOf([&] { channel->SaveFile("", 2); }), "error(2): invalid file : Cannot save to empty file name");
    for (const unsigned format : {1U, 3U}) {
        const fs::path file = space.file("refused.txt");
        EXPECT_EQ(failureOf([&] { channel->SaveFile(file.string(), format); }),
                  "error(2): invalid file : Internal error.  Cannot save uncompressed trace data format");
        EXPECT_FALSE(fs::exists(file));
    }
    const std::string notOpened = "error(2): invalid file : Could not open file";
    EXPECT_THAT(failureOf([&] { channel->SaveFile(space.file("none/x.bin").string(), 2); }),
                testing::StartsWith(notOpened));
    EXPECT_THAT(failureOf([&] { channel->SaveFile(space.file("bench").string(), 2); }), testing::StartsWith(notOpened));

    const fs::path fresh = space.file("fresh.tdf");
    EXPECT_EQ(failureOf([&] { channel->SaveFile(fresh.string(), 0); }),
              "error(2): Section header offset to save data is not valid.");
    EXPECT_EQ(fs::file_size(fresh), 24U);

    const std::string samples = attribute("file") + ".bin";
    const std::string before = readBytes(samples);
    for (const unsigned format : {0U, 2U}) {
        EXPECT_THAT(failureOf([&] { channel->SaveFile(samples, format); }), testing::StartsWith(notOpened));
    }
    EXPECT_TRUE(readBytes(samples) == before) << "the recording itself is no target";
}

TEST_F(ChannelFace, AnswersTheFrameworksQueries) {
    create("two-pin");
    allocate();
    configure({{"num_pins", "2"}, {"drm_xmtr", "pti"}});
    recordUntilFull();
    TraceChannelAttributes& attributes = *channel;
    const auto expect = [&](const std::string& name, std::uint32_t type, const std::string& value) {
        TraceAttribute answer;
        attributes.GetAttribute(name.c_str(), &answer);
        EXPECT_STREQ(answer.name, name.c_str());
        EXPECT_EQ(answer.type, type) << name;
        EXPECT_EQ(std::string(answer.value), value) << name;
    };
    expect("Trace Data Pin Size ", 2, "2");
    expect("Buffer Wrapped", 0, "0");
    expect("TWP Source", 0, "0");
    expect("ETB Samples", 2, std::to_string(channel->GetNumSamples()));
    expect("ETB Data Flip Needed", 0, "0");
    expect("Trace EBM Size Select List ", 2, "10");
    expect("Trace EBM Size Select List 0", 5, "262144");
    expect("targetSync", 6, "false");
    expect("pinMap", 6, attribute("pinMap"));
    const std::string clocks = attribute("frequencies");
    const auto count = 1 + std::count(clocks.begin(), clocks.end(), ',');
    expect("Trace Clock Select List ", 2, std::to_string(count));
    expect("Trace Clock Select List 0", 6,
           count == 1 ? clocks.substr(0, clocks.size() - 1) : clocks.substr(0, clocks.find(',')));
    for (const char* name :
         {"Device Clock Frequency", "Timing Clock Frequency", "Trace Clock Frequency", "Trace Data Frequency"}) {
        EXPECT_GT(std::stod(attribute(name)), 1e6) << name;
    }
    EXPECT_EQ(attribute("Timing Clock Frequency"), attribute("Trace Clock Frequency"));
    EXPECT_EQ(failureOf([&] { attribute("Trace Clock Select List 1000"); }), "error(2): operation failed");
    EXPECT_EQ(failureOf([&] { attribute("Trace Pin-out Select List "); }), "error(2): invalid variable name : pinMaps");
    EXPECT_EQ(failureOf([&] { attribute("no such thing"); }), "error(2): invalid variable name : no such thing");
    TraceAttribute answer;
    EXPECT_EQ(failureOf([&] { attributes.GetAttribute(nullptr, &answer); }),
              "error(2): null parameter : invalid attribute name");
}

TEST_F(ChannelFace, ATpiuExportOfThisDeviceNeedsItsDataFlipped) {
    create("tpiu");
    allocate();
    configure({{"num_pins", "4"}, {"drm_xmtr", "tpiu"}});
    EXPECT_EQ(attribute("TWP Source"), "1");
    EXPECT_EQ(attribute("ETB Data Flip Needed"), "1");
}

TEST_F(ChannelFace, ASecondChannelCannotBeConfigured) {
    create();
    allocate();
    configure();
    CChannelDriver* const second = receiver->AllocateChannel("bench/control", xmtr, 0, 0);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(failureOf([&] { second->SetConfiguration(space.file("chan.xml").string().c_str()); }),
              "error(2): operation failed : only 1 channel(s) may be active at one time");
    receiver->ReleaseChannel(second);
}

} // namespace
