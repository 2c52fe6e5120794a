#include "bench/siblings/ExportProgram.h"

#include <array>

namespace bench {

namespace {

struct PinModes {
    unsigned clock;
    unsigned data;
};

constexpr PinModes pinModes(ExportKind kind) {
    return kind == ExportKind::Pti ? PinModes{13, 12} : PinModes{18, 19};
}

bool isFunctionMode(ExportKind kind, unsigned mode) {
    return kind == ExportKind::Pti ? mode == 1 || mode == 3 : mode == 8 || mode == 9;
}

constexpr unsigned patternBlock = 5;
constexpr std::array patterns{"a5", "walk", "ramp", "lfsr", "f0"};

} // namespace

int ExportProgram::refuse(int code, std::string why) {
    text = std::move(why);
    return code;
}

void ExportProgram::reopen() {
    stage = Stage::Collecting;
}

int ExportProgram::releasePin(unsigned emu) {
    if (emu >= emuPins) {
        return refuse(xmtr_result::badPin, "there is no pin EMU" + std::to_string(emu));
    }
    if (clock == emu) {
        clock.reset();
    }
    std::erase_if(data, [&](const auto& item) { return item.second == emu; });
    reopen();
    return xmtr_result::done;
}

int ExportProgram::allocatePin(unsigned mode, unsigned bit, unsigned emu) {
    if (emu >= emuPins) {
        return refuse(xmtr_result::badPin, "there is no pin EMU" + std::to_string(emu));
    }
    bool taken = clock == emu;
    for (const auto& item : data) {
        taken = taken || item.second == emu;
    }
    if (taken) {
        return refuse(xmtr_result::badPin, "EMU" + std::to_string(emu) + " is allocated already");
    }
    const PinModes modes = pinModes(kind);
    if (mode == modes.clock) {
        if (bit != 0 || clock) {
            return refuse(xmtr_result::badPin, "an export has one clock, of bit 0");
        }
        clock = emu;
    } else if (mode == modes.data) {
        if (bit + 1 >= emuPins || data.count(bit) != 0) {
            return refuse(xmtr_result::badPin, "bit " + std::to_string(bit) + " cannot be allocated");
        }
        data[bit] = emu;
    } else {
        return refuse(xmtr_result::badArgument, "pin mode " + std::to_string(mode) + " is not one of this export");
    }
    reopen();
    return xmtr_result::done;
}

int ExportProgram::setPortWidth(unsigned dataPins) {
    if (dataPins == 0 || dataPins + 1 > emuPins) {
        return refuse(xmtr_result::badArgument, "no export has " + std::to_string(dataPins) + " data pins");
    }
    width = dataPins;
    reopen();
    return xmtr_result::done;
}

int ExportProgram::setFunctionMode(unsigned mode) {
    if (kind == ExportKind::TpiuLite || !isFunctionMode(kind, mode)) {
        return refuse(xmtr_result::badArgument, "function mode " + std::to_string(mode) + " is not of this export");
    }
    functionSet = true;
    pattern = "none";
    reopen();
    return xmtr_result::done;
}

int ExportProgram::setTestMode(unsigned block, unsigned mode) {
    if (!functionSet) {
        return refuse(xmtr_result::outOfOrder, "a test mode needs the function mode first");
    }
    if (block != patternBlock || mode >= patterns.size()) {
        return refuse(xmtr_result::badArgument,
                      "there is no test mode " + std::to_string(mode) + " in block " + std::to_string(block));
    }
    pattern = patterns[mode];
    reopen();
    return xmtr_result::done;
}

int ExportProgram::applyFrequency(unsigned setting) {
    if (kind == ExportKind::TpiuLite) {
        return refuse(xmtr_result::badArgument, "this export has no frequency settings");
    }
    if (setting >= settings) {
        return refuse(xmtr_result::badArgument, "there is no frequency setting " + std::to_string(setting));
    }
    frequency = setting;
    frequencySet = true;
    reopen();
    return xmtr_result::done;
}

int ExportProgram::programChannel() {
    if (!clock) {
        return refuse(xmtr_result::outOfOrder, "no clock pin is allocated");
    }
    if (!width || data.size() != *width) {
        return refuse(xmtr_result::outOfOrder, "the port's width is not the number of allocated data pins");
    }
    if (data.rbegin()->first + 1 != data.size()) {
        return refuse(xmtr_result::badPin, "the data bits have a gap");
    }
    if (kind != ExportKind::TpiuLite && !(functionSet && frequencySet)) {
        return refuse(xmtr_result::outOfOrder, "function mode or frequency is not set");
    }
    stage = Stage::Programmed;
    return xmtr_result::done;
}

int ExportProgram::enablePort() {
    if (stage == Stage::Collecting) {
        return refuse(xmtr_result::outOfOrder, "the port is enabled before the channel is programmed");
    }
    stage = Stage::PortOn;
    return xmtr_result::done;
}

int ExportProgram::enablePins() {
    if (stage != Stage::PortOn && stage != Stage::PinsOn) {
        return refuse(xmtr_result::outOfOrder, "the pins are enabled before the port");
    }
    stage = Stage::PinsOn;
    return xmtr_result::done;
}

void ExportProgram::shutdown() {
    if (stage != Stage::Collecting) {
        stage = Stage::Programmed;
    }
}

std::string ExportProgram::request() const {
    std::string line = "program pattern=" + pattern + " frequency=" + std::to_string(frequency) +
                       " kind=" + std::string(exportKindName(kind)) + " pins=" + std::to_string(clock.value_or(0));
    for (const auto& [bit, emu] : data) {
        line.append(",").append(std::to_string(emu));
    }
    return line;
}

} // namespace bench
