#include "mpx/MpxEcomServer/ServerStart.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uThread.h"

#include <stdexcept>
#include <string>

namespace VX_QRS::ORV {

namespace {

constexpr const char* serverImage = "mpx_ecom_server.exe";
constexpr std::uint32_t portTries = 8;
constexpr std::uint32_t looksPerTry = 50;
constexpr std::uint32_t lookMs = 100;

class PlatformProcesses : public ProcessAccess {
public:
    std::uint32_t start(const char* image, const char* arguments) override {
        return uEnvironment::startProcess(image, arguments, uEnvironment::detachedMode);
    }
    std::uint32_t find(const char* image, std::uint32_t id) override { return uEnvironment::findProcess(image, id); }
    void terminate(std::uint32_t id) override { uEnvironment::terminateProcess(id); }
    void sleep(std::uint32_t milliseconds) override { uThread::sleep(milliseconds); }
};

// The wait ends at the first sight of the process, and behind each look, that one too, stands a sleep. In it a server
// gets the time to open its port: the connection is tried only once.
std::uint32_t lookFor(ProcessAccess& processes, std::uint32_t id) {
    std::uint32_t found = 0;
    for (std::uint32_t look = 0; look < looksPerTry && found == 0; ++look) {
        found = processes.find(serverImage, id);
        processes.sleep(lookMs);
    }
    return found;
}

} // namespace

ProcessAccess& platformProcesses() {
    static PlatformProcesses processes;
    return processes;
}

StartedServer startServer(ProcessAccess& processes, std::uint32_t firstPort) {
    StartedServer server{0, firstPort};
    for (std::uint32_t attempt = 0; attempt < portTries; ++attempt, ++server.port) {
        const std::string arguments = "1 " + std::to_string(server.port);
        logMessage("MpxEcomProxy: starting server : %s %s", serverImage, arguments.c_str());
        server.id = processes.start(serverImage, arguments.c_str());
        if (lookFor(processes, server.id) == server.id) {
            logMessage("MpxEcomProxy: server started, pid=%d, port=%d", static_cast<int>(server.id),
                       static_cast<int>(server.port));
            return server;
        }
    }
    if (server.id != 0)
        processes.terminate(server.id);
    logError("MpxEcomProxy: failed to start server");
    throw std::runtime_error("failed to start server");
}

} // namespace VX_QRS::ORV
