#pragma once

#include "client/transmitters/TransmitterBase_1.h"
#include "common/source/ChannelSettings.h"
#include "common/source/source_utilities/uDll.h"
#include "rcvr/framework/ITargetAdapter.h"
#include "rcvr/framework/IXmtrLibrary.h"

namespace VX_QRS::ORV::CLIENT {

/// Programs the target chip's trace export through the transmitter library. Every failure there is eXMTR.
class TransmitterZarn_1 final : public TransmitterBase_1 {
public:
    /// With `xmtrLibrary` given, that object is used and not owned; otherwise the library `zarn_xmtr` and a target
    /// adapter for `cpu` are loaded and kept. `setup` is read at every program and is not owned.
    TransmitterZarn_1(FrontEnd* front, const char* cpu, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary, std::uint32_t cookie,
                      std::uint32_t channel, std::uint32_t kind, const ChannelSettings* setup);
    ~TransmitterZarn_1() override;

    void applySettings() override;
    void program(const char* name, std::uint32_t frequencySetting) override;
    void end(bool flag) override;
    void flush() override;
    void shutdown() override;
    void reset() override;
    std::uint32_t numFrequencySettings() override;
    bool hasTriggered() override;

    /// A user of this shared transmitter goes, perhaps the one whose settings are in use: they are kept as they stand.
    void userLeaves() override;

private:
    void loadOwnLibrary();
    void freeOwnLibrary();
    void open();
    void closeLink();
    void allocatePins();
    void setUpExport(std::uint32_t frequencySetting, int testMode);
    void setUpArm();

    std::string cpuName;
    Vx::Qrs::Trace::IXmtrLibrary* library;
    std::uint32_t xmtrCookie; // stored and not used further
    bool ownsLibrary = false;
    Vx::Qrs::Trace::ITargetAdapter* targetAdapter = nullptr; // kept alive for the library's sake
    uDll adapterDll;
    uDll xmtrDll;
    bool linkOpen = false; // the library's channel is in use
    std::uint32_t adapterKind; // class of the CPU
    const ChannelSettings* traceSetup;
    ChannelSettings keptSetup; // stands in for a setup whose owner has gone
};

} // namespace VX_QRS::ORV::CLIENT
