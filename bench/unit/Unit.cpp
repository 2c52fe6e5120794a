#include "bench/unit/Unit.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace bench {

namespace {

// 50 MHz, times 21, divided by 3: four times that is the sampling rate.
constexpr std::uint32_t referenceClock = 50000000;
constexpr unsigned clockMultiplier = 21;
constexpr unsigned clockDivider = 3;
static_assert(4.0 * referenceClock * clockMultiplier / clockDivider == Unit::sampleRate);

constexpr double samplesPerNanosecond = Unit::sampleRate / 1e9;
// Time the export port needs to become idle after capture enable is cleared.
constexpr std::int64_t commsRest = static_cast<std::int64_t>(Unit::sampleRate * 0.5e-3);

// The channel of a register address, for registers with distance `stride`.
template <class AddressOf>
std::optional<unsigned> channelOf(reg::Address address, AddressOf addressOf) {
    for (unsigned channel = 0; channel < reg::channels; ++channel) {
        if (address == addressOf(channel)) {
            return channel;
        }
    }
    return std::nullopt;
}

std::optional<unsigned> windowChannelOf(reg::Address address) {
    const auto channel = channelOf(address, reg::windowLow);
    return channel ? channel : channelOf(address, reg::windowHigh);
}

// Registers that affect what is recorded, and whether.
bool shapesRecording(reg::Address address) {
    return channelOf(address, reg::stmControl) ||
           (address >= reg::procFirst(0, 1) && address <= reg::procSecond(reg::channels - 1, 0));
}

bool isFifo(reg::Address address, unsigned& proc, bool& data) {
    if (address < reg::fifoStatus(0) || address > reg::fifoData(reg::procs - 1)) {
        return false;
    }
    proc = (address - reg::fifoStatus(0)) / 8;
    data = address == reg::fifoData(proc);
    return data || address == reg::fifoStatus(proc);
}

} // namespace

Unit::Unit(const Scenario& chosen, TimeSource time, std::optional<std::vector<std::uint8_t>> play)
    : scenario(chosen), timeSource(std::move(time)), epoch(timeSource()),
      trace(play ? makePlayback(std::move(*play), scenario.transmitter.idleWord, scenario.transmitter.idleBefore)
                 : makeGeneratedTrace(scenario.wiring.seed)) {
    registers[reg::referenceLow] = referenceClock & 0xFFFF;
    registers[reg::referenceHigh] = referenceClock >> 16;
    registers[reg::clockRatio] = (clockMultiplier << 8) | clockDivider;
    bridge[reg::bridgeStatus] = scenario.unit.bridgeNeedsReset ? reg::bridgeResetNeeded : 0;
}

std::int64_t Unit::sampleNow() const {
    return static_cast<std::int64_t>(static_cast<double>(timeSource() - epoch) * samplesPerNanosecond);
}

std::uint16_t Unit::stored(reg::Address address) const {
    const auto found = registers.find(address);
    return found == registers.end() ? std::uint16_t{0} : found->second;
}

ProcSettings Unit::procSettings(unsigned channel, unsigned proc) const {
    return decodeProc(stored(reg::procFirst(channel, proc)), stored(reg::procSecond(channel, proc)));
}

// --- registers ---

std::uint32_t Unit::read(std::uint32_t kind, reg::Address address) {
    if (kind == reg::kindBridge) {
        const auto found = bridge.find(address);
        return found == bridge.end() ? 0 : found->second;
    }
    unsigned proc = 0;
    bool data = false;
    if (isFifo(address, proc, data)) {
        return data ? fifos[proc].pop() : fifos[proc].level();
    }
    if (const auto channel = channelOf(address, reg::commsStatus)) {
        return readComms(*channel);
    }
    if (const auto channel = channelOf(address, reg::errorA)) {
        return readError(*channel, scenario.unit.errorA);
    }
    if (const auto channel = channelOf(address, reg::errorB)) {
        return readError(*channel, scenario.unit.errorB);
    }
    if (const auto channel = channelOf(address, reg::countLow)) {
        return readCount(*channel, Half::Low);
    }
    if (const auto channel = channelOf(address, reg::countHigh)) {
        return readCount(*channel, Half::High);
    }
    if (address == reg::bufferStatus) {
        update();
        return recorder.wrapped(static_cast<double>(sampleNow())) ? reg::wrappedBit : 0;
    }
    return stored(address);
}

void Unit::write(std::uint32_t kind, reg::Address address, std::uint32_t value) {
    const auto word = static_cast<std::uint16_t>(value);
    if (kind == reg::kindBridge) {
        bridge[address] = value;
        if (address == reg::bridgeControl && (value & reg::bridgeReset) != 0) {
            bridge[reg::bridgeStatus] = 0;
        }
        return;
    }
    if (address == reg::referenceHigh || address == reg::referenceLow || address == reg::clockRatio) {
        return;
    }
    update();
    const std::uint16_t before = stored(address);
    registers[address] = word;
    if (address == reg::capture) {
        writeCapture(word);
    } else if (address == reg::patternControl) {
        programGenerator(word);
    } else if (channelOf(address, reg::errorA) || channelOf(address, reg::errorB)) {
        errorsCleared = true;
    } else if (const auto channel = windowChannelOf(address)) {
        counters[*channel].windowStart = sampleNow();
        counters[*channel].pending = true;
    } else if (const auto control = channelOf(address, reg::stmControl)) {
        const bool was = (before & reg::captureEnableBit) != 0;
        const bool is = (word & reg::captureEnableBit) != 0;
        if (was && !is) {
            commsCleared[*control] = sampleNow();
        }
    }
    if (before != word && shapesRecording(address)) {
        update(Inputs::Changed);
    }
}

std::uint32_t Unit::readComms(unsigned channel) const {
    const bool enabled = (stored(reg::stmControl(channel)) & reg::captureEnableBit) != 0;
    const bool resting = !commsCleared[channel] || sampleNow() - *commsCleared[channel] >= commsRest;
    return enabled || !resting || scenario.unit.commsStuck ? reg::commsBusy : reg::commsIdle;
}

std::uint32_t Unit::readError(unsigned channel, std::uint16_t value) const {
    // A recording without its first word is not counted yet.
    const std::uint64_t number = recordings + (lastRecorded ? 0U : 1U);
    if (channel != 0 || errorsCleared || !recordingSince || number < scenario.unit.errorFrom) {
        return 0;
    }
    const double seconds = static_cast<double>(sampleNow() - *recordingSince) / sampleRate;
    return seconds >= scenario.unit.errorAfter ? value : 0;
}

// --- frequency counters ---

std::uint32_t Unit::readCount(unsigned channel, Half half) {
    Counter& counter = counters[channel];
    const double cpi = stored(reg::windowLow(channel)) | ((stored(reg::windowHigh(channel)) & 0xFFU) << 16);
    const auto length = static_cast<std::int64_t>(sampleRate * 4.0 * clockDivider * cpi /
                                                  (static_cast<double>(referenceClock) * clockMultiplier));
    if (counter.pending && sampleNow() >= counter.windowStart + length) {
        counter.count = countEdges(channel, counter.windowStart, counter.windowStart + length);
        counter.pending = false;
    }
    return half == Half::High ? counter.count >> 16 : counter.count & 0xFFFF;
}

std::uint32_t Unit::countEdges(unsigned channel, std::int64_t from, std::int64_t to) const {
    const ProcInput clock = inputOf(channel, 0);
    static const Transmission silence;
    const bool sending = clock.transmission != nullptr;
    const Transmission& sent = sending ? *clock.transmission : silence;
    ProcPath path;
    path.line = clock.line;
    path.timing = timePath(sent, clock.line, clock.settings);
    if (sending) {
        from = std::max(from, sent.start);
    }
    const auto slotAt = [&](std::int64_t sample) {
        return static_cast<std::int64_t>(
            std::floor((static_cast<double>(sample - sent.start) - path.timing.phase) / sent.halfPeriod));
    };
    if (to <= from) {
        return 0;
    }
    const std::int64_t first = sending ? std::max<std::int64_t>(slotAt(from), -1) : slotAt(from);
    const auto slots = static_cast<double>(std::max<std::int64_t>(slotAt(to) - first, 0));
    return static_cast<std::uint32_t>(slots * clockEdgesPerSlot(sent, path, first + 1) + 0.5);
}

// --- oversampling ---

void Unit::writeCapture(std::uint16_t value) {
    // The trigger is three writes: all FIFOs selected, the same with bit 15, none. Bit 11 synchronises the
    // samplers, which has no visible effect.
    if (captureHistory == std::array<std::uint16_t, 2>{0x001F, 0x801F} && value == 0) {
        const std::int64_t start = sampleNow(); // the same for all pins: a burst shows them side by side
        for (unsigned proc = 0; proc < reg::procs; ++proc) {
            fifos[proc].trigger(inputOf(0, proc), start);
        }
    }
    captureHistory = {captureHistory[1], value};
}

// --- the recording stream ---

void Unit::openChannel(std::uint32_t size, std::uint32_t mode) {
    if (size < 2 * blockBytes || size % blockBytes != 0) {
        throw UnitError("invalid buffer size");
    }
    stop();
    opened = true;
    started = false;
    bufferSize = size;
    wrapping = mode != 0;
    recorder.open(size, wrapping);
    requested = 0;
    stoppedByItself = false;
}

void Unit::closeChannel() {
    stop();
    opened = false;
    recorder.open(bufferSize, wrapping);
    requested = 0;
    stoppedByItself = false;
}

void Unit::start() {
    if (!opened) {
        throw UnitError("no channel is open");
    }
    recorder.open(bufferSize, wrapping);
    lastRecorded.reset();
    recordingSince.reset();
    errorsCleared = false;
    stoppedByItself = false;
    requested = 0;
    started = true;
    update(Inputs::Changed);
}

void Unit::stop() {
    update();
    if (started) {
        finishRecording(sampleNow());
    }
    started = false;
}

std::uint32_t Unit::status() {
    update();
    return opened ? recorder.bytesHeld(static_cast<double>(sampleNow())) : 0;
}

void Unit::request(std::uint32_t bytes) {
    requested += bytes;
}

void Unit::cancel() {
    recorder.discard(static_cast<double>(sampleNow()));
    requested = 0;
}

void Unit::flush() {
    cancel();
}

std::vector<std::uint8_t> Unit::peek(std::uint32_t bytes) {
    update();
    std::vector<std::uint8_t> out(std::min(bytes, opened ? status() : 0));
    out.resize(recorder.look(out));
    return out;
}

void Unit::deliver(RecordSink& sink, Before reply, std::size_t limit) {
    update();
    if (!opened) {
        return;
    }
    if (stoppedByItself && reply == Before::StatusReply) {
        stoppedByItself = false;
        sink.onStatus(0);
    }
    if (const std::size_t ahead = recorder.bytesAhead(); ahead != 0) {
        sink.onDataAhead();
        takeAhead();
        limit -= std::min(limit, ahead);
    }
    for (auto data = readAhead(limit); !data.empty(); data = readAhead(limit)) {
        limit -= data.size();
        takeAhead();
        sink.onData(data);
    }
}

std::span<const std::uint8_t> Unit::readAhead(std::size_t limit) {
    const std::uint64_t most = std::min<std::uint64_t>(requested, limit);
    const std::size_t ahead = recorder.bytesAhead();
    if (!opened || !recorder.finished() || ahead >= most) {
        return {};
    }
    record.resize(std::min<std::uint64_t>(most - ahead, recordBytes));
    return std::span(record).first(recorder.readAhead(record));
}

void Unit::takeAhead() {
    requested -= recorder.bytesAhead();
    recorder.takeAhead();
}

} // namespace bench
