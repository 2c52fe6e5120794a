#pragma once

#include "rcvr/framework/CChannelDriver.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace host {

using Vx::Qrs::Trace::ChannelStatus;

/// A channel whose states are a script: each status poll takes the next one, the last one stays. A save writes the
/// samples, and fails after them when more are announced.
class ScriptedChannel : public Vx::Qrs::Trace::CChannelDriver {
public:
    static ChannelStatus recording() {
        ChannelStatus status;
        status.code = ChannelStatus::eBusy;
        status.text = "Recording : 1.0 Mbits/second :   1% full";
        status.stoppable = true;
        return status;
    }
    static ChannelStatus ended(unsigned code, const std::string& text) {
        ChannelStatus status;
        status.code = code;
        status.text = text;
        return status;
    }

    std::vector<ChannelStatus> script; ///< while not stopped
    std::vector<ChannelStatus> afterStop;
    std::filesystem::path trigger; ///< a file that stops it too
    std::vector<std::uint64_t> samples;
    unsigned announced = 0;
    bool saveFails = false; ///< after everything was written
    unsigned stops = 0;
    unsigned starts = 0;

    void GetAttribute(const char*, Vx::Qrs::Trace::TraceAttribute*) override {}
    void GetProgress(unsigned*, int*, std::string*) override {}
    bool GetUserConfiguration(const char*) override { return false; }
    void SetConfiguration(const char*) override {}
    void StartRecording(bool) override { ++starts; }
    void StopRecording() override { ++stops; }
    void ResumeRecording() override {}
    void SaveFile(std::string path, unsigned format) override;
    void LoadFile(const char*) override {}
    void SeekReadTraceData(unsigned start, unsigned count, std::uint64_t* buffer, unsigned* numRead) override {
        *numRead = 0;
        while (start + *numRead < samples.size() && *numRead < count) {
            buffer[*numRead] = samples[start + *numRead];
            ++*numRead;
        }
    }
    unsigned GetNumSamples() override { return announced; }
    const char* CpuName() override { return "x"; }
    void GetChannelStatus(ChannelStatus* out) override {
        const bool stopped = stops > 0 || (!trigger.empty() && std::filesystem::exists(trigger));
        std::vector<ChannelStatus>& states = stopped ? afterStop : script;
        *out = states.front();
        if (states.size() > 1) {
            states.erase(states.begin());
        }
    }
    std::string NotImplementedText(unsigned, std::uint64_t) override { return {}; }
};

} // namespace host
