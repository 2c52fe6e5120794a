#pragma once

#include <bit>
#include <cstdint>

// All that differs from compiler to compiler: no other header or source of the product uses a compiler's own words. GCC
// and clang are known. For another one the first branch is the list of what to supply; see docs/building.md.

/// Compiler and version, as texts that can be joined.
#if defined(__clang__)
#define ORV_COMPILER "clang " __clang_version__
#else
#define ORV_COMPILER "gcc " __VERSION__
#endif

/// Makes a symbol visible outside of its library, where symbols are hidden by default. On Windows a list of exports does.
#define ORV_EXPORT __attribute__((visibility("default")))

/// Marks a function as taking a printf format (argument number `format`) and its values from argument `first` on, so
/// that the compiler checks the calls. The number of a member function's first argument is 2. The C++ run-time used here
/// follows GNU's printf rules on both systems; only GCC has a name for them.
#if defined(__clang__)
#define ORV_PRINTF_CHECKED(format_, first_) __attribute__((format(printf, format_, first_)))
#else
#define ORV_PRINTF_CHECKED(format_, first_) __attribute__((format(gnu_printf, format_, first_)))
#endif

/// Around a call whose format comes from the caller, which no compiler can check.
#define ORV_FORMAT_FROM_CALLER_BEGIN                                                                                   \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wformat-nonliteral\"")
#define ORV_FORMAT_FROM_CALLER_END _Pragma("GCC diagnostic pop")

/// As a default argument: the line of the call.
#define ORV_CALLERS_LINE __builtin_LINE()

namespace VX_QRS {

/// 16 bytes that one instruction works on. Operators work on each byte; a comparison sets all bits of a byte or none.
using ByteBlock __attribute__((vector_size(16))) = std::uint8_t;
/// The same bytes as two numbers, with operator[].
using WordBlock __attribute__((vector_size(16))) = std::uint64_t;

/// The highest bit of every byte, the first byte's lowest. One instruction of every x86-64; portable code costs a fifth
/// of the speed.
inline std::uint32_t highestBits(const ByteBlock& block) {
    using Chars __attribute__((vector_size(16))) = char;
    return static_cast<std::uint32_t>(__builtin_ia32_pmovmskb128(std::bit_cast<Chars>(block)));
}

} // namespace VX_QRS
