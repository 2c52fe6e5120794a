#include "rcvr/ListText.h"

#include "rcvr/Error.h"

#include <algorithm>

namespace Vx::Qrs::Trace::OrvRcvr {

std::uint32_t countListEntries(const std::string& list) {
    if (list.empty()) {
        return 0;
    }
    return static_cast<std::uint32_t>(std::count(list.begin(), list.end(), ',') + 1);
}

std::string pickListEntry(const std::string& list, std::uint32_t index) {
    if (list.empty()) {
        return {};
    }
    std::size_t start = 0;
    for (; index != 0; --index) {
        const std::size_t comma = list.find(',', start);
        if (comma == std::string::npos) {
            throwError(utilitiesUnit, eBadIndex);
        }
        start = comma + 1;
    }
    const std::size_t comma = list.find(',', start);
    if (comma != std::string::npos) {
        return list.substr(start, comma - start);
    }
    // Counted as if a comma followed.
    const std::size_t rest = list.size() - start;
    return list.substr(start, rest == 0 ? 0 : rest - 1);
}

} // namespace Vx::Qrs::Trace::OrvRcvr
