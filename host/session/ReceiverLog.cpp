#include "host/session/ReceiverLog.h"

#include "host/platform/Platform.h"
#include "toolkit/FilePath.h"

#include <sstream>
#include <string_view>

namespace host {

namespace fs = std::filesystem;

// The log's name ends in the number of the debug client's process.
fs::path receiverLog() {
    const std::string ending = std::string("_") + getEnvironment("VX_TRACE_DEBUGCLIENT_PID") + ".txt";
    fs::path newest;
    fs::file_time_type newestTime{};
    std::error_code failed;
    for (const auto& entry :
         fs::directory_iterator(toolkit::filePath(getEnvironment("VX_TRACE_LOGGING_DIR")), failed)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("vx_trace_log", 0) != 0 || !name.ends_with(ending)) {
            continue;
        }
        const auto time = entry.last_write_time(failed);
        if (newest.empty() || time > newestTime) {
            newest = entry.path();
            newestTime = time;
        }
    }
    return newest;
}

std::vector<std::string> loggedErrors(const std::string& log) {
    constexpr std::size_t errorColumn = 4; // a letter for each class
    constexpr std::string_view separator = " | ";
    constexpr std::string_view proxy = "MpxEcomProxy: ";
    std::vector<std::string> errors;
    std::istringstream in(log);
    for (std::string line; std::getline(in, line);) {
        const std::size_t at = line.find(separator);
        if (at == std::string::npos || at < errorColumn || line[errorColumn] != 'E') {
            continue;
        }
        std::string text = line.substr(at + separator.size());
        text.erase(0, text.starts_with(proxy) ? proxy.size() : 0);
        text.erase(text.find_last_not_of("\r ") + 1);
        errors.push_back(std::move(text));
    }
    return errors;
}

} // namespace host
