#pragma once

#include "rcvr/framework/IXmtrLibrary.h"

#include <atomic>
#include <functional>
#include <optional>
#include <vector>

namespace host {

/// A target's transmitter library that can be made to send a test pattern in every recording. It passes every call on.
/// While a pattern is ordered it adds one call of its own, setTestMode, where the receiver itself makes it for a
/// verification: after setFunctionMode. A recording of trace asks for no test mode, so that the receiver records the
/// pattern without knowing of it. Without an order nothing is added, and what the receiver programs next is trace again.
///
/// It can also keep a receiver to one of the target's frequency settings, and have the target send a pattern while the
/// receiver only sets up the unit: for a burst with given values, during which the receiver itself sends nothing.
///
/// Threads: as for IXmtrLibrary; order() and cancel(), holdSetting(), sendDuringSetUp() and their ends while no recording
/// runs.
class PatternTransmitter : public Vx::Qrs::Trace::IXmtrLibrary {
public:
    /// Modes of setTestMode.
    enum class Pattern : unsigned { A5 = 0, Walk = 1, Ramp = 2, Lfsr = 3, F0 = 4 };

    PatternTransmitter() = default;
    /// The library whose calls these are from now on; not owned. Called before any other operation.
    void attach(Vx::Qrs::Trace::IXmtrLibrary& used) { library = &used; }

    void order(Pattern pattern);
    void cancel();
    /// Whether the target was programmed to send the ordered pattern since order().
    bool isProgrammed() const { return programmed; }
    /// The library's result code when it refused the pattern; 0 when it did not.
    int refusal() const { return refused; }

    /// From now on the target seems to have this setting alone, as its setting 0. Nothing: all of them again.
    void holdSetting(std::optional<unsigned> setting) { held = setting; }
    std::optional<unsigned> heldSetting() const { return held; }
    /// How many the target has, whatever is held; nothing if it does not say.
    std::optional<unsigned> settings();

    /// From now on the target is made to send the pattern whenever the receiver opens the channel: by the calls with
    /// which the receiver has last programmed it, in their order. Nothing happens before it has.
    void sendDuringSetUp(Pattern pattern) { setUpPattern = pattern; }
    void sendNothingDuringSetUp() { setUpPattern.reset(); }

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
    int getExportFrameLimits(unsigned channel, unsigned* value, unsigned* frameSize) override;
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
    static constexpr int noOrder = -1;
    enum class Call { ReleasePin, FunctionMode, TestMode, Last, Other };
    struct Programmed {
        Call kind;
        std::function<int()> repeat;
    };

    int programming(Call kind, std::function<int()> call);
    void repeatProgramming(Pattern pattern);

    Vx::Qrs::Trace::IXmtrLibrary* library = nullptr;
    std::atomic<int> ordered{noOrder};
    std::atomic<bool> set{false}; ///< the library took the pattern, and has still to be programmed
    std::atomic<bool> programmed{false};
    std::atomic<int> refused{0};
    std::optional<unsigned> held;
    std::optional<Pattern> setUpPattern;
    std::vector<Programmed> growing;  ///< calls of a programming that has not ended
    std::vector<Programmed> complete; ///< those of the last one that has
    unsigned programmedChannel = 0;
};

/// Orders a pattern during the object's life.
class PatternOrder {
public:
    PatternOrder(PatternTransmitter& used, PatternTransmitter::Pattern pattern) : transmitter(used) {
        transmitter.order(pattern);
    }
    ~PatternOrder() { transmitter.cancel(); }
    PatternOrder(const PatternOrder&) = delete;
    PatternOrder& operator=(const PatternOrder&) = delete;

private:
    PatternTransmitter& transmitter;
};

} // namespace host
