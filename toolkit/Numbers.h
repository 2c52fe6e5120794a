#pragma once

#include <cstdint>
#include <functional>
#include <string>

// Numbers on the command line.

namespace toolkit {

/// Empty when a text will do, otherwise what is wrong with it.
using TextCheck = std::function<std::string(const std::string&)>;

/// Any finite number within two limits, both included.
TextCheck numberFrom(double lowest, double highest);
/// The same of whole numbers.
TextCheck wholeNumberFrom(std::int64_t lowest, std::int64_t highest);

} // namespace toolkit
