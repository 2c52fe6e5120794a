#include "bench/scenarios/Environment.h"

namespace bench {

bool scenarioMaySet(std::string_view name, std::string_view pinMap) {
    constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_,";
    return pinMap.starts_with('$') && pinMap.substr(1) == name && name.find(',') != std::string_view::npos &&
           name.find_first_not_of(allowed) == std::string_view::npos;
}

} // namespace bench
