#pragma once

#include "bench/scenarios/Scenario.h"
#include "bench/siblings/ExportProgram.h"
#include "bench/siblings/SideConnection.h"
#include "rcvr/framework/IXmtrLibrary.h"

#include <map>
#include <mutex>
#include <string>

namespace bench {

/// The transmitter library of the bench: one target, whatever the channel number. Programming it changes what the
/// bench's pins carry. Refuses calls out of order and wrong pins; every refusal's reason goes to the standard error
/// output. Any thread.
///
/// The scenario's list `fail` scripts failures: "enablePort" fails at every call, "enablePort:2" at its second.
class XmtrLibrary : public Vx::Qrs::Trace::IXmtrLibrary {
public:
    /// Values of getTransmitterKind.
    static constexpr unsigned kindPti = 1;
    static constexpr unsigned kindTpiu = 4;
    static constexpr unsigned kindTpiuLite = 5;
    static constexpr unsigned frameSize = 64;

    XmtrLibrary(Scenario scenario, std::string portFile);
    ~XmtrLibrary() override;

    int closeChannel(unsigned channel) override;
    int programChannel(unsigned channel) override;
    int enablePort(unsigned channel) override;
    int flushBuffer(unsigned channel) override;
    int shutdownPort(unsigned channel) override;
    int setTestMode(unsigned channel, unsigned block, unsigned mode) override;
    int applyFrequency(unsigned channel, unsigned setting) override;
    int setExportFrameSize(unsigned channel, unsigned size) override;
    int getNumFrequencySettings(unsigned channel, unsigned* count) override;
    int allocatePin(unsigned channel, unsigned mode, unsigned bit, unsigned emuPin, unsigned reserved) override;
    int setStallCpu(unsigned channel, bool flag) override;
    int releasePin(unsigned channel, unsigned emuPin, unsigned reserved) override;
    int setPortWidth(unsigned channel, unsigned dataPins) override;
    int setFunctionMode(unsigned channel, unsigned mode) override;
    int getExportFrameLimits(unsigned channel, unsigned* value, unsigned* size) override;
    int getTraceStatus(unsigned channel, std::uint32_t* status) override;
    int clearTraceStatus(unsigned channel, std::uint32_t status) override;
    int getCharacter(unsigned channel, std::uint32_t* value) override;
    int applyEnd(unsigned channel, bool flag) override;
    int setCycleAccurate(unsigned channel, bool flag) override;
    int setMonitorCprt(unsigned channel, bool flag) override;
    int setNoDataTraceOnFifoFull(unsigned channel, bool flag) override;
    int getTransmitterKind(unsigned channel, unsigned* kind) override;
    int setOption(unsigned channel, unsigned value) override;
    int enablePins(unsigned channel) override;

private:
    /// Counts the call and makes it under the lock, unless the scenario makes it fail.
    template <class Work>
    int call(const char* operation, Work&& work);
    bool scriptedToFail(const char* operation);
    int send(const std::string& line);

    Scenario scenario;
    ExportProgram program;
    SideConnection side;
    std::mutex mutex;
    std::map<std::string, unsigned> calls;
    std::uint32_t clearedStatus = 0; ///< bits that were cleared and have read 1 ever since
};

} // namespace bench
