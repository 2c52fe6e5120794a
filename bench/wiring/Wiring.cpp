#include "bench/wiring/Wiring.h"

#include "bench/signal/Random.h"

#include <algorithm>
#include <array>

namespace bench {

namespace {

constexpr std::array<unsigned, 6> inputOfEmu{4, 5, 2, 3, 6, 7};

// Two pins are swapped when the scenario says so of either.
unsigned signalAt(const WiringSettings& wiring, unsigned emu) {
    if (const auto other = wiring.pin(emu).swappedWith) {
        return *other;
    }
    for (const PinWiring& pin : wiring.pins) {
        if (pin.swappedWith == emu) {
            return pin.emu;
        }
    }
    return emu;
}

// A driven pin that reaches a wire: its position in `pins`, 0 for the clock.
std::optional<unsigned> drivenAt(const WiringSettings& wiring, const std::vector<unsigned>& pins, unsigned emu) {
    const auto driven = std::find(pins.begin(), pins.end(), signalAt(wiring, emu));
    if (driven == pins.end()) {
        return std::nullopt;
    }
    return static_cast<unsigned>(driven - pins.begin());
}

// The bits on the wires next to one, by the connector's order. A clock is led apart from the data, and a wire without
// a signal has no edges.
std::vector<unsigned> bitsBeside(const WiringSettings& wiring, const std::vector<unsigned>& pins, unsigned emu) {
    std::vector<unsigned> bits;
    for (const unsigned beside : {emu - 1, emu + 1}) {
        if (beside >= inputOfEmu.size() || wiring.pin(beside).stuck || wiring.pin(beside).open) {
            continue;
        }
        if (const auto index = drivenAt(wiring, pins, beside); index && *index != 0) {
            bits.push_back(static_cast<unsigned>(pins.size()) - 1 - *index);
        }
    }
    return bits;
}

} // namespace

unsigned receiverInputOfEmu(unsigned emu) {
    return inputOfEmu.at(emu);
}

std::optional<unsigned> emuOfReceiverInput(unsigned input) {
    const auto found = std::find(inputOfEmu.begin(), inputOfEmu.end(), input);
    if (found == inputOfEmu.end()) {
        return std::nullopt;
    }
    return static_cast<unsigned>(found - inputOfEmu.begin());
}

Line lineAtReceiver(const WiringSettings& wiring, const std::vector<unsigned>& pins, unsigned input, double seconds) {
    Line line;
    const auto emu = emuOfReceiverInput(input);
    if (!emu) {
        return line;
    }
    const PinWiring pin = wiring.pin(*emu);
    line.timing.skew = pin.skew + pin.drift * seconds;
    line.timing.lateFall = pin.lateFall;
    line.timing.jitter = pin.jitter.value_or(wiring.jitter);
    line.timing.glitchEvery = pin.glitchEvery;
    line.timing.glitchLength = pin.glitchLength;
    line.timing.seed = hashOf(wiring.seed, *emu);
    line.timing.memory = pin.memory;
    line.timing.coupling = pin.coupling;
    if (pin.stuck) {
        line.level = *pin.stuck != 0;
        line.timing.glitchEvery = 0.0;
        return line;
    }
    if (pin.open) {
        line.source = LineSource::Floating;
        return line;
    }
    const auto index = drivenAt(wiring, pins, *emu);
    if (!index) {
        return line;
    }
    const auto dataPins = static_cast<unsigned>(pins.size()) - 1;
    line.source = *index == 0 ? LineSource::Clock : LineSource::Data;
    line.bit = *index == 0 ? 0 : dataPins - *index;
    if (pin.coupling > 0.0 && line.source == LineSource::Data) {
        line.neighbours = bitsBeside(wiring, pins, *emu);
    }
    return line;
}

Line lineOfGenerator(unsigned proc, unsigned dataPins) {
    Line line;
    if (proc == 0) {
        line.source = LineSource::Clock;
    } else if (proc <= dataPins) {
        line.source = LineSource::Data;
        line.bit = proc - 1;
    }
    return line;
}

} // namespace bench
