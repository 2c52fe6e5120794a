#pragma once

#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>

// Numbers and tables as text.

namespace toolkit {

// The C++ run-time used here formats in the GNU way on both systems, which only GCC has a name for.
#ifdef __clang__
__attribute__((format(printf, 1, 2)))
#else
__attribute__((format(gnu_printf, 1, 2)))
#endif
/// printf into a string of at most 1023 characters.
inline std::string
print(const char* format, ...) {
    std::array<char, 1024> text{};
    va_list values;
    va_start(values, format);
    std::vsnprintf(text.data(), text.size(), format, values);
    va_end(values);
    return text.data();
}

/// "50 MHz", "12.5 MHz", "400 kHz".
std::string frequencyText(double hertz);
/// A number with exactly so many decimals; "-" for one that is not finite.
std::string fixedText(double value, int decimals);
/// A number with at most so many decimals, without zeros at its end; "-" for one that is not finite.
std::string numberText(double value, int decimals = 2);
/// A share as "12.5 %"; with four decimals below a tenth of a percent.
std::string percentText(double share);
/// "1.50 MiB".
std::string sizeText(std::uint64_t bytes);
/// "1 word", "2 words".
std::string countText(std::uint64_t count, const std::string& what);

} // namespace toolkit
