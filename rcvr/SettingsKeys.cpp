#include "rcvr/SettingsKeys.h"

#include "rcvr/PropertiesText.h"
#include "rcvr/SettingsFile.h"

#include <algorithm>
#include <array>

namespace Vx::Qrs::Trace::OrvRcvr {

namespace {

using Settings = SettingsKey::Settings;

constexpr auto resets = SettingsKey::Missing::ResetsTargetExport;

std::string bufferMode(const Settings& settings) {
    return settings.isStopOnFull ? "stop" : "wrap";
}

std::string bufferSize(const Settings& settings) {
    return std::to_string(bufferSizeBytes(settings.bufferSizeIndex));
}

/// The text of each kind of value.
struct TextOf {
    const Settings& settings;

    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(std::uint32_t value) const { return std::to_string(value); }
    std::string operator()(const std::string& value) const { return value; }
    std::string operator()(const char* value) const { return value; }
    template <typename Type>
    std::string operator()(Type Settings::* field) const {
        return (*this)(settings.*field);
    }
    template <typename Type>
    std::string operator()(Type* carried) const {
        return (*this)(*carried);
    }
};

constexpr auto rows = std::to_array<SettingsKey>({
    {.key = "RCVRNAME", .value = "Kite R2 Trace"},
    {.key = "no_emu0", .value = &g_noEmu0, .readTurn = 1},
    // The two pins are released together; the second key is written for other readers of the file only.
    {.key = "no_emu1", .value = &g_noEmu1, .readTurn = 2, .readKey = "no_emu0"},
    {.key = "drm_type", .value = &g_drmType, .readTurn = 3},
    {.key = "drm_key", .value = &g_drmKey, .readTurn = 4},
    // Setting the number of pins empties the map, so the number has the earlier line of the section.
    {.key = "num_pins", .value = &Settings::numPins, .readTurn = 7, .property = "numPins", .sectionTurn = 3},
    {.key = "pin_map", .value = &Settings::pinMap, .readTurn = 8, .property = "pinMap", .sectionTurn = 4},
    {.key = "is_stop_on_full",
     .value = &Settings::isStopOnFull,
     .readTurn = 6,
     .property = "orvBufMode",
     .sectionTurn = 2,
     .propertyText = bufferMode},
    {.key = "is_sync", .value = &Settings::isSync, .readTurn = 5, .property = "targetSync", .sectionTurn = 1},
    {.key = "bufsize_current",
     .value = &Settings::bufferSizeIndex,
     .readTurn = 9,
     .property = "orvBufSize",
     .sectionTurn = 5,
     .propertyText = bufferSize},
    {.key = "drm_xmtr", .value = &Settings::transmitter, .readTurn = 10, .property = "drmXmtr", .sectionTurn = 7},
    {.key = "start_port", .value = &Settings::startPort, .readTurn = 11, .property = "startPort", .sectionTurn = 6},
    // Files from before these keys existed have none of them.
    {.key = "ARM_STALL_CPU", .value = &Settings::stallCpu, .readTurn = 12, .missing = resets},
    {.key = "ARM_MONITOR_CPRT", .value = &Settings::monitorCprt, .readTurn = 13, .missing = resets},
    {.key = "ARM_NO_DATA_TRACE_ON_FIFO_FULL",
     .value = &Settings::noDataTraceOnFifoFull,
     .readTurn = 14,
     .missing = resets},
    {.key = "ARM_CYCLE_ACCURATE_TRACE", .value = &Settings::cycleAccurateTrace, .readTurn = 15, .missing = resets},
    {.key = "ARM_EXPORT_FRAMESIZE", .value = &Settings::exportFrameSize, .readTurn = 16, .missing = resets},
});

/// Whether the turns run from 1 without a gap and none is used twice.
constexpr bool inTurn(unsigned SettingsKey::* turn) {
    unsigned used = 0;
    unsigned last = 0;
    std::uint64_t seen = 0;
    for (const SettingsKey& row : rows) {
        if (row.*turn != 0) {
            ++used;
            last = std::max(last, row.*turn);
            seen |= std::uint64_t{1} << row.*turn;
        }
    }
    return used == last && seen == (std::uint64_t{2} << last) - 2;
}
static_assert(inTurn(&SettingsKey::readTurn) && inTurn(&SettingsKey::sectionTurn));

} // namespace

std::span<const SettingsKey> settingsKeys() {
    return rows;
}

std::vector<const SettingsKey*> settingsKeysBy(unsigned SettingsKey::* turn) {
    std::vector<const SettingsKey*> found;
    for (const SettingsKey& key : settingsKeys()) {
        if (key.*turn != 0) {
            found.push_back(&key);
        }
    }
    std::ranges::sort(found, [turn](const SettingsKey* a, const SettingsKey* b) { return a->*turn < b->*turn; });
    return found;
}

std::string valueText(const SettingsKey::Value& value, const SettingsKey::Settings& settings) {
    return std::visit(TextOf{settings}, value);
}

} // namespace Vx::Qrs::Trace::OrvRcvr
