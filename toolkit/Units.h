#pragma once

#include <optional>
#include <string_view>

// Values with their unit, as a person types them: "500ms", "50MHz", "4M". A plain number is in the base unit.

namespace toolkit {

/// Seconds: "0.5", "500ms", "20us", "100ns", "2min", "1h". Nothing for any other text.
std::optional<double> secondsOf(std::string_view text);
/// Hertz: "50e6", "50MHz", "50M", "1.2GHz", "12kHz". k, M and G are powers of 1000, in this spelling.
std::optional<double> hertzOf(std::string_view text);
/// Bytes: "4096", "4k", "4KiB", "4M", "1GiB". Powers of 1024, in any case.
std::optional<double> bytesOf(std::string_view text);

} // namespace toolkit
