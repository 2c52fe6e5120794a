#include "client/analysis/CalRegisters.h"

#include "rcvr/framework/TraceLimits.h"

namespace VX_QRS::ORV::CLIENT::analysis {

namespace {

constexpr std::uint32_t enableBit = 0x8000;
constexpr std::uint32_t inputShift = 8;
constexpr std::uint32_t inputMask = 0x7F;
constexpr std::uint32_t delayMask = 0xFF;
constexpr std::uint32_t filterShift = 12;
constexpr std::uint32_t filterMask = 0xF;
constexpr std::uint32_t notNegativeBit = 0x0800;
constexpr std::uint32_t stretchShift = 8;
constexpr std::uint32_t stretchMask = 0x7;
constexpr std::uint32_t plateauShift = 5;
constexpr std::uint32_t plateauMask = 0x7;
constexpr std::uint32_t debounceMask = 0x1F;

} // namespace

std::uint32_t plateauToRegister(std::uint32_t plateau) {
    if (plateau < 4) {
        return 0;
    }
    return plateau == 5 || plateau == 6 ? 1 : 2; // 4 counts as 7; a setting of 4 is rejected before
}

std::uint32_t plateauFromRegister(std::uint32_t code) {
    switch (code) {
    case 1:
        return 5;
    case 2:
        return 7;
    default:
        return 3;
    }
}

CalRegisters toRegisters(const ProcCal& pin) {
    const auto stretch = static_cast<std::uint32_t>(pin.stretch);
    const std::uint32_t magnitude = pin.stretch < 0 ? 0U - stretch : stretch;
    CalRegisters registers{};
    registers.input =
        (pin.enable != 0 ? enableBit : 0) | ((pin.rcvrpin & inputMask) << inputShift) | (pin.delay & delayMask);
    registers.conditioning = ((pin.filter & filterMask) << filterShift) | (pin.stretch >= 0 ? notNegativeBit : 0) |
                             ((magnitude & stretchMask) << stretchShift) |
                             (plateauToRegister(pin.plateau) << plateauShift) | (pin.debounce & debounceMask);
    return registers;
}

void fromRegisters(const CalRegisters& registers, ProcCal& pin) {
    pin.enable = (registers.input & enableBit) != 0 ? 1 : 0;
    pin.rcvrpin = (registers.input >> inputShift) & inputMask;
    pin.delay = registers.input & delayMask;
    pin.filter = (registers.conditioning >> filterShift) & filterMask;
    const auto magnitude = static_cast<std::int32_t>((registers.conditioning >> stretchShift) & stretchMask);
    pin.stretch = (registers.conditioning & notNegativeBit) != 0 ? magnitude : -magnitude;
    pin.plateau = plateauFromRegister((registers.conditioning << plateauShift) & plateauMask);
    pin.debounce = registers.conditioning & debounceMask;
}

const char* invalidSetting(const ProcCal& pin) {
    namespace limits = Vx::Qrs::Trace::limits;
    if (pin.filter > limits::highestFilter) {
        return "invalid filter";
    }
    if (!limits::isPlateau(pin.plateau)) {
        return "invalid plateau";
    }
    if (pin.debounce > limits::highestDebounce) {
        return "invalid debounce";
    }
    if (pin.delay > limits::highestDelay) {
        return "invalid delay";
    }
    if (pin.stretch > limits::highestStretch || pin.stretch < -limits::highestStretch) {
        return "invalid stretch";
    }
    return nullptr;
}

} // namespace VX_QRS::ORV::CLIENT::analysis
