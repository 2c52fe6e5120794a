#include "mpx/MpxEcomServer/ServerStart.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uThread.h"

#include <stdexcept>
#include <string>
#include <utility>

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
    bool hasEnded(std::uint32_t id) noexcept override { return uEnvironment::processHasEnded(id); }
    void terminate(std::uint32_t id) noexcept override { uEnvironment::terminateProcess(id); }
    void sleep(std::uint32_t milliseconds) override { uThread::sleep(milliseconds); }
};

// A started process, terminated at the end of the scope unless it is taken over. A process that findProcess does not
// report may still run; no failure may leave it running.
class Attempt {
public:
    Attempt(ProcessAccess& access, std::uint32_t started) : processes(access), id(started) {}
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;
    ~Attempt() {
        if (id != 0) {
            processes.terminate(id);
        }
    }

    std::uint32_t process() const { return id; }
    std::uint32_t takeOver() { return std::exchange(id, 0); }

private:
    ProcessAccess& processes;
    std::uint32_t id;
};

// The wait ends when the process is found. Each search, the last one too, is followed by a sleep, which gives the
// server the time to open its port: the connection is tried only once.
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
    // Never destroyed: a client may outlive the destruction of static objects.
    static auto* const processes = new PlatformProcesses;
    return *processes;
}

StartedServer startServer(ProcessAccess& processes, std::uint32_t firstPort) {
    for (std::uint32_t tried = 0; tried < portTries; ++tried) {
        const std::uint32_t port = firstPort + tried;
        const std::string arguments = "1 " + std::to_string(port);
        logMessage("MpxEcomProxy: starting server : %s %s", serverImage, arguments.c_str());
        Attempt attempt(processes, processes.start(serverImage, arguments.c_str()));
        if (lookFor(processes, attempt.process()) == attempt.process()) {
            logMessage("MpxEcomProxy: server started, pid=%d, port=%d", static_cast<int>(attempt.process()),
                       static_cast<int>(port));
            return {attempt.takeOver(), port};
        }
    }
    logError("MpxEcomProxy: failed to start server");
    throw std::runtime_error("failed to start server");
}

} // namespace VX_QRS::ORV
