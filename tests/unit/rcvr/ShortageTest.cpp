#include "DriverFixture.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uDll.h"
#include "rcvr/framework/CReceiver.h"
#include "tests/support/allocation/MemoryShortage.h"

#include <array>
#include <cstring>
#include <thread>
#include <typeinfo>

// A host's whole life with the receiver, with memory refused at each place in turn: errors of the framework's family
// leave, and nothing else.

namespace {

using namespace rcvr_test;
using test_support::MemoryShortage;

// A channel whose work needs memory, as that of the real one does.
class PlainChannel : public client::FrontEndChannel {
public:
    void setProperty(const char* /*name*/, const char* value) override { propsFile = value; }
    void getProperty(const char* name, const char** value) override {
        struct Row {
            const char* name;
            const char* value;
        };
        static constexpr Row rows[] = {{"targetSync", "true"}, {"file", "chan"},
                                       {"orvBufSize", "4096"}, {"numPins", "4"},
                                       {"drmXmtr", "tpiu"},    {"frequencies", "100000000.000000,50000000.000000"},
                                       {"pinMaps", "2:3,4:5"}, {"orvBufHasWrapped", "false"}};
        for (const Row& row : rows) {
            if (std::strcmp(row.name, name) == 0) {
                *value = row.value;
                return;
            }
        }
        client::fail("orv_client_frontend", client::eNAME, name);
    }
    void applySettings() override { work(); }
    void calibrate() override { work(); }
    void start(bool) override {
        work();
        metrics.state = client::Recording;
        metrics.threadDone = false;
    }
    void stop() override {
        metrics.state = client::Stopped;
        metrics.threadDone = true;
        work();
    }
    void endTransmission(bool) override { work(); }
    void status(client::ChannelMetrics& out) override {
        work();
        out = metrics;
    }
    std::uint32_t ovs(bool, bool) override { return 0; }

    client::ChannelMetrics metrics;

private:
    void work() { propsFile.assign(propsFile.size() < 60 ? 200 : 50, 'x').shrink_to_fit(); }

    std::string propsFile;
};

class PlainFrontEnd : public client::FrontEnd {
public:
    explicit PlainFrontEnd(client::FrontEndChannel& only) : channel(only) {}
    void setProperty(const char*, const char*) override {}
    void getProperty(const char*, const char** value) override { *value = "1"; }
    client::FrontEndChannel* alloc(const char*, IXmtrLibrary*, std::uint32_t, std::uint32_t, std::uint32_t,
                                   const client::ChannelSettings*) override {
        return &channel;
    }
    void release(client::FrontEndChannel*) override {}
    std::uint32_t numChannels() override { return 1; }
    client::FrontEndChannel* getChannel(std::uint32_t) override { return nullptr; }
    VX_QRS::ORV::DataClient* getDataClient() override { return nullptr; }

private:
    client::FrontEndChannel& channel;
};

class Shortage : public DriverFixture {
protected:
    static constexpr unsigned recorded = 10000;

    Shortage() : DriverFixture({"part", "adapter", "driver", "source"}) {
        device("unit kite\nport \"3\"\nentry\nparent STM\ntrace port\nversion 1\npinout normal=pti=2,3;pti=2,3,4\n");
        frontEndSource().frontEnd = &plainFrontEnd;
        plainChannel.metrics.bytesTotal = recorded * 8;
        writeBytes("chan.bin", std::string(recorded * 8, 's'));
        settings = settingsFile();
        const char* const names[] = {"PartIdentifier", "HaloTargetAdapter", "AmbitFileChannelDriver", "OrvDataSource"};
        for (std::size_t i = 0; i < held.size(); ++i) {
            EXPECT_TRUE(held[i].FindAndLoad(names[i]));
        }
    }

    // What leaves a step, if it is no error of the framework's family, is remembered without needing memory.
    template <class Step>
    void attempt(const char* what, Step&& step) noexcept {
        try {
            step();
        } catch (const Vx::Qrs::Zarn::cZarnErrorIF& error) {
            if (error.GetErrorText() == nullptr || *error.GetErrorText() == '\0') {
                escaped = what;
            }
        } catch (const std::exception& exception) {
            escaped = what;
            escapedClass = typeid(exception).name();
        } catch (...) {
            escaped = what;
        }
    }

    // Names are short enough to need no memory of the caller's.
    void useChannel() noexcept {
        TraceAttribute attribute;
        for (const char* name : {"targetSync", "Trace Data Pin Size ", "Device Clock Frequency", "Buffer Wrapped",
                                 "Trace Clock Select List ", "Trace Clock Select List 0", "Trace Clock Select List 9",
                                 "TWP Source", "ETB Samples", "ETB Data Flip Needed", "no property of this channel"}) {
            attempt(name, [&] { channel->GetAttribute(name, &attribute); });
        }
        ChannelStatus status;
        unsigned number = 0;
        int percent = 0;
        std::string text;
        attempt("GetProgress", [&] { channel->GetProgress(&number, &percent, &text); });
        attempt("GetUserConfiguration", [&] { channel->GetUserConfiguration(nullptr); });
        attempt("SetConfiguration", [&] {
            channel->SetConfiguration(settings.c_str());
            configured = true;
        });
        attempt("OnTargetStateChange 3", [&] { receiver->OnTargetStateChange(fullCpuName, 3); });
        attempt("StartRecording", [&] { channel->StartRecording(false); });
        attempt("OnTargetStateChange 5", [&] { receiver->OnTargetStateChange("another cpu of that board", 5); });
        attempt("GetChannelStatus", [&] { channel->GetChannelStatus(&status); });
        attempt("OnTargetStateChange 7", [&] { receiver->OnTargetStateChange("another cpu of that board", 7); });
        attempt("StartRecording", [&] { channel->StartRecording(false); });
        attempt("StopRecording", [&] { channel->StopRecording(); });
        attempt("OnTraceSystemStateChange", [&] { receiver->OnTraceSystemStateChange(fullCpuName, 0); });
        plainChannel.metrics.state = client::Stopped;
        plainChannel.metrics.threadDone = true;
        plainChannel.metrics.hasError = true;
        attempt("GetChannelStatus", [&] { channel->GetChannelStatus(&status); });
        attempt("GetNumSamples", [&] { channel->GetNumSamples(); });
        std::uint64_t samples[4];
        attempt("SeekReadTraceData", [&] { channel->SeekReadTraceData(1, 4, samples, &number); });
        attempt("SeekReadTraceData", [&] { channel->SeekReadTraceData(1, 4, nullptr, &number); });
        attempt("SaveFile 2", [&] { channel->SaveFile("raw", 2); });
        attempt("SaveFile 0", [&] { channel->SaveFile("a.tdf", 0); });
        attempt("SaveFile 1", [&] { channel->SaveFile("raw", 1); });
        attempt("SaveFile ''", [&] { channel->SaveFile("", 2); });
        attempt("SaveFile refused", [&] { channel->SaveFile("none/x", 2); });
        attempt("LoadFile", [&] { channel->LoadFile("x"); });
        attempt("ResumeRecording", [&] { channel->ResumeRecording(); });
        attempt("CpuName", [&] { channel->CpuName(); });
        attempt("NotImplementedText", [&] { channel->NotImplementedText(0, 0); });
    }

    void useReceiver() noexcept {
        char name[64];
        char* names[] = {name};
        attempt("GetNumAttachedCpus", [&] { receiver->GetNumAttachedCpus(); });
        attempt("GetAttachedCpuNames", [&] { receiver->GetAttachedCpuNames(names); });
        attempt("GetNumChannels", [&] { receiver->GetNumChannels(); });
        attempt("GetDataSourceForCpuName", [&] { receiver->GetDataSourceForCpuName(fullCpuName); });
        attempt("GetChannelDriverForCpuName", [&] { receiver->GetChannelDriverForCpuName(fullCpuName); });
        attempt("GetNextAvailableChannelNum", [&] { receiver->GetNextAvailableChannelNum(); });
        attempt("GetTotalNumPins", [&] { receiver->GetTotalNumPins(fullCpuName); });
        attempt("GetPinsForFunction", [&] { receiver->GetPinsForFunction("x", nullptr); });
        attempt("GetFileDataSource", [&] { receiver->GetFileDataSource(); });
        attempt("OnTraceJobChange", [&] { receiver->OnTraceJobChange(fullCpuName, 0); });
        attempt("ReleaseChannel", [&] { receiver->ReleaseChannel(nullptr); });
        attempt("ReleaseChannel", [&] { receiver->ReleaseChannel(reinterpret_cast<CChannelDriver*>(name)); });
        attempt("AllocateChannel", [&] { receiver->AllocateChannel(nullptr, nullptr, 0, 0); });
    }

    void destroyAll() noexcept {
        for (; users != 0; --users) {
            attempt("DestroyRcvr", [&] { DestroyRcvr(receiver); });
        }
        receiver = nullptr;
    }

    // A whole life with one kind of shortage; whether memory ran short at all.
    bool live(std::size_t granted, test_support::Shortage kind) {
        plainChannel.metrics.state = client::Calibrated;
        plainChannel.metrics.hasError = false;
        plainChannel.metrics.threadDone = true;
        configured = false;
        writeBytes("a.tdf", "TDF1");
        MemoryShortage shortage(granted, kind);
        create();
        create();
        if (receiver != nullptr) {
            useReceiver();
        }
        if (receiver != nullptr) {
            attempt("AllocateChannel", [&] { channel = receiver->AllocateChannel(fullCpuName, &xmtr, 0, 0); });
        }
        if (channel != nullptr) {
            useChannel();
        }
        const bool ranShort = MemoryShortage::hasRefused();
        shortage.pause();
        if (channel != nullptr) {
            expectLocksAreFree();
            if (receiver->GetNumAttachedCpus() == 0) {
                delete std::exchange(channel, nullptr); // the receiver could not keep it
            }
        }
        shortage.resume();
        if (channel != nullptr) {
            attempt("ReleaseChannel", [&] { receiver->ReleaseChannel(channel); });
        }
        channel = nullptr;
        destroyAll();
        return MemoryShortage::hasRefused() || ranShort;
    }

    void create() noexcept {
        attempt("CreateRcvr", [&] {
            receiver = CreateRcvr();
            ++users;
        });
    }

    // A lock that is held shows in that this never comes back. The recording can be read now.
    void expectLocksAreFree() {
        std::thread([&] {
            ChannelStatus status;
            TraceAttribute attribute;
            std::uint64_t sample = 0;
            unsigned number = 0;
            channel->GetChannelStatus(&status);
            channel->GetAttribute("numPins", &attribute);
            channel->SeekReadTraceData(0, 1, &sample, &number);
            EXPECT_TRUE(number == 1 || !configured);
        }).join();
    }

    void walk(test_support::Shortage kind) {
        std::size_t granted = 0;
        while (live(granted, kind)) {
            ASSERT_EQ(escaped, nullptr) << escaped << " let out " << escapedClass << " after " << granted << " blocks";
            ASSERT_EQ(frontEndSource().created, frontEndSource().destroyed) << granted;
            ++granted;
        }
        EXPECT_GE(granted, 200U) << "the life has become too short for a meaningful test";
        EXPECT_EQ(escaped, nullptr);
    }

    const std::string place = folder.path.string();
    VX_QRS::uEnvironment::ScopedDirectoryChanger inside{place.c_str()};
    ScopedVariable level{"VX_TRACE_LOGGING", "3"};
    // On Windows each loading of a library costs the process one of 1088 slots for good.
    std::array<VX_QRS::uDll, 4> held;
    PlainChannel plainChannel;
    PlainFrontEnd plainFrontEnd{plainChannel};
    std::string settings;
    CReceiver* receiver = nullptr;
    CChannelDriver* channel = nullptr;
    int users = 0;
    bool configured = false;
    const char* escaped = nullptr;
    const char* escapedClass = "";
};

TEST_F(Shortage, OfASingleAllocationLetsOnlyErrorsOut) {
    walk(test_support::Shortage::oneBlock);
}

TEST_F(Shortage, ThatLastsLetsOnlyErrorsOut) {
    walk(test_support::Shortage::lasting);
}

TEST_F(Shortage, WhereTheReceiverCannotKeepAChannelStillReturnsIt) {
    receiver = CreateRcvr();
    users = 1;
    bool returnedAndNotKept = false;
    for (std::size_t granted = 0; !returnedAndNotKept; ++granted) {
        bool occurred = false;
        {
            const MemoryShortage shortage(granted, test_support::Shortage::oneBlock);
            attempt("AllocateChannel", [&] { channel = receiver->AllocateChannel(fullCpuName, &xmtr, 0, 0); });
            occurred = MemoryShortage::hasRefused();
        }
        ASSERT_TRUE(occurred) << "the appending needed no memory";
        returnedAndNotKept = channel != nullptr && receiver->GetNumAttachedCpus() == 0;
        if (channel != nullptr && !returnedAndNotKept) {
            receiver->ReleaseChannel(channel);
        } else {
            delete channel;
        }
        channel = nullptr;
    }
    destroyAll();
}

TEST_F(Shortage, CutsTheTextsOfAnErrorButKeepsItsBeginning) {
    const std::string detail(1000, 'd');
    const MemoryShortage shortage(0);
    try {
        throw Error("OrvRcvr_Receiver", 12, eBadFile, detail.c_str());
    } catch (Error& error) {
        EXPECT_EQ(std::strncmp(error.GetErrorText(), "invalid file : ddd", 18), 0);
        EXPECT_EQ(std::strlen(error.GetErrorText()), 191U);
        EXPECT_STREQ(error.GetErrorText() + 188, "...");
        EXPECT_STREQ(error.GetDetailedText(), "OrvRcvr_Receiver(12)");
        EXPECT_STREQ(error.GetTitle(), "error");
        EXPECT_EQ(std::strncmp(error.FormatForLog(), "ORV Receiver : error(2) : invalid file : ddd", 44), 0);
    }
}

} // namespace
