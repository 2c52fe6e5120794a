#pragma once

#include <cstdint>

namespace Vx::Qrs::Trace::OrvRcvr {

/// The class that a CPU identifier belongs to: 0 to 3.
constexpr std::uint32_t adapterKindOf(std::uint32_t cpuId) {
    constexpr std::uint32_t familyShift = 22;
    constexpr std::uint32_t variantShift = 10;
    constexpr std::uint32_t variantMask = 0xFFF;
    switch (cpuId >> familyShift) {
    case 470:
        return (cpuId >> variantShift & variantMask) == 38 ? 3 : 2;
    case 320:
        return 1;
    default:
        return 0;
    }
}

/// Loads the target adapter library for this one question and unloads it again. Throws Zarn::cZarnError.
std::uint32_t queryAdapterKind(const char* cpuName);

} // namespace Vx::Qrs::Trace::OrvRcvr
