#include "rcvr/framework/IXmtrLibrary.h"
#include "tests/unit/client/transmitters/fakes/FakeTrace.h"

namespace {

/// Takes everything; says in the trace what a test of loading looks for.
class Xmtr : public Vx::Qrs::Trace::IXmtrLibrary {
public:
    int closeChannel(unsigned channel) override {
        fake::trace("closeChannel " + std::to_string(channel));
        return 0;
    }
    int programChannel(unsigned) override { return 0; }
    int enablePort(unsigned) override { return 0; }
    int flushBuffer(unsigned) override { return 0; }
    int shutdownPort(unsigned channel) override {
        fake::trace("shutdownPort " + std::to_string(channel));
        return 0;
    }
    int setTestMode(unsigned, unsigned, unsigned) override { return 0; }
    int applyFrequency(unsigned, unsigned) override { return 0; }
    int setExportFrameSize(unsigned, unsigned) override { return 0; }
    int getNumFrequencySettings(unsigned, unsigned* count) override {
        *count = 3;
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

// The one that is made; a variant that cannot free anything must not leak.
Xmtr only;

} // namespace

extern "C" {

FAKE_EXPORT Vx::Qrs::Trace::IXmtrLibrary* CreateXmtr(unsigned first, unsigned second) {
    fake::trace("CreateXmtr " + std::to_string(first) + " " + std::to_string(second));
    return fake::makesNothing("FAKE_XMTR") ? nullptr : &only;
}

FAKE_EXPORT void DestroyXmtr(Vx::Qrs::Trace::IXmtrLibrary* library) {
    fake::trace("DestroyXmtr");
    if (library != &only) {
        fake::trace("not the object that was made");
    }
}
}
