#include "common/source/source_utilities/uString.h"
#include "fuzz/Require.h"
#include "fuzz/Scratch.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"
#include "rcvr/SettingsFile.h"
#include "rcvr/SettingsKeys.h"

#include <cstdio>
#include <string>
#include <vector>

namespace fuzz {

namespace {

using namespace Vx::Qrs::Trace::OrvRcvr;
using Settings = SettingsKey::Settings;

constexpr const char* cpu = "bench/app";
constexpr const char* copySuffix = ".before-defaults";

/// Every value, those that are only carried along included.
std::vector<std::string> valuesOf(const Settings& settings) {
    std::vector<std::string> values;
    for (const SettingsKey& key : settingsKeys()) {
        values.push_back(valueText(key.value, settings));
    }
    return values;
}

void requireUsable(const Settings& settings) {
    require(settings.numPins == 1 || settings.numPins == 2 || settings.numPins == 4, "number of pins");
    require(settings.transmitter == "pti" || settings.transmitter == "tpiu" || settings.transmitter == "tpiulite",
            "kind of export");
    std::vector<std::string> pins;
    VX_QRS::uString::split(pins, settings.pinMap, ",");
    require(pins.empty() || pins.size() == settings.numPins + std::size_t{1}, "pin map and number of pins");
    require(settings.bufferSizeChoices == Settings().bufferSizeChoices, "the choices are fixed");
}

void carryNothing() {
    g_noEmu0 = false;
    g_noEmu1 = false;
    g_drmType.clear();
    g_drmKey.clear();
}

/// A text with a zero byte ends there once it is written.
bool canBeWritten(const Settings& settings) {
    for (const std::string& value : valuesOf(settings)) {
        if (value.find('\0') != std::string::npos) {
            return false;
        }
    }
    return true;
}

void requireRoundTrip(const Settings& settings) {
    const std::string path = scratchFile("written.xml", "");
    std::remove(path.c_str());
    StoreSettings(settings, path.c_str(), cpu);
    const std::string written = bytesOf(path);
    const std::vector<std::string> before = valuesOf(settings);
    Settings again;
    LoadSettings(again, path.c_str(), cpu);
    require(bytesOf(path) == written, "a written file is accepted");
    // The second pin follows the first from the next load on.
    g_noEmu1 = before[2] == "true";
    require(valuesOf(again) == before, "a written file has the same values");
}

/// Copies of replaced files, which would be kept forever.
void removeCopies(const std::string& path) {
    for (const char* number : {"", ".2", ".3"}) {
        std::remove((path + copySuffix + number).c_str());
    }
}

void requireReplaced(Settings& settings, const std::string& path, const std::string& given) {
    std::string written = bytesOf(path);
    require(valuesOf(settings) == valuesOf(Settings()), "a replaced file means defaults");
    std::string plain = given;
    VX_QRS::uString::replace(plain, "\r\n", "\n");
    require(plain == written || bytesOf(path + copySuffix) == given, "a replaced file is kept");
    // Keys of other sections survive, and may be wrong again. Sections without a variable are gone the second time.
    for (int load = 0; load < 2; ++load) {
        written = bytesOf(path);
        LoadSettings(settings, path.c_str(), cpu);
        requireUsable(settings);
    }
    require(bytesOf(path) == written, "a replaced file stays as it is");
    removeCopies(path);
}

} // namespace

void settingsFile(Input input) {
    carryNothing();
    const std::string given(textOf(input));
    const std::string path = scratchFile("board.xml", given);
    Settings settings;
    LoadSettings(settings, path.c_str(), cpu);
    requireUsable(settings);
    if (bytesOf(path) != given) {
        requireReplaced(settings, path, given);
    }
    if (canBeWritten(settings)) {
        requireRoundTrip(settings);
    }
}

} // namespace fuzz
