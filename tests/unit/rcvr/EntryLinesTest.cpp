#include "DriverFixture.h"

// Every operation of the receiver and of a channel logs its name before anything else.

namespace {

using namespace rcvr_test;

// The level that logs entries writes to the standard output, too.
struct Silence {
    Silence() { testing::internal::CaptureStdout(); }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() { testing::internal::GetCapturedStdout(); }
};

class EntryLines : public DriverFixture {
protected:
    EntryLines() { makeDriver(); }

    // "unit function" of the first line that a step adds; a step that refuses has one as well.
    std::string firstLineOf(const std::function<void()>& step) {
        const std::size_t before = log.lines().size();
        failureOf(step);
        const auto lines = log.lines();
        if (lines.size() == before) {
            return "";
        }
        const std::string& line = lines[before];
        const std::size_t number = line.find(" #");
        return number == std::string::npos ? line : line.substr(0, number) + line.substr(line.find("  ") + 1);
    }

    void expectReceiverEntry(const std::string& name, const std::function<void()>& step) {
        EXPECT_EQ(firstLineOf(step), "F OrvRcvr_Receiver Vx::Qrs::Trace::OrvRcvr::Receiver::" + name + "(...)");
    }
    void expectDriverEntry(const std::string& name, const std::function<void()>& step) {
        EXPECT_EQ(firstLineOf(step),
                  "F OrvRcvr_ChannelDriver Vx::Qrs::Trace::OrvRcvr::ChannelDriver::" + name + "(...)");
    }

    Silence silence;
    LogCapture log{folder, "6"};
};

TEST_F(EntryLines, OfTheReceiver) {
    expectReceiverEntry("OnTargetStateChange", [&] { receiver->OnTargetStateChange(nullptr, 5); });
    expectReceiverEntry("OnTraceSystemStateChange", [&] { receiver->OnTraceSystemStateChange("cpu", 1); });
    expectReceiverEntry("GetNumAttachedCpus", [&] { receiver->GetNumAttachedCpus(); });
    expectReceiverEntry("GetAttachedCpuNames", [&] { receiver->GetAttachedCpuNames(nullptr); });
    expectReceiverEntry("AllocateChannel", [&] { receiver->AllocateChannel(nullptr, nullptr, 0, 0); });
    expectReceiverEntry("ReleaseChannel", [&] { receiver->ReleaseChannel(nullptr); });
    expectReceiverEntry("GetNumChannels", [&] { receiver->GetNumChannels(); });
    expectReceiverEntry("GetDataSourceForCpuName", [&] { receiver->GetDataSourceForCpuName("cpu"); });
    expectReceiverEntry("GetChannelDriverForCpuName", [&] { receiver->GetChannelDriverForCpuName("cpu"); });
    expectReceiverEntry("GetNextAvailableChannelNum", [&] { receiver->GetNextAvailableChannelNum(); });
    expectReceiverEntry("GetTotalNumPins", [&] { receiver->GetTotalNumPins("cpu"); });
    expectReceiverEntry("GetPinsForFunction", [&] { receiver->GetPinsForFunction("x", nullptr); });
    expectReceiverEntry("LoadSiblingLibrary", [&] { receiver->LoadSiblingLibrary("x", nullptr); });
    expectReceiverEntry("LoadPartIdentifierLibrary", [&] { receiver->LoadPartIdentifierLibrary(); });
    expectReceiverEntry("LoadFileLibraries", [&] { receiver->LoadFileLibraries(); });
    expectReceiverEntry("ChannelDriverForCpu", [&] { receiver->ChannelDriverForCpu("cpu"); });
    expectReceiverEntry("~Receiver", [&] { receiver.reset(); });
    expectReceiverEntry("Receiver", [&] { receiver = std::make_unique<Receiver>(); });
}

TEST_F(EntryLines, NoneOfTheAccessors) {
    const std::size_t before = log.lines().size();
    receiver->GetFileDataSource();
    receiver->GetPartIdentifier();
    receiver->GetFrontEnd();
    EXPECT_EQ(log.lines().size(), before);
}

TEST_F(EntryLines, OfAChannel) {
    TraceAttribute attribute;
    ChannelStatus status;
    unsigned number = 0;
    int percent = 0;
    std::string text;
    expectDriverEntry("GetAttribute", [&] { driver->GetAttribute("numPins", &attribute); });
    expectDriverEntry("GetProgress", [&] { driver->GetProgress(&number, &percent, &text); });
    expectDriverEntry("GetUserConfiguration", [&] { driver->GetUserConfiguration(nullptr); });
    expectDriverEntry("SetConfiguration", [&] { driver->SetConfiguration(nullptr); });
    expectDriverEntry("StartRecording", [&] { driver->StartRecording(false); });
    expectDriverEntry("StopRecording", [&] { driver->StopRecording(); });
    expectDriverEntry("ResumeRecording", [&] { driver->ResumeRecording(); });
    expectDriverEntry("SaveFile", [&] { driver->SaveFile("", 0); });
    expectDriverEntry("LoadFile", [&] { driver->LoadFile(nullptr); });
    expectDriverEntry("SeekReadTraceData", [&] { driver->SeekReadTraceData(0, 0, nullptr, &number); });
    expectDriverEntry("GetNumSamples", [&] { driver->GetNumSamples(); });
    expectDriverEntry("CpuName", [&] { driver->CpuName(); });
    expectDriverEntry("GetChannelStatus", [&] { driver->GetChannelStatus(&status); });
    expectDriverEntry("NotImplementedText", [&] { driver->NotImplementedText(0, 0); });
    expectDriverEntry("NotifySystemStateChange", [&] { driver->NotifySystemStateChange(1); });
    expectDriverEntry("ApplyTraceEnd", [&] { driver->ApplyTraceEnd(false); });
    expectDriverEntry("AreAllCpusHalted", [&] { driver->AreAllCpusHalted(); });
    expectDriverEntry("RegisterCpuHalt", [&] { driver->RegisterCpuHalt("cpu", true); });
    expectDriverEntry("UnregisterCPU", [&] { driver->UnregisterCPU("cpu"); });
    expectDriverEntry("GetFrontEndChannel", [&] { driver->GetFrontEndChannel(); });
    expectDriverEntry("ConvertXmlToFrontEndPropsFile", [&] {
        driver->ConvertXmlToFrontEndPropsFile(settingsFile().c_str(), folder.file("chan.cfg").c_str());
    });
    expectDriverEntry("SetTargetState", [&] { driver->SetTargetState(3); });
    expectDriverEntry("GetChannelStatus", [&] { driver->GetChannelStatus(&status); });
}

TEST_F(EntryLines, OfAChannelThatIsMadeAndGoes) {
    std::unique_ptr<ChannelDriver> made;
    expectDriverEntry("ChannelDriver",
                      [&] { made = std::make_unique<ChannelDriver>(receiver.get(), &frontEnd, "cpu", &xmtr, 0, 0); });
    expectDriverEntry("~ChannelDriver", [&] { made.reset(); });
}

} // namespace
