#pragma once

#include "client/analysis/Cal.h"

#include <cstdint>

// The two registers of a pin and their legal values.

namespace VX_QRS::ORV::CLIENT::analysis {

std::uint32_t plateauToRegister(std::uint32_t plateau);
std::uint32_t plateauFromRegister(std::uint32_t code);

struct CalRegisters {
    std::uint32_t input;        ///< enable, receiver input, delay
    std::uint32_t conditioning; ///< filter, stretch, plateau, debounce
};
CalRegisters toRegisters(const ProcCal& pin);

/// Fills all seven fields. The plateau comes out as 3 whatever the unit holds: its code is shifted away before it is
/// decoded, and listings of old units have it so.
void fromRegisters(const CalRegisters& registers, ProcCal& pin);

/// The first invalid value of a pin's settings, as text; null for none.
const char* invalidSetting(const ProcCal& pin);

} // namespace VX_QRS::ORV::CLIENT::analysis
