#include "rcvr/SettingsFile.h"

#include "common/source/source_utilities/KeptFile.h"
#include "common/source/source_utilities/uConfig.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"
#include "rcvr/Error.h"
#include "rcvr/SettingsKeys.h"

#include <stdexcept>
#include <vector>

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::KeptFile;
using VX_QRS::logMessage;
using VX_QRS::logWarning;
using VX_QRS::uConfig;
using VX_QRS::uString;
using VX_QRS::ORV::CLIENT::ChannelSettings;

bool g_noEmu0 = false;
bool g_noEmu1 = false;
std::string g_drmType;
std::string g_drmKey;

namespace {

constexpr const char* sectionName = "CHANNEL-SETUP";
constexpr bool asXml = true;
constexpr const char* copySuffix = ".before-defaults";
constexpr const char* fileHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                   "<!-- This file defines the MPX Kite R2 STM receiver channel settings. -->";

/// Converts a text into each kind of value.
struct Assign {
    ChannelSettings& settings;
    const std::string& text;

    void operator()(bool& value) const { value = uString::toBool(text); }
    void operator()(std::uint32_t& value) const { value = uString::toNumber<std::uint32_t>(text); }
    void operator()(std::string& value) const { value = text; }
    void operator()(const char*) const {} // a fixed text
    template <typename Type>
    void operator()(Type ChannelSettings::* field) const {
        (*this)(settings.*field);
    }
    template <typename Type>
    void operator()(Type* carried) const {
        (*this)(*carried);
    }
};

/// Copies the default of a field; values that are only carried along have none.
struct Reset {
    ChannelSettings& settings;

    template <typename Type>
    void operator()(Type ChannelSettings::* field) const {
        settings.*field = ChannelSettings().*field;
    }
    template <typename Type>
    void operator()(Type*) const {}
};

void readAll(uConfig& file, ChannelSettings& settings) {
    bool exportComplete = true;
    for (const SettingsKey* row : settingsKeysBy(&SettingsKey::readTurn)) {
        const bool ofExport = row->missing == SettingsKey::Missing::ResetsTargetExport;
        if (ofExport && !exportComplete) {
            continue;
        }
        try {
            const char* key = row->readKey != nullptr ? row->readKey : row->key;
            std::visit(Assign{settings, file.getVariable(key).value}, row->value);
        } catch (const uConfig::name_error&) {
            if (!ofExport) {
                throw;
            }
            exportComplete = false;
        }
    }
    for (const SettingsKey& row : settingsKeys()) {
        if (!exportComplete && row.missing == SettingsKey::Missing::ResetsTargetExport) {
            std::visit(Reset{settings}, row.value);
        }
    }
}

void check(const ChannelSettings& settings) {
    std::vector<std::string> pins;
    uString::split(pins, settings.pinMap, ",");
    if (!pins.empty() && settings.numPins != pins.size() - 1) {
        throw std::runtime_error("pin map (" + settings.pinMap + ") doesn't match requested number of pins (" +
                                 std::to_string(settings.numPins) + ")");
    }
    if (settings.transmitter != "pti" && settings.transmitter != "tpiulite" && settings.transmitter != "tpiu") {
        throw std::runtime_error("unsupported transmitter (" + settings.transmitter + ")");
    }
    if (settings.numPins != 1 && settings.numPins != 2 && settings.numPins != 4) {
        throw std::runtime_error("unsupported number of pins requested (" + std::to_string(settings.numPins) + ")");
    }
}

const char* printable(const char* text) {
    return text != nullptr ? text : "(null)";
}

} // namespace

void SetDefaults(ChannelSettings& settings) {
    settings = ChannelSettings();
}

void LoadSettings(ChannelSettings& settings, const char* path, const char* cpuName) {
    logMessage("%s : loading settings from %s", programLabel, printable(path));
    try {
        uConfig file(asXml);
        file.setPath(path);
        file.read();
        readAll(file, settings);
        check(settings);
        return;
    } catch (const std::exception& exception) {
        logWarning("%s : failed to load settings, overwriting file with defaults : %s", programLabel, exception.what());
    } catch (...) {
        logWarning("%s : failed to load settings, overwriting file with defaults", programLabel);
    }
    SetDefaults(settings);
    StoreSettings(settings, path, cpuName);
}

void StoreSettings(const ChannelSettings& settings, const char* path, const char* /*cpuName*/) {
    logMessage("%s : storing settings to %s", programLabel, printable(path));
    try {
        uConfig file(asXml);
        file.setPath(path);
        try {
            file.read();
        } catch (const uConfig::error&) { // a new file then
        }
        for (const SettingsKey& row : settingsKeys()) {
            file.addVariable(row.key, valueText(row.value, settings).c_str(), sectionName);
        }
        KeptFile old(path, copySuffix, file.format(fileHeader));
        file.write(fileHeader);
        old.settle();
        if (!old.path().empty()) {
            logWarning("%s : the file as it was is kept as %s", programLabel, old.path().c_str());
        }
    } catch (const std::exception& exception) {
        logWarning("%s : error storing settings : %s", programLabel, exception.what());
    } catch (...) {
        logWarning("%s : error storing settings", programLabel);
    }
}

} // namespace Vx::Qrs::Trace::OrvRcvr
