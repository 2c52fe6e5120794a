#include "rcvr/ProcessEnvironment.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"
#include "common/source/source_utilities/uTime.h"

#include <cstdint>
#include <string>

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::uEnvironment;

namespace {

constexpr const char* debugClientVariable = "VX_TRACE_DEBUGCLIENT_PID";
constexpr const char* levelVariable = "VX_TRACE_LOGGING";
constexpr const char* logDirectoryVariable = "VX_TRACE_LOGGING_DIR";

bool g_initialised = false;
std::string g_pidText;
std::string g_baseDir;
std::string g_dataDir;
std::string g_settingsDir;
std::string g_logFileName;

// A process that inherits the identifier of a living debug client shares that client's log.
void settleDebugClient() {
    g_pidText = uEnvironment::get(debugClientVariable);
    if (!g_pidText.empty() && !uEnvironment::processExists(VX_QRS::uString::toNumber<std::uint32_t>(g_pidText))) {
        g_pidText.clear();
    }
    if (g_pidText.empty()) {
        g_pidText = std::to_string(uEnvironment::getCurrentProcessId());
        uEnvironment::set(debugClientVariable, g_pidText.c_str());
    }
}

void settleDirectories() {
    uEnvironment::getTraceDirectory(g_baseDir);
    uEnvironment::getTraceDataDirectory(g_dataDir);
    uEnvironment::getTraceSettingsDirectory(g_settingsDir);
    uEnvironment::set(logDirectoryVariable, g_baseDir.c_str());
    uEnvironment::set("VX_TRACE_DATA_DIR", g_dataDir.c_str());
    uEnvironment::set("VX_TRACE_SETTINGS_DIR", g_settingsDir.c_str());
}

void settleLogFileName() {
    const VX_QRS::uTime now;
    g_logFileName = "vx_trace_log_" + std::to_string(now.getMonth()) + std::to_string(now.getDay()) +
                    std::to_string(now.getYear()) + "_" + g_pidText + ".txt";
}

} // namespace

void prepareProcessEnvironment() {
    if (!g_initialised) {
        settleDebugClient();
        settleDirectories();
        settleLogFileName();
        g_initialised = true;
    }
    constexpr bool sharedFile = true;
    VX_QRS::getLogManager()->open(g_logFileName.c_str(), levelVariable, logDirectoryVariable, sharedFile);
}

} // namespace Vx::Qrs::Trace::OrvRcvr
