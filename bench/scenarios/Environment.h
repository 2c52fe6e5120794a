#pragma once

#include <string_view>

namespace bench {

/// Whether a scenario may set an environment variable: only the one that its own `pin_map` names as "$NAME", and only if
/// that name is made of letters, digits, "_" and at least one comma, as every map with a data pin is. No program or
/// system reads a variable with a comma in its name, so a scenario that one was sent cannot start programs by way of
/// PATH, LD_PRELOAD and their like.
bool scenarioMaySet(std::string_view name, std::string_view pinMap);

/// What is wrong with another variable, to follow its key.
inline constexpr char environmentRule[] = "must be the variable that pin_map names as \"$NAME\", with a comma in it";

} // namespace bench
