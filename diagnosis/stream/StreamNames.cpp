#include "diagnosis/stream/StreamCheck.h"

#include <algorithm>
#include <array>

// Names of what a check finds. The reader of a run's checks needs them without the check itself.

namespace diagnosis {

namespace {

constexpr std::array<std::string_view, 4> modes{"unknown", "pti", "tpiu", "tpiulite"};
constexpr std::array<std::string_view, 11> damages{"noise",      "drift-early", "drift-late",     "stuck-at-0",
                                                   "stuck-at-1", "swapped",     "lost-words",     "inserted-words",
                                                   "cut-packet", "bad-trailer", "missing-samples"};
constexpr std::array<std::string_view, 3> verdicts{"sound", "damaged", "unknown"};

template <class Value, std::size_t count>
std::optional<Value> valueNamed(const std::array<std::string_view, count>& names, std::string_view name) {
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? std::nullopt : std::optional(static_cast<Value>(found - names.begin()));
}

} // namespace

std::optional<StreamMode> streamModeNamed(std::string_view name) {
    const auto mode = valueNamed<StreamMode>(modes, name);
    return mode == StreamMode::Unknown ? std::nullopt : mode;
}

std::string_view streamModeName(StreamMode mode) {
    return modes[static_cast<std::size_t>(mode)];
}

std::string_view damageKindName(DamageKind kind) {
    return damages[static_cast<std::size_t>(kind)];
}

std::optional<DamageKind> damageKindNamed(std::string_view name) {
    return valueNamed<DamageKind>(damages, name);
}

std::string_view streamVerdictName(StreamVerdict verdict) {
    return verdicts[static_cast<std::size_t>(verdict)];
}

std::optional<StreamVerdict> streamVerdictNamed(std::string_view name) {
    return valueNamed<StreamVerdict>(verdicts, name);
}

} // namespace diagnosis
