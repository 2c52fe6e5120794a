#pragma once

#include "rcvr/framework/compiler/Compiler.h"

#include <cstdint>
#include <source_location>

namespace VX_QRS {

#ifdef __cpp_lib_source_location
using SourceLocation = std::source_location;
#else
/// The part of std::source_location that is used here, for compilers that lack it.
class SourceLocation {
public:
    static constexpr SourceLocation current(std::uint_least32_t line = ORV_CALLERS_LINE) {
        return SourceLocation(line);
    }
    constexpr std::uint_least32_t line() const { return number; }

private:
    constexpr explicit SourceLocation(std::uint_least32_t line) : number(line) {}

    std::uint_least32_t number;
};
#endif

} // namespace VX_QRS
