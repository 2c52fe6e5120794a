#pragma once

#include "rcvr/framework/IXmtrLibrary.h"

#include <cstdint>

namespace test_support {

/// A transmitter library whose operations succeed and do nothing: a pattern transmitter with one rate.
class IdleXmtrLibrary : public Vx::Qrs::Trace::IXmtrLibrary {
public:
    int closeChannel(unsigned) override { return 0; }
    int programChannel(unsigned) override { return 0; }
    int enablePort(unsigned) override { return 0; }
    int flushBuffer(unsigned) override { return 0; }
    int shutdownPort(unsigned) override { return 0; }
    int setTestMode(unsigned, unsigned, unsigned) override { return 0; }
    int applyFrequency(unsigned, unsigned) override { return 0; }
    int setExportFrameSize(unsigned, unsigned) override { return 0; }
    int getNumFrequencySettings(unsigned, unsigned* count) override {
        *count = 1;
        return 0;
    }
    int allocatePin(unsigned, unsigned, unsigned, unsigned, unsigned) override { return 0; }
    int setStallCpu(unsigned, bool) override { return 0; }
    int releasePin(unsigned, unsigned, unsigned) override { return 0; }
    int setPortWidth(unsigned, unsigned) override { return 0; }
    int setFunctionMode(unsigned, unsigned) override { return 0; }
    int getExportFrameLimits(unsigned, unsigned*, unsigned*) override { return 0; }
    int getTraceStatus(unsigned, std::uint32_t*) override { return 0; }
    int clearTraceStatus(unsigned, std::uint32_t) override { return 0; }
    int getCharacter(unsigned, std::uint32_t*) override { return 0; }
    int applyEnd(unsigned, bool) override { return 0; }
    int setCycleAccurate(unsigned, bool) override { return 0; }
    int setMonitorCprt(unsigned, bool) override { return 0; }
    int setNoDataTraceOnFifoFull(unsigned, bool) override { return 0; }
    int getTransmitterKind(unsigned, unsigned* kind) override {
        *kind = 1;
        return 0;
    }
    int setOption(unsigned, unsigned) override { return 0; }
    int enablePins(unsigned) override { return 0; }
};

} // namespace test_support
