#include "rcvr/SettingsFile.h"

#include "common/source/source_utilities/KeptFile.h"
#include "common/source/source_utilities/uConfig.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"
#include "rcvr/Error.h"

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

void readValue(uConfig& file, const char* key, bool& value) {
    value = uString::toBool(file.getVariable(key).value);
}

void readValue(uConfig& file, const char* key, std::uint32_t& value) {
    value = uString::toNumber<std::uint32_t>(file.getVariable(key).value);
}

void readValue(uConfig& file, const char* key, std::string& value) {
    value = file.getVariable(key).value;
}

void readRequired(uConfig& file, ChannelSettings& settings) {
    readValue(file, "no_emu0", g_noEmu0);
    // The two pins are given free together: the second key is written for other readers of the file only.
    readValue(file, "no_emu0", g_noEmu1);
    readValue(file, "drm_type", g_drmType);
    readValue(file, "drm_key", g_drmKey);
    readValue(file, "is_sync", settings.isSync);
    readValue(file, "is_stop_on_full", settings.isStopOnFull);
    readValue(file, "num_pins", settings.numPins);
    readValue(file, "pin_map", settings.pinMap);
    readValue(file, "bufsize_current", settings.bufferSizeIndex);
    readValue(file, "drm_xmtr", settings.transmitter);
    readValue(file, "start_port", settings.startPort);
}

// All five or none: a file from before these keys existed has none of them.
void readTargetExport(uConfig& file, ChannelSettings& settings) {
    try {
        readValue(file, "ARM_STALL_CPU", settings.stallCpu);
        readValue(file, "ARM_MONITOR_CPRT", settings.monitorCprt);
        readValue(file, "ARM_NO_DATA_TRACE_ON_FIFO_FULL", settings.noDataTraceOnFifoFull);
        readValue(file, "ARM_CYCLE_ACCURATE_TRACE", settings.cycleAccurateTrace);
        readValue(file, "ARM_EXPORT_FRAMESIZE", settings.exportFrameSize);
    } catch (const uConfig::name_error&) {
        const ChannelSettings defaults;
        settings.stallCpu = defaults.stallCpu;
        settings.monitorCprt = defaults.monitorCprt;
        settings.noDataTraceOnFifoFull = defaults.noDataTraceOnFifoFull;
        settings.cycleAccurateTrace = defaults.cycleAccurateTrace;
        settings.exportFrameSize = defaults.exportFrameSize;
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

const char* textOf(bool value) {
    return value ? "true" : "false";
}

void setAllKeys(uConfig& file, const ChannelSettings& settings) {
    const auto set = [&](const char* key, const std::string& value) {
        file.addVariable(key, value.c_str(), sectionName);
    };
    set("RCVRNAME", "Kite R2 Trace");
    set("no_emu0", textOf(g_noEmu0));
    set("no_emu1", textOf(g_noEmu1));
    set("drm_type", g_drmType);
    set("drm_key", g_drmKey);
    set("num_pins", std::to_string(settings.numPins));
    set("pin_map", settings.pinMap);
    set("is_stop_on_full", textOf(settings.isStopOnFull));
    set("is_sync", textOf(settings.isSync));
    set("bufsize_current", std::to_string(settings.bufferSizeIndex));
    set("drm_xmtr", settings.transmitter);
    set("start_port", std::to_string(settings.startPort));
    set("ARM_STALL_CPU", textOf(settings.stallCpu));
    set("ARM_MONITOR_CPRT", textOf(settings.monitorCprt));
    set("ARM_NO_DATA_TRACE_ON_FIFO_FULL", textOf(settings.noDataTraceOnFifoFull));
    set("ARM_CYCLE_ACCURATE_TRACE", textOf(settings.cycleAccurateTrace));
    set("ARM_EXPORT_FRAMESIZE", std::to_string(settings.exportFrameSize));
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
        readRequired(file, settings);
        readTargetExport(file, settings);
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
        setAllKeys(file, settings);
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
