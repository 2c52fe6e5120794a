// The signal that is sent to the unit, and when its recorder runs.
#include "bench/signal/Random.h"
#include "bench/unit/Unit.h"
#include "bench/wiring/Wiring.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace bench {

namespace {

// Interval at which drifting wiring is evaluated during a recording.
constexpr std::int64_t driftStep = static_cast<std::int64_t>(Unit::sampleRate * 20e-3);

// Target and unit share no clock. The phase between their edges is random, but the same throughout a scenario.
constexpr std::uint64_t phasePlace = 0x7068;

double halfPeriodOf(double frequency) {
    return Unit::sampleRate / (2.0 * frequency);
}

// The generator's register: pattern in bits 10..8, number of data pins in bits 5..4.
std::optional<PatternName> generatorPatternOf(std::uint16_t control) {
    switch ((control >> 8) & 7) {
    case 5:
        return PatternName::F0;
    case 6:
        return PatternName::A5;
    case 7:
        return PatternName::Ramp1;
    default:
        return std::nullopt;
    }
}

unsigned generatorPinsOf(std::uint16_t control) {
    switch ((control >> 4) & 3) {
    case 1:
        return 1;
    case 2:
        return 2;
    case 3:
        return 4;
    default:
        return 0;
    }
}

} // namespace

void Unit::programTarget(const TargetProgram& program) {
    const std::vector<double>& rates = scenario.transmitter.frequencies;
    if (program.frequency >= rates.size()) {
        throw UnitError("no such frequency setting");
    }
    if (program.pins.size() < 2 || program.pins.size() > reg::procs) {
        throw UnitError("a clock and up to seven data pins are needed");
    }
    Transmission next;
    next.dataPins = static_cast<unsigned>(program.pins.size()) - 1;
    next.alignment = scenario.wiring.alignment;
    const bool isTrace = program.pattern == "none";
    ContentPointer content = trace;
    if (!isTrace) {
        const auto name = patternFromName(program.pattern);
        if (!name || *name == PatternName::Ramp1) {
            throw UnitError("no such pattern");
        }
        content = makePattern(*name, next.dataPins);
    }
    next.words = WordStream(content, program.kind == ExportKind::Pti ? scenario.transmitter.syncEvery : 0);
    update();
    endTarget();
    targetPins = program.pins;
    targetPattern = program.pattern;
    targetSendsTrace = isTrace;
    // One time for both: a unit that waits for it misses nothing of what the target sends.
    const std::int64_t now = sampleNow();
    if (rates[program.frequency] > 0.0) {
        next.halfPeriod = halfPeriodOf(rates[program.frequency]);
        next.start = now;
        next.phase = uniformOf(scenario.wiring.seed, phasePlace);
        target = std::make_shared<Transmission>(next);
    }
    updateAt(now, Inputs::Changed);
}

double Unit::secondsOfTrace() const {
    return target && targetSendsTrace ? static_cast<double>(sampleNow() - target->start) / sampleRate : 0.0;
}

void Unit::endTarget() {
    driftedSeconds += scenario.wiring.driftStays ? secondsOfTrace() : 0.0;
    target.reset();
}

void Unit::shutdownTarget() {
    update();
    endTarget();
    update(Inputs::Changed);
}

void Unit::programGenerator(std::uint16_t control) {
    const auto pattern = generatorPatternOf(control);
    const unsigned pins = generatorPinsOf(control);
    const std::int64_t now = sampleNow();
    generator.reset();
    if (pattern && pins != 0) {
        Transmission next;
        next.dataPins = pins;
        next.halfPeriod = halfPeriodOf(scenario.unit.generatorFrequency);
        next.start = now;
        next.phase = uniformOf(scenario.wiring.seed, phasePlace);
        next.words = WordStream(makePattern(*pattern, pins), 0);
        generator = std::make_shared<Transmission>(next);
        generatorPattern = patternText(*pattern);
    }
    updateAt(now, Inputs::Changed);
}

Line Unit::lineOf(unsigned channel, unsigned proc) const {
    if (generator) {
        return lineOfGenerator(proc, generator->dataPins);
    }
    const double seconds = driftedSeconds + secondsOfTrace();
    static const std::vector<unsigned> nothingDriven;
    return lineAtReceiver(scenario.wiring, target ? targetPins : nothingDriven, procSettings(channel, proc).rcvrpin,
                          seconds);
}

ProcInput Unit::inputOf(unsigned channel, unsigned proc) const {
    return {generator ? generator : target, lineOf(channel, proc), procSettings(channel, proc)};
}

std::optional<Segment> Unit::segmentNow(unsigned channel) const {
    const TransmissionPointer sent = generator ? generator : target;
    if (!sent) {
        return std::nullopt;
    }
    std::vector<Line> lines;
    std::vector<ProcSettings> settings;
    std::vector<unsigned> procs;
    for (unsigned proc = 1; proc < reg::procs; ++proc) {
        const ProcSettings chosen = procSettings(channel, proc);
        if (chosen.enable) {
            procs.push_back(proc);
            settings.push_back(chosen);
            lines.push_back(lineOf(channel, proc));
        }
    }
    if (procs.empty()) {
        return std::nullopt;
    }
    Segment segment = makeSegment(sent, lineOf(channel, 0), procSettings(channel, 0), lines, settings);
    segment.procs = procs;
    return segment;
}

std::optional<unsigned> Unit::capturingChannel() const {
    if (!opened || !started || recorder.finished()) {
        return std::nullopt;
    }
    for (unsigned channel = 0; channel < reg::channels; ++channel) {
        if ((stored(reg::stmControl(channel)) & reg::captureEnableBit) != 0 &&
            (stored(reg::procFirst(channel, 0)) & reg::enableBit) != 0) {
            return channel;
        }
    }
    return std::nullopt;
}

void Unit::updateAt(std::int64_t now, Inputs inputs) {
    if (started && !recorder.finished() && recorder.full(static_cast<double>(now))) {
        finishRecording(now);
        stoppedByItself = true;
        return;
    }
    const bool drifts = targetSendsTrace && !generator && now - segmentStart >= driftStep &&
                        std::any_of(scenario.wiring.pins.begin(), scenario.wiring.pins.end(),
                                    [](const PinWiring& pin) { return pin.drift != 0.0; });
    if (inputs == Inputs::Same && !(drifts && recorder.running())) {
        return;
    }
    const bool goesOn = recorder.running();
    recorder.end(static_cast<double>(now));
    if (const auto channel = capturingChannel()) {
        if (!recordingSince) {
            recordingSince = now;
        }
        beginSegment(*channel, now, goesOn);
    }
}

void Unit::finishRecording(std::int64_t now) {
    if (recorder.finished()) {
        return;
    }
    recorder.finish(static_cast<double>(now));
    if (onFinished) {
        onFinished({recorder.framing(), recorder.runs(), recorder.blocksOverwritten(), recorder.blocksKept()});
    }
}

void Unit::beginSegment(unsigned channel, std::int64_t now, bool goesOn) {
    auto segment = segmentNow(channel);
    if (!segment) {
        return;
    }
    const Transmission& sent = *segment->transmission;
    const double slotsAWord = static_cast<double>(wordBits) / sent.dataPins;
    const auto slot = static_cast<std::int64_t>(static_cast<double>(now - sent.start) / sent.halfPeriod);
    const double edges = clockEdgesPerSlot(sent, segment->clock, slot);
    if (edges <= 0.0) {
        return;
    }
    const bool first = lastRecorded == nullptr;
    if (goesOn && lastRecorded == segment->transmission) {
        // Only the conditioning or the wiring has changed: the stream continues.
        segment->firstWord = recorder.nextWord(static_cast<double>(now));
    } else {
        // The unit's words start where it finds their boundary.
        const auto begun = static_cast<std::uint64_t>(std::ceil(static_cast<double>(slot) / slotsAWord));
        segment->firstWord = sent.words.nextSequence(begun);
    }
    const double sentAt =
        static_cast<double>(sent.start) + static_cast<double>(segment->firstWord) * slotsAWord * sent.halfPeriod;
    const double from = std::max(static_cast<double>(now), sentAt);
    const double rate = scenario.server.speed * edges / (slotsAWord * sent.halfPeriod);
    segment->seed = hashOf(scenario.wiring.seed, ++segments);
    lastRecorded = segment->transmission;
    segmentStart = now;
    const std::uint16_t control = stored(reg::stmControl(channel));
    const bool everyWord =
        (stored(reg::protocol(channel)) & reg::protocolWordsBit) != 0 || (control & reg::protocolBypassBit) != 0;
    if (first) {
        recorder.setMemory(Memory(scenario.unit.cells, ++recordings));
        recorder.setFraming(everyWord ? Framing::Words : Framing::Packets);
        reportTruth(*segment, channel);
    }
    recorder.begin(std::move(*segment), from, rate);
}

void Unit::reportTruth(const Segment& segment, unsigned channel) {
    if (!onRecording) {
        return;
    }
    RecordingTruth truth;
    truth.pattern = generator ? generatorPattern : targetPattern;
    truth.halfPeriod = segment.transmission->halfPeriod;
    truth.frequency = sampleRate / (2.0 * truth.halfPeriod);
    truth.bufferSize = bufferSize;
    truth.wrapping = wrapping;
    truth.framing = (stored(reg::protocol(channel)) & reg::protocolWordsBit) != 0 ||
                            (stored(reg::stmControl(channel)) & reg::protocolBypassBit) != 0
                        ? Framing::Words
                        : Framing::Packets;
    truth.clockLoss = segment.clockLoss();
    for (std::size_t index = 0; index < segment.data.size(); ++index) {
        const ProcPath& path = segment.data[index];
        PinTruth pin;
        pin.proc = segment.procs[index];
        pin.input = procSettings(channel, pin.proc).rcvrpin;
        pin.emu = generator ? std::nullopt : emuOfReceiverInput(pin.input);
        pin.offset = path.quality.offset;
        pin.eye = path.quality.eye;
        if (pin.eye > 0.0) {
            pin.fraction = path.quality.offset / pin.eye;
            pin.fractionMin = path.quality.offsetMin / pin.eye;
            pin.fractionMax = path.quality.offsetMax / pin.eye;
        }
        pin.slot = path.quality.slot;
        const double errors = path.quality.early + path.quality.late + path.quality.flip + path.quality.lost;
        pin.errorRate = path.timing.shifts() ? std::min(errors, 1.0) : errors;
        pin.skew = path.line.timing.skew;
        truth.pins.push_back(pin);
    }
    onRecording(truth);
}

} // namespace bench
