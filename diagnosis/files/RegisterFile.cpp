#include "diagnosis/files/RegisterFile.h"

#include "diagnosis/files/BurstFile.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <array>

namespace diagnosis {

namespace {

constexpr std::size_t largestRegisterFile = 1 << 20;
constexpr unsigned procs = 8;
constexpr unsigned channels = 8;

constexpr std::uint32_t inputBase = 0x08008100;
constexpr std::uint32_t conditioningBase = 0x08008120;
constexpr std::uint32_t procStride = 64;

/// The clock sits in the last slot of its block.
constexpr std::uint32_t slotOf(unsigned proc) {
    return proc == 0 ? 30 : 2 * proc - 2;
}

constexpr std::uint32_t inputAddress(unsigned channel, unsigned proc) {
    return inputBase + procStride * channel + slotOf(proc);
}

constexpr std::uint32_t conditioningAddress(unsigned channel, unsigned proc) {
    return conditioningBase + procStride * channel + slotOf(proc);
}

/// A run of registers that follow each other, named one by one.
struct NamedRun {
    std::uint32_t first;
    std::uint32_t channelStride;
    unsigned count;
    const char* name;
};

constexpr std::array namedRuns{
    NamedRun{0x08000000, 0, 1, "unit id 0"},
    NamedRun{0x08000008, 0, 1, "unit id 1"},
    NamedRun{0x0800000C, 0, 1, "unit id 2"},
    NamedRun{0x0800000E, 0, 1, "unit id 3"},
    NamedRun{0x08000010, 0, 1, "pattern control"},
    NamedRun{0x08000030, 0, 1, "reference clock, low"},
    NamedRun{0x08000032, 0, 1, "reference clock, high"},
    NamedRun{0x08000034, 0, 1, "clock ratio"},
    NamedRun{0x08001000, 0, 5, "buffer block 0"},
    NamedRun{0x0800100A, 0, 1, "buffer status"},
    NamedRun{0x0800100C, 0, 1, "buffer block C"},
    NamedRun{0x08001010, 0, 3, "buffer block 10"},
    NamedRun{0x08001080, 0, 5, "buffer block 80"},
    NamedRun{0x08008010, 2, 1, "error status A"},
    NamedRun{0x08008018, 2, 1, "protocol"},
    NamedRun{0x08008020, 2, 1, "error status B"},
    NamedRun{0x08008030, 2, 1, "channel register 30"},
    NamedRun{0x08008040, 2, 1, "stm timeout"},
    NamedRun{0x08008050, 2, 1, "stm control"},
    NamedRun{0x08008060, 2, 1, "comms status"},
    NamedRun{0x08008140, 0, 10, "capture block 140"},
    NamedRun{0x08008158, 0, 4, "capture block 158"},
};

std::string inputMeaning(std::uint32_t value) {
    const int input = static_cast<int>(value >> 8 & 0x7F);
    std::string text = (value & 0x8000) != 0 ? "enabled" : "off";
    text += ", input " + std::to_string(input);
    if (const int emu = emuOfInput(input); emu >= 0) {
        text += " (EMU" + std::to_string(emu) + ")";
    }
    return text + ", delay " + std::to_string(value & 0xFF);
}

int stretchOf(std::uint32_t value) {
    const int size = static_cast<int>(value >> 8 & 7);
    return (value & 0x0800) != 0 ? size : -size;
}

unsigned plateauOf(std::uint32_t value) {
    const std::uint32_t code = value >> 5 & 7;
    return code == 1 ? 5 : code == 2 ? 7 : 3;
}

std::string conditioningMeaning(std::uint32_t value) {
    return "filter " + std::to_string(value >> 12 & 0xF) + ", stretch " + std::to_string(stretchOf(value)) +
           ", plateau " + std::to_string(plateauOf(value)) + ", debounce " + std::to_string(value & 0x1F);
}

std::string timeoutMeaning(std::uint32_t value) {
    return "period " + std::to_string(value & 0x3FF0) + " word clocks, on zeros " + ((value & 2) != 0 ? "yes" : "no") +
           ", on a still clock " + ((value & 1) != 0 ? "yes" : "no");
}

std::string controlMeaning(std::uint32_t value) {
    std::string text = (value & 1) != 0 ? "capture on" : "capture off";
    text += ", sync period " + std::to_string((value & 0xF0) << 6) + " word clocks";
    if ((value & 8) != 0) {
        text += ", periodic sync";
    }
    if ((value & 4) != 0) {
        text += ", diagnostic timing";
    }
    if ((value & 2) != 0) {
        text += ", 32-bit data limit";
    }
    if ((value & 0x100) != 0) {
        text += ", protocol bypassed";
    }
    return text;
}

std::string meaningOf(std::uint32_t place, std::uint32_t value) {
    switch (place) {
    case 0x0800100A:
        return (value & 0x1000) != 0 ? "the buffer wrapped" : "the buffer did not wrap";
    case 0x08008018:
        return value == 2 ? "formatter output" : "framed words";
    case 0x08008040:
        return timeoutMeaning(value);
    case 0x08008050:
        return controlMeaning(value);
    case 0x08008060:
        return (value & 0x9F) == 0x80 ? "idle" : "busy";
    default:
        return {};
    }
}

std::optional<std::uint32_t> valueAt(const RegisterDump& dump, std::uint32_t address) {
    for (const RegisterValue& entry : dump) {
        if (entry.address == address) {
            return entry.value;
        }
    }
    return std::nullopt;
}

} // namespace

RegisterDump parseRegisters(std::string_view text, const std::string& file) {
    RegisterDump dump;
    std::size_t last = 0;
    for (const toolkit::TextLine& line : toolkit::textLines(text)) {
        last = line.number;
        if (line.text.empty()) {
            continue;
        }
        const auto entry = toolkit::keyValue(line.text);
        std::optional<std::uint32_t> address;
        std::optional<std::uint32_t> value;
        if (entry && entry->key.starts_with("0x") && entry->value.starts_with("0x")) {
            address = toolkit::numberOf<std::uint32_t>(entry->key.substr(2), 16);
            value = toolkit::numberOf<std::uint32_t>(entry->value.substr(2), 16);
        }
        if (!address || !value) {
            toolkit::damaged(file, line.number, "expected 0xADDRESS=0xVALUE, found " + toolkit::shown(line.text));
        }
        dump.push_back({*address, *value});
    }
    if (dump.empty()) {
        toolkit::damaged(file, last, "there are no registers; take the file from the receiver's folder again");
    }
    return dump;
}

RegisterDump readRegisters(const std::filesystem::path& file) {
    return parseRegisters(toolkit::readText(file, 0, largestRegisterFile), file.string());
}

unsigned channelOf(const RegisterDump& dump) {
    for (unsigned channel = 0; channel < channels; ++channel) {
        // The ninth of the dump is the first pin's; addresses of neighbouring channels overlap with other blocks.
        if (dump.size() > 7 && dump[7].address == inputAddress(channel, 0)) {
            return channel;
        }
    }
    return 0;
}

RegisterText describe(const RegisterValue& entry, unsigned channel,
                      const std::function<std::string(std::size_t)>& pinLabel) {
    for (unsigned proc = 0; proc < procs; ++proc) {
        if (entry.address == inputAddress(channel, proc)) {
            return {pinLabel(proc) + " input", inputMeaning(entry.value)};
        }
        if (entry.address == conditioningAddress(channel, proc)) {
            return {pinLabel(proc) + " conditioning", conditioningMeaning(entry.value)};
        }
    }
    for (const NamedRun& run : namedRuns) {
        const std::uint32_t first = run.first + run.channelStride * channel;
        if (entry.address < first || entry.address >= first + 2 * run.count || (entry.address - first) % 2 != 0) {
            continue;
        }
        const std::uint32_t index = (entry.address - first) / 2;
        return {run.count == 1 ? std::string(run.name) : run.name + (" [" + std::to_string(index) + "]"),
                meaningOf(run.first, entry.value)};
    }
    return {"not named", {}};
}

std::optional<PinRegisters> pinRegisters(const RegisterDump& dump, unsigned channel, unsigned proc) {
    const auto input = valueAt(dump, inputAddress(channel, proc));
    const auto conditioning = valueAt(dump, conditioningAddress(channel, proc));
    if (!input || !conditioning) {
        return std::nullopt;
    }
    PinRegisters pin;
    pin.enabled = (*input & 0x8000) != 0;
    pin.input = *input >> 8 & 0x7F;
    pin.delay = *input & 0xFF;
    pin.filter = *conditioning >> 12 & 0xF;
    pin.stretch = stretchOf(*conditioning);
    pin.plateau = plateauOf(*conditioning);
    pin.debounce = *conditioning & 0x1F;
    return pin;
}

} // namespace diagnosis
