#include "common/source/source_utilities/nativeEnvironment.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uString.h"
#include "common/source/source_utilities/uThread.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VX_QRS {

namespace {

// The children that were started here and are not known to have ended. Each is reaped by a later look at the processes,
// so that none stays behind as a zombie; children of the host's own are left to the host.
std::mutex childrenMutex;
std::vector<pid_t>& children() {
    static std::vector<pid_t> list;
    return list;
}

bool hasEnded(pid_t child) {
    return waitpid(child, nullptr, WNOHANG) != 0;
}

void reapChildren() {
    const std::lock_guard lock(childrenMutex);
    std::erase_if(children(), hasEnded);
}

void rememberChild(pid_t child) {
    const std::lock_guard lock(childrenMutex);
    children().push_back(child);
}

bool isRememberedChild(pid_t process) {
    const std::lock_guard lock(childrenMutex);
    return std::find(children().begin(), children().end(), process) != children().end();
}

std::string readWhole(const std::string& path) {
    std::ifstream file(path, std::ios_base::binary);
    std::ostringstream text;
    text << file.rdbuf(); // a process may end between opening and reading; then this is empty and throws nothing
    return text.str();
}

std::string readLink(const std::string& path) {
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length = readlink(path.c_str(), buffer.data(), buffer.size());
    return length > 0 ? std::string(buffer.data(), static_cast<std::size_t>(length)) : std::string();
}

// Ended processes stay in the list until their parent looks.
bool isZombie(const std::string& folder) {
    const std::string stat = readWhole(folder + "/stat");
    const std::size_t nameEnd = stat.rfind(')'); // the name itself may hold anything
    if (nameEnd == std::string::npos || nameEnd + 2 >= stat.size()) {
        return true;
    }
    const char state = stat[nameEnd + 2];
    return state == 'Z' || state == 'X';
}

std::string programOf(const std::string& folder) {
    constexpr std::string_view deleted = " (deleted)"; // behind the name of a program whose file is gone
    std::string program = readLink(folder + "/exe");
    if (program.ends_with(deleted)) {
        program.resize(program.size() - deleted.size());
    }
    if (program.empty()) {
        // Another user's: the command line is open to all.
        program = readWhole(folder + "/cmdline");
        program.resize(std::min(program.find('\0'), program.size()));
    }
    return program;
}

std::vector<std::string> splitArguments(std::string_view text) {
    std::vector<std::string> parts;
    bool inPart = false;
    bool quoted = false;
    for (const char c : text) {
        if (c == ' ' && !quoted) {
            inPart = false;
            continue;
        }
        if (!inPart) {
            parts.emplace_back();
            inPart = true;
        }
        if (c == '"') {
            quoted = !quoted;
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

// Where the program may be, in order: the current directory, then PATH.
std::vector<std::string> candidatePaths(const std::string& imageName) {
    if (imageName.find('/') != std::string::npos) {
        return {imageName};
    }
    std::vector<std::string> candidates{"./" + imageName};
    std::vector<std::string> directories;
    uString::split(directories, uEnvironment::get("PATH"), ":");
    for (const std::string& directory : directories) {
        candidates.push_back(directory + "/" + imageName);
    }
    return candidates;
}

// Everything that the child needs, made ahead of the fork: behind it nothing may be allocated.
struct Launch {
    std::vector<std::string> paths;
    std::vector<std::string> arguments;
    std::vector<char*> argumentPointers;
    int report = -1; // where a failure is told
};

// Runs in the child, where only plain system calls are safe.
[[noreturn]] void becomeProgram(const Launch& launch) {
    setsid();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    constexpr int kept = 3; // the first behind the standard ones
    const char failure = 1;
    if (dup2(launch.report, kept) == kept) {
        fcntl(kept, F_SETFD, FD_CLOEXEC);
        const int nothing = open("/dev/null", O_RDWR);
        for (int standard = 0; standard < kept; ++standard) {
            dup2(nothing, standard);
        }
        close_range(kept + 1, UINT_MAX, 0);
        for (const std::string& path : launch.paths) {
            execv(path.c_str(), launch.argumentPointers.data());
        }
        [[maybe_unused]] const ssize_t written = write(kept, &failure, 1);
    } else {
        [[maybe_unused]] const ssize_t written = write(launch.report, &failure, 1);
    }
    _exit(127);
}

} // namespace

bool nativeEnvironment::listProcesses(std::vector<Process>& processes) {
    reapChildren();
    DIR* const folder = opendir("/proc");
    if (folder == nullptr) {
        return false;
    }
    while (const dirent* entry = readdir(folder)) {
        const std::string name(entry->d_name);
        if (name.find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        const std::string path = "/proc/" + name;
        if (!isZombie(path)) {
            processes.push_back({uString::toNumber<std::uint32_t>(name), programOf(path)});
        }
    }
    closedir(folder);
    return true;
}

std::uint32_t uEnvironment::startProcess(const char* imageName, const char* arguments, int) {
    reapChildren();
    if (imageName == nullptr) {
        return 0;
    }
    Launch launch;
    launch.paths = candidatePaths(imageName);
    launch.arguments = splitArguments(arguments != nullptr ? arguments : "");
    launch.arguments.insert(launch.arguments.begin(), imageName);
    for (std::string& argument : launch.arguments) {
        launch.argumentPointers.push_back(argument.data());
    }
    launch.argumentPointers.push_back(nullptr);

    // The pipe's writing end closes when the program starts; until then a byte in it tells of the failure.
    std::array<int, 2> report{};
    if (pipe2(report.data(), O_CLOEXEC) != 0) {
        return 0;
    }
    launch.report = report[1];
    const pid_t child = fork();
    if (child == 0) {
        becomeProgram(launch);
    }
    close(report[1]);
    char failure = 0;
    ssize_t count = 0;
    if (child > 0) {
        do {
            count = read(report[0], &failure, 1);
        } while (count < 0 && errno == EINTR);
    }
    close(report[0]);
    if (child < 0) {
        return 0;
    }
    if (count != 0) {
        waitpid(child, nullptr, 0);
        return 0;
    }
    rememberChild(child);
    return static_cast<std::uint32_t>(child);
}

bool uEnvironment::terminateProcess(std::uint32_t processId) {
    // What does not fit would address a group of processes.
    if (processId == 0 || processId > static_cast<std::uint32_t>(INT_MAX)) {
        return false;
    }
    const auto process = static_cast<pid_t>(processId);
    const bool terminated = processExists(processId) && kill(process, SIGKILL) == 0;
    // A killed child ends soon, and one that was ending by itself may just have done so; the remains are removed here
    // rather than at some later look.
    for (int i = 0; i < 1000 && isRememberedChild(process); ++i) {
        reapChildren();
        if (isRememberedChild(process)) {
            uThread::sleep(1);
        }
    }
    return terminated;
}

} // namespace VX_QRS
