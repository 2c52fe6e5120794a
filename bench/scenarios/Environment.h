#pragma once

#include <string_view>

namespace bench {

/// Whether a scenario may set an environment variable: only the one that its own `pin_map` names as "$NAME", and only
/// if the name consists of letters, digits, "_" and at least one comma, as every map with a data pin does. No program
/// or system reads a variable with a comma in its name, so a scenario from an unknown source cannot start programs
/// through PATH, LD_PRELOAD and the like.
bool scenarioMaySet(std::string_view name, std::string_view pinMap);

/// The error text for any other variable; it follows the key.
inline constexpr char environmentRule[] = "must be the variable that pin_map names as \"$NAME\", with a comma in it";

} // namespace bench
