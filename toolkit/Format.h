#pragma once

#include <cstdint>
#include <string>

namespace toolkit {

/// "50 MHz", "12.5 MHz", "400 kHz".
std::string frequencyText(double hertz);
/// "1.50 MiB".
std::string sizeText(std::uint64_t bytes);
/// "1 word", "2 words".
std::string countText(std::uint64_t count, const std::string& what);

} // namespace toolkit
