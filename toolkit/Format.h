#pragma once

#include <cstdint>
#include <string>

namespace toolkit {

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
