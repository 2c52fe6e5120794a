#pragma once

#include "client/FrontEnd.h"
#include "client/FrontEndChannel.h"

#include <string>

/// A capture unit of one channel with a finished recording in a file: only the receiver's own work is measured.
class StubUnit : public VX_QRS::ORV::CLIENT::FrontEnd, public VX_QRS::ORV::CLIENT::FrontEndChannel {
public:
    static StubUnit& get();

    std::string fileStem; ///< the recording is this plus ".bin"
    std::uint32_t bytes = 0;

    void setProperty(const char*, const char*) override {}
    void getProperty(const char* name, const char** value) override;

    VX_QRS::ORV::CLIENT::FrontEndChannel* alloc(const char*, Vx::Qrs::Trace::IXmtrLibrary*, std::uint32_t,
                                                std::uint32_t, std::uint32_t,
                                                const VX_QRS::ORV::CLIENT::ChannelSettings*) override {
        return this;
    }
    void release(VX_QRS::ORV::CLIENT::FrontEndChannel*) override {}
    std::uint32_t numChannels() override { return 1; }
    VX_QRS::ORV::CLIENT::FrontEndChannel* getChannel(std::uint32_t) override { return this; }
    VX_QRS::ORV::DataClient* getDataClient() override { return nullptr; }

    void applySettings() override {}
    void calibrate() override {}
    void start(bool) override {}
    void stop() override {}
    void endTransmission(bool) override {}
    void status(VX_QRS::ORV::CLIENT::ChannelMetrics& out) override;
    std::uint32_t ovs(bool, bool) override { return 0; }
};
