#include "DriverFixture.h"
#include "common/source/source_utilities/uEnvironment.h"

// Every operation in every state, with whatever a host may pass: an Error or an effect, and nothing else.

namespace {

using namespace rcvr_test;

class EveryState : public DriverFixture {
protected:
    // A bare name is a file in the working directory.
    const std::string place = folder.path.string();
    VX_QRS::uEnvironment::ScopedDirectoryChanger inside{place.c_str()};

    EveryState() {
        makeDriver();
        driver->SetConfiguration(settingsFile().c_str());
    }

    // An Error has its number; anything of another family, or none that is known, counts as a hole in the guard.
    void expectGuarded(const char* what, const std::function<void()>& step) {
        const std::string text = failureOf(step);
        EXPECT_TRUE(text.empty() || text.rfind("Error ", 0) == 0) << what << ": " << text;
    }

    void callEverything() {
        const std::string longName(100000, 'x');
        const char* const names[] = {nullptr, "", longName.c_str(), "cpu", "Trace Clock Select List "};
        TraceAttribute attribute;
        ChannelStatus status;
        unsigned number = 0;
        int percent = 0;
        std::string text;
        std::uint64_t samples[4] = {};
        for (const char* name : names) {
            expectGuarded("GetAttribute", [&] { driver->GetAttribute(name, &attribute); });
            expectGuarded("GetAttribute", [&] { driver->GetAttribute(name, nullptr); });
            expectGuarded("SetConfiguration", [&] { driver->SetConfiguration(name); });
            expectGuarded("GetUserConfiguration", [&] { driver->GetUserConfiguration(name); });
            expectGuarded("LoadFile", [&] { driver->LoadFile(name); });
            if (name == nullptr || *name == '\0' || name == longName.c_str()) {
                for (const unsigned format : {0U, 1U, 2U, 3U, 4U}) {
                    expectGuarded("SaveFile", [&] { driver->SaveFile(name != nullptr ? name : "", format); });
                }
            }
            expectGuarded("GetChannelDriverForCpuName", [&] { receiver->GetChannelDriverForCpuName(name); });
            expectGuarded("GetDataSourceForCpuName", [&] { receiver->GetDataSourceForCpuName(name); });
            expectGuarded("GetTotalNumPins", [&] { receiver->GetTotalNumPins(name); });
            expectGuarded("GetPinsForFunction", [&] { receiver->GetPinsForFunction(name, nullptr); });
            expectGuarded("OnTraceSystemStateChange", [&] { receiver->OnTraceSystemStateChange(name, 0); });
            expectGuarded("RegisterCpuHalt", [&] { driver->RegisterCpuHalt(name, false); });
            expectGuarded("UnregisterCPU", [&] { driver->UnregisterCPU(name); });
            expectGuarded("OnTraceJobChange", [&] { receiver->OnTraceJobChange(name, 0); });
            expectGuarded("AllocateChannel", [&] {
                receiver->ReleaseChannel(receiver->AllocateChannel(name, nullptr, 0xFFFFFFFF, 0xFFFFFFFF));
            });
        }
        expectGuarded("GetChannelStatus", [&] { driver->GetChannelStatus(&status); });
        expectGuarded("GetChannelStatus", [&] { driver->GetChannelStatus(nullptr); });
        expectGuarded("AreAllCpusHalted", [&] { driver->AreAllCpusHalted(); });
        expectGuarded("GetProgress", [&] { driver->GetProgress(&number, &percent, &text); });
        expectGuarded("GetProgress", [&] { driver->GetProgress(nullptr, nullptr, nullptr); });
        expectGuarded("StartRecording", [&] { driver->StartRecording(false); });
        expectGuarded("StopRecording", [&] { driver->StopRecording(); });
        expectGuarded("ResumeRecording", [&] { driver->ResumeRecording(); });
        expectGuarded("GetNumSamples", [&] { driver->GetNumSamples(); });
        expectGuarded("SeekReadTraceData", [&] { driver->SeekReadTraceData(0xFFFFFFFF, 4, samples, &number); });
        expectGuarded("SeekReadTraceData", [&] { driver->SeekReadTraceData(0, 0xFFFFFFFF, nullptr, nullptr); });
        expectGuarded("SeekReadTraceData", [&] { driver->SeekReadTraceData(0, 4, nullptr, &number); });
        expectGuarded("NotImplementedText", [&] { driver->NotImplementedText(0xFFFFFFFF, 0); });
        expectGuarded("CpuName", [&] { driver->CpuName(); });
        expectGuarded("GetAttachedCpuNames", [&] { receiver->GetAttachedCpuNames(nullptr); });
        expectGuarded("GetNumChannels", [&] { receiver->GetNumChannels(); });
        expectGuarded("ReleaseChannel", [&] { receiver->ReleaseChannel(nullptr); });
    }
};

TEST_F(EveryState, AnswersWithAnErrorOrAnEffect) {
    for (unsigned targetState = 0; targetState < 10; ++targetState) {
        for (int state = -1; state < 9; ++state) {
            driver->SetTargetState(targetState);
            channel.metrics.state = state;
            callEverything();
        }
    }
}

TEST_F(EveryState, TakesEveryEventOfTheTarget) {
    const std::string longName(100000, 'x');
    for (int state = -1; state < 9; ++state) {
        channel.metrics.state = state;
        for (const char* follows : {"true", "false"}) {
            channel.properties["targetSync"] = follows;
            for (const char* name : {static_cast<const char*>(nullptr), "", "cpu", longName.c_str()}) {
                for (unsigned event = 0; event < 10; ++event) {
                    expectGuarded("OnTargetStateChange", [&] { receiver->OnTargetStateChange(name, event); });
                    expectGuarded("OnTraceSystemStateChange", [&] { receiver->OnTraceSystemStateChange(name, event); });
                    driver->NotifySystemStateChange(event);
                    driver->ApplyTraceEnd(event % 2 == 0);
                }
            }
        }
    }
}

TEST_F(EveryState, WithAFailingChannelEveryOperationStillEndsInAnError) {
    ON_CALL(channel, status).WillByDefault(testing::Throw(failure()));
    ON_CALL(channel, start).WillByDefault(testing::Throw(failure()));
    ON_CALL(channel, stop).WillByDefault(testing::Throw(failure()));
    ON_CALL(channel, applySettings).WillByDefault(testing::Throw(failure()));
    channel.properties.clear();
    callEverything();
    for (unsigned state = 0; state < 10; ++state) {
        EXPECT_NE(failureOf([&] { receiver->OnTargetStateChange("cpu", state); }), "unknown");
    }
}

} // namespace
