#include "tests/support/transmitter/IdleXmtrLibrary.h"
#include "tests/unit/client/transmitters/fakes/FakeTrace.h"

namespace {

/// Takes everything; says in the trace what a test of loading looks for.
class Xmtr : public test_support::IdleXmtrLibrary {
public:
    int closeChannel(unsigned channel) override {
        fake::trace("closeChannel " + std::to_string(channel));
        return 0;
    }
    int shutdownPort(unsigned channel) override {
        fake::trace("shutdownPort " + std::to_string(channel));
        return 0;
    }
    int getNumFrequencySettings(unsigned, unsigned* count) override {
        *count = 3;
        return 0;
    }
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
