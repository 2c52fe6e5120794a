#pragma once

#include "client/transmitters/LoadedXmtrLibrary.h"
#include "client/transmitters/TransmitterBase_1.h"
#include "common/source/ChannelSettings.h"
#include "rcvr/framework/IXmtrLibrary.h"

#include <cstdint>
#include <optional>
#include <string>

namespace VX_QRS::ORV::CLIENT {

/// The trace export of a target chip, programmed through the transmitter library. Every failure of that library that
/// matters is thrown as eXMTR.
class TransmitterZarn_1 : public TransmitterBase_1 {
public:
    /// Without `xmtrLibrary` (not owned) the class loads one of its own. `traceSetup` is read by each `program`; see
    /// `setupLeaves`.
    TransmitterZarn_1(FrontEnd* frontEnd, const char* cpuName, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary,
                      std::uint32_t xmtrCookie, std::uint32_t xmtrChannel, std::uint32_t adapterKind,
                      const ChannelSettings* traceSetup);
    ~TransmitterZarn_1() override;

    /// Does nothing unless a property was set since the last time. The library decides the export kind.
    void applySettings() override;
    void program(const char* name, std::uint32_t frequencySetting) override;
    void end(bool flag) override;
    void flush() override;
    void shutdown() override;
    void reset() override;
    std::uint32_t numFrequencySettings() override;
    bool hasTriggered() override;

    /// A channel that shares this transmitter ends, and its record of settings with it. If that record is the one in
    /// use here, or if the caller does not know (null), its present values are copied and used from now on. Allocates
    /// nothing: a channel's destructor calls it.
    void setupLeaves(const ChannelSettings* leaving) noexcept;

private:
    /// What the export reads of a channel's settings.
    struct ExportSettings {
        explicit ExportSettings(const ChannelSettings& setup) noexcept;

        bool stallCpu;
        bool monitorCprt;
        bool noDataTraceOnFifoFull;
        bool cycleAccurateTrace;
        std::uint32_t exportFrameSize;
    };

    void open();
    void closeLink();
    void allocatePins();
    void releasePins();
    void setModes(std::optional<std::uint32_t> testMode, std::uint32_t frequencySetting);
    void applyTraceSetup();

    std::string cpuName;
    Vx::Qrs::Trace::IXmtrLibrary* library;
    [[maybe_unused]] std::uint32_t xmtrCookie; // only stored
    LoadedXmtrLibrary ownLibrary;              // empty when the framework gave the object
    bool linkOpen = false;                     // the library's channel is in use
    std::uint32_t adapterKind;                 // class of the CPU
    const ChannelSettings* traceSetup;
    std::optional<ExportSettings> keptSetup; // replaces traceSetup once the owner of that is gone
};

} // namespace VX_QRS::ORV::CLIENT
