#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <array>
#include <cstdio>

namespace drawn {

const std::vector<std::uint16_t> ramp{0x0123, 0x4567, 0x89AB, 0xCDEF};

namespace {

constexpr std::size_t payloadWords = 255;

void put(std::string& bytes, std::uint16_t word) {
    bytes += static_cast<char>(word & 0xFF);
    bytes += static_cast<char>(word >> 8);
}

std::string repeated(const std::string& item, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ",") + item;
    }
    return text;
}

} // namespace

std::string head(const std::string& clock, const std::string& oversampling) {
    return "exportFrequency=" + clock + "\ndataFrequency=100.00 Mwords/second\ndataRate=400.00 Mbits/second\n" +
           "oversampling=" + oversampling + "samples/bit\n";
}

std::string burst(const std::vector<std::string>& pins, const std::string& headText) {
    constexpr int inputs[] = {4, 6, 3, 2, 5, 7, 0, 1};
    std::string text = headText;
    std::string columns;
    for (std::size_t pin = 0; pin < pins.size(); ++pin) {
        text += "P" + std::to_string(pin) + " : rcvrpin=" + std::to_string(inputs[pin]) +
                ",filter=7,plateau=7,debounce=8,delay=" + std::to_string(pin) + ",stretch=0,enable=1\n";
        columns += "P" + std::to_string(pin) + " ";
    }
    text += columns + "Sample\n";
    for (std::size_t sample = 0; sample < pins.front().size(); ++sample) {
        for (const std::string& pin : pins) {
            text += std::string(" ") + pin[sample] + " ";
        }
        std::string number = std::to_string(sample);
        text += (number.size() < 4 ? std::string(4 - number.size(), ' ') : "") + number + "\n";
    }
    return text;
}

std::string square(std::size_t samples, std::size_t half, std::size_t first) {
    std::string levels(samples, '0');
    for (std::size_t at = first; at < samples; ++at) {
        levels[at] = (at - first) / half % 2 == 0 ? '1' : '0';
    }
    return levels;
}

std::string report(const std::vector<Margin>& margins, const std::string& headText, const std::string& kind) {
    std::string text = headText + "\n[Clock]\nedges=0\n\n";
    for (std::size_t pin = 0; pin < margins.size(); ++pin) {
        text += "[Data " + std::to_string(pin + 1) + "]\ncorrelation=0.500,0.900\nedges=0\nmargin=-" +
                std::to_string(margins[pin].holdMargin) + ",+" + std::to_string(margins[pin].setupMargin) + "\n\n";
    }
    const std::size_t pins = margins.size() + 1;
    text += "[Properties]\ndrmXmtr=" + kind + "\nxmtrType=\nnumPins=" + std::to_string(margins.size());
    text += "\ndelays=" + repeated("1", pins) + "\nstretches=" + repeated("-2", pins);
    return text + "\nfilters=" + repeated("7", pins) + "\ndebounces=" + repeated("8", pins) +
           "\nplateaus=" + repeated("7", pins) + "\n\n";
}

std::string registers(const std::vector<unsigned>& delays) {
    const auto line = [](unsigned address, unsigned value) {
        std::array<char, 32> text{};
        std::snprintf(text.data(), text.size(), "\n0x%08x=0x%04x", address, value);
        return std::string(text.data());
    };
    const auto slot = [](unsigned proc) { return proc == 0 ? 30U : 2 * proc - 2; };
    std::string text;
    for (const unsigned address :
         {0x08000000U, 0x08000008U, 0x0800000CU, 0x0800000EU, 0x08008030U, 0x08008040U, 0x08008050U}) {
        text += line(address, 0);
    }
    constexpr unsigned enabled = 0x8000;
    constexpr unsigned defaults = 0x7804; // filter 7, stretch 0, plateau 3, debounce 4
    for (unsigned proc = 0; proc < 8; ++proc) {
        text += line(0x08008100 + slot(proc), proc < delays.size() ? enabled | delays[proc] : 0);
    }
    for (unsigned proc = 0; proc < 8; ++proc) {
        text += line(0x08008120 + slot(proc), proc < delays.size() ? defaults : 0);
    }
    return text + "\n";
}

std::string packets(const std::function<std::uint16_t(std::size_t)>& word, std::size_t count) {
    std::string bytes;
    for (std::size_t packet = 0; packet < count; ++packet) {
        for (std::size_t i = 0; i < payloadWords; ++i) {
            put(bytes, word(packet * payloadWords + i));
        }
        put(bytes, 0x08FF);
    }
    return bytes;
}

std::string plainWords(const std::function<std::uint16_t(std::size_t)>& word, std::size_t count) {
    std::string bytes;
    for (std::size_t i = 0; i < count * 256; ++i) {
        put(bytes, word(i));
    }
    return bytes;
}

std::uint16_t framedWord(const std::vector<std::uint16_t>& pattern, std::size_t index) {
    constexpr std::size_t content = 64;
    constexpr std::uint16_t sequence[] = {0, 0, 0, 0, 0, 0x0FF0, 0x2D1E};
    const std::size_t place = index % (content + 7);
    if (place < 7) {
        return sequence[place];
    }
    return pattern[(index / (content + 7) * content + place - 7) % pattern.size()];
}

LaneBits lanesOf(std::size_t dataPins, const std::function<std::uint16_t(std::size_t)>& word) {
    return [=](std::size_t slot, std::size_t line) {
        const std::size_t slots = 16 / dataPins;
        return (word(slot / slots) >> (15 - slot % slots * dataPins - line) & 1) != 0;
    };
}

std::function<std::uint16_t(std::size_t)> wordsOf(std::size_t dataPins, const LaneBits& bitOf) {
    return [=](std::size_t index) {
        const std::size_t slots = 16 / dataPins;
        unsigned word = 0;
        for (std::size_t slot = 0; slot < slots; ++slot) {
            for (std::size_t line = 0; line < dataPins; ++line) {
                word = word << 1 | (bitOf(index * slots + slot, line) ? 1U : 0U);
            }
        }
        return static_cast<std::uint16_t>(word);
    };
}

} // namespace drawn
