#include "bench/unit/Burst.h"

namespace bench {

BurstWords takeBurst(const ProcInput& input, std::int64_t start) {
    BurstWords words{};
    // Without a transmitter only stuck and floating inputs have a signal of their own.
    static const Transmission silence = [] {
        Transmission none;
        none.dataPins = 0;
        return none;
    }();
    const Transmission& transmission = input.transmission ? *input.transmission : silence;
    Line line = input.line;
    if (!input.transmission && (line.source == LineSource::Clock || line.source == LineSource::Data)) {
        line.source = LineSource::Constant;
        line.level = false;
    }
    const auto from = static_cast<double>(start - transmission.start);
    Waveform wave = drawLine(transmission, line, from, from + fifoDepth * fifoWordBits);
    condition(wave, input.settings);
    sampleInto(wave, from, words);
    return words;
}

void OversampleFifo::trigger(const ProcInput& input, std::int64_t start) {
    source = input;
    from = start;
    words.reset();
    count = fifoDepth;
}

std::uint16_t OversampleFifo::pop() {
    if (count == 0) {
        return 0;
    }
    if (!words) {
        words = takeBurst(source, from);
    }
    return (*words)[fifoDepth - count--];
}

} // namespace bench
