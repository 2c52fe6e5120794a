#pragma once

#include "bench/scenarios/Scenario.h"
#include "bench/unit/Burst.h"
#include "bench/unit/Recorder.h"
#include "bench/unit/Registers.h"
#include "bench/wiring/Line.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// The programming of the target's transmitter. `pins` are EMU pins: the clock, then bit 0, bit 1 and so on.
struct TargetProgram {
    std::string pattern; ///< "none", "f0", "a5", "ramp", "walk" or "lfsr"; "none" is trace
    unsigned frequency = 0;
    ExportKind kind = ExportKind::Pti;
    std::vector<unsigned> pins;
};

/// The true state of one data pin at the start of a recording.
struct PinTruth {
    unsigned proc = 0;
    unsigned input = 0;
    std::optional<unsigned> emu; ///< empty for the unit's own generator
    double offset = 0.0;         ///< samples from the start of the eye to the recorded sample, mean
    double eye = 0.0;            ///< samples
    double fraction = 0.0;       ///< offset / eye, mean and extremes over the clock edges
    double fractionMin = 0.0;
    double fractionMax = 0.0;
    std::int64_t slot = 0;  ///< relative to most data pins
    double errorRate = 0.0; ///< probability of a wrong bit where it differs from its neighbours, in the worst content
    double skew = 0.0;      ///< the wiring's skew of this pin
};

struct RecordingTruth {
    std::string pattern;
    double frequency = 0.0; ///< Hz of the trace clock
    double halfPeriod = 0.0;
    std::uint32_t bufferSize = 0;
    bool wrapping = false;
    Framing framing = Framing::Packets;
    double clockLoss = 0.0; ///< probability in a slot that the clock loses a pulse, which shifts all that follows
    std::vector<PinTruth> pins;
};

/// The contents of a finished recording: its words of the stream on the wire, counted from the start of the
/// transmission, and how many of the blocks that they fill were overwritten or kept.
struct ContentsTruth {
    Framing framing = Framing::Packets;
    std::vector<Recorder::Run> runs;
    std::uint64_t blocksOverwritten = 0;
    std::uint64_t blocksKept = 0;
};

/// The callback records of the recording stream.
class RecordSink {
public:
    virtual ~RecordSink() = default;
    virtual void onData(std::span<const std::uint8_t> bytes) = 0;
    virtual void onStatus(std::uint32_t value) = 0;
    /// All data that Unit::readAhead has returned since the last delivery; only for those who call it.
    virtual void onDataAhead() {}
};

struct UnitError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The capture unit and its wiring: registers, conditioning, oversample FIFOs, frequency counters, buffer. It
/// never waits or sleeps: the caller supplies the time, in nanoseconds that never decrease, and each call
/// computes the state at that time. One thread at a time.
class Unit {
public:
    using TimeSource = std::function<std::uint64_t()>;

    /// Copies the scenario. `play` is the trace that the target sends; without it trace is generated.
    Unit(const Scenario& scenario, TimeSource time, std::optional<std::vector<std::uint8_t>> play = std::nullopt);

    /// Called once for each recording, when its first word can be recorded.
    std::function<void(const RecordingTruth&)> onRecording;
    /// Called once for each recording, when it has ended.
    std::function<void(const ContentsTruth&)> onFinished;

    // --- registers ---
    std::uint32_t read(std::uint32_t kind, reg::Address address);
    void write(std::uint32_t kind, reg::Address address, std::uint32_t value);

    // --- the recording stream ---
    /// Throws UnitError when the size is not a multiple of 16 KiB or below two of them.
    void openChannel(std::uint32_t size, std::uint32_t mode); ///< mode 0 stops when full, any other wraps
    void closeChannel();
    bool channelOpen() const { return opened; }
    void start(); ///< throws UnitError when no channel is open
    void stop();
    std::uint32_t status(); ///< bytes held and not yet delivered
    void request(std::uint32_t bytes);
    void cancel();
    void flush();
    std::vector<std::uint8_t> peek(std::uint32_t bytes);

    /// Passes on the records that precede a reply: requested data, at most `limit` bytes, and before a reply to
    /// `status` a record that the unit has stopped by itself. Nothing while no channel is open.
    enum class Before { StatusReply, OtherReply };
    void deliver(RecordSink& sink, Before reply, std::size_t limit = defaultDelivery);
    /// The next data of a delivery to come, past those read ahead before: a record at most, and none past what is
    /// requested or past `limit` in all. Valid until the next call.
    std::span<const std::uint8_t> readAhead(std::size_t limit = defaultDelivery);
    /// Bytes that were read ahead and not delivered or discarded since.
    std::size_t bytesAhead() const { return recorder.bytesAhead(); }
    static constexpr std::size_t defaultDelivery = 0xA00000;
    static constexpr std::size_t recordBytes = 0x40000;

    // --- the target ---
    void programTarget(const TargetProgram& program); ///< throws UnitError
    void shutdownTarget();
    std::uint32_t traceStatus() const { return scenario.transmitter.traceStatus; }

    // --- for tests and diagnosis ---
    static constexpr double sampleRate = 1.4e9;
    std::int64_t sampleNow() const;
    ProcInput inputOf(unsigned channel, unsigned proc) const;
    /// The segment that a recording with the present settings would have; empty while no transmitter runs or no
    /// data proc is enabled.
    std::optional<Segment> segmentNow(unsigned channel) const;

private:
    struct Counter {
        std::int64_t windowStart = 0;
        bool pending = false;
        std::uint32_t count = 0;
    };

    std::uint16_t stored(reg::Address address) const;
    ProcSettings procSettings(unsigned channel, unsigned proc) const;
    std::uint32_t readComms(unsigned channel) const;
    std::uint32_t readError(unsigned channel, std::uint16_t value) const;
    enum class Half { Low, High };
    std::uint32_t readCount(unsigned channel, Half half);
    std::uint32_t countEdges(unsigned channel, std::int64_t from, std::int64_t to) const;
    void writeCapture(std::uint16_t value);
    void programGenerator(std::uint16_t control);

    // UnitTarget.cpp
    /// How long the target has been sending trace.
    double secondsOfTrace() const;
    void endTarget();
    Line lineOf(unsigned channel, unsigned proc) const;
    std::optional<unsigned> capturingChannel() const;
    enum class Inputs { Same, Changed };
    /// Brings the recorder up to date. Inputs of recording (transmitters, settings) may have changed since.
    void update(Inputs inputs = Inputs::Same) { updateAt(sampleNow(), inputs); }
    void updateAt(std::int64_t now, Inputs inputs);
    void finishRecording(std::int64_t now);
    void takeAhead();
    void beginSegment(unsigned channel, std::int64_t now, bool goesOn);
    void reportTruth(const Segment& segment, unsigned channel);

    Scenario scenario;
    TimeSource timeSource;
    std::uint64_t epoch;
    ContentPointer trace;

    std::map<reg::Address, std::uint16_t> registers;
    std::map<reg::Address, std::uint32_t> bridge;
    std::array<OversampleFifo, reg::procs> fifos;
    std::array<std::uint16_t, 2> captureHistory{};
    mutable std::array<Counter, reg::channels> counters;
    std::array<std::optional<std::int64_t>, reg::channels> commsCleared;

    /// The transmitters and their wiring. The generator takes precedence over the target.
    TransmissionPointer target;
    std::vector<unsigned> targetPins;
    std::string targetPattern;
    bool targetSendsTrace = false;
    double driftedSeconds = 0.0; ///< of earlier trace, where the wires stay as it left them
    TransmissionPointer generator;
    std::string generatorPattern;

    bool opened = false;
    bool started = false;
    std::uint32_t bufferSize = 0;
    bool wrapping = false;
    Recorder recorder;
    TransmissionPointer lastRecorded; ///< the transmission of the newest segment
    std::int64_t segmentStart = 0;
    std::optional<std::int64_t> recordingSince;
    bool errorsCleared = false;
    bool stoppedByItself = false;
    std::uint64_t requested = 0;
    std::vector<std::uint8_t> record; ///< the last one read
    std::uint64_t segments = 0;
    std::uint64_t recordings = 0; ///< with at least one word
};

} // namespace bench
