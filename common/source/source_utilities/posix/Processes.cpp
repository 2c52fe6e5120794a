#include "common/source/source_utilities/NativeEnvironment.h"
#include "common/source/source_utilities/StartedProcesses.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uString.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <sstream>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace VX_QRS {

namespace {

std::string readWhole(const std::string& path) {
    std::ifstream file(path, std::ios_base::binary);
    std::ostringstream text;
    text << file.rdbuf(); // empty when the process has ended since the opening; does not throw
    return text.str();
}

std::string readLink(const std::string& path) {
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length = readlink(path.c_str(), buffer.data(), buffer.size());
    return length > 0 ? std::string(buffer.data(), static_cast<std::size_t>(length)) : std::string();
}

// State of a process: the system's letter, or one of these.
constexpr char gone = '\0';
constexpr char unreadable = '?';

// Allocates nothing, since it decides whether a process may be terminated. An ended process stays in the system's list
// until its parent reaps it.
char stateOf(std::uint32_t process) noexcept {
    std::array<char, 32> path{};
    std::snprintf(path.data(), path.size(), "/proc/%u/stat", process);
    const int file = open(path.data(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return errno == ENOENT ? gone : unreadable;
    }
    std::array<char, 256> text{}; // the number, the name in brackets, the state; a name has 64 bytes at most
    const ssize_t length = read(file, text.data(), text.size());
    const bool vanished = length < 0 && errno == ESRCH;
    close(file);
    if (vanished) {
        return gone;
    }
    const std::string_view stat(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::size_t nameEnd = stat.rfind(')'); // the name may contain any character
    return nameEnd != std::string_view::npos && nameEnd + 2 < stat.size() ? stat[nameEnd + 2] : unreadable;
}

bool isEndedState(char state) {
    return state == gone || state == 'Z' || state == 'X';
}

bool isShownRunning(std::uint32_t process) noexcept {
    const char state = stateOf(process);
    return !isEndedState(state) && state != unreadable;
}

std::string programOf(const std::string& folder) {
    constexpr std::string_view deleted = " (deleted)"; // follows the name of a program whose file was removed
    std::string program = readLink(folder + "/exe");
    if (program.ends_with(deleted)) {
        program.resize(program.size() - deleted.size());
    }
    if (program.empty()) {
        // Another user's process: its command line is readable to all.
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

// Candidate paths of the program, in order: the current directory, then PATH.
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

// Everything that the child needs, prepared before fork(): the child must not allocate.
struct Launch {
    std::vector<std::string> paths;
    std::vector<std::string> arguments;
    std::vector<char*> argumentPointers;
    int report = -1; // receives the failure
};

// Runs in the child, where only plain system calls are safe.
[[noreturn]] void becomeProgram(const Launch& launch) {
    setsid();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    constexpr int kept = 3; // the first one past the standard ones
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

// Whether the program was started, which closes the other end of the pipe. A failed read does not say.
bool reportsStart(int pipeEnd) {
    char failure = 0;
    ssize_t count = 0;
    do {
        count = read(pipeEnd, &failure, 1);
    } while (count < 0 && errno == EINTR);
    return count == 0;
}

// Waits for a child that is in no list yet.
void endChild(pid_t child) {
    kill(child, SIGKILL);
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        // Interrupted by a signal.
    }
}

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

} // namespace

bool collectProcess(const StartedProcess& process) noexcept {
    return waitpid(static_cast<pid_t>(process.id), nullptr, WNOHANG) != 0;
}

bool killProcess(const StartedProcess& process) noexcept {
    return kill(static_cast<pid_t>(process.id), SIGKILL) == 0;
}

bool strangerHasEnded(std::uint32_t id) noexcept {
    return isEndedState(stateOf(id));
}

bool killStranger(std::uint32_t id) noexcept {
    // A larger number would address a process group.
    return id <= static_cast<std::uint32_t>(INT_MAX) && isShownRunning(id) && killProcess({id, 0, false});
}

bool nativeEnvironment::listProcesses(std::vector<Process>& processes) {
    startedProcesses().collectEnded();
    const std::unique_ptr<DIR, FolderCloser> folder(opendir("/proc"));
    if (folder == nullptr) {
        return false;
    }
    while (const dirent* entry = readdir(folder.get())) {
        const std::string name(entry->d_name);
        if (name.find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        const auto process = uString::toNumber<std::uint32_t>(name);
        if (isShownRunning(process)) {
            processes.push_back({process, programOf("/proc/" + name)});
        }
    }
    return true;
}

std::uint32_t uEnvironment::startProcess(const char* imageName, const char* arguments, int) {
    startedProcesses().collectEnded();
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
    StartedProcesses::Entry entry = StartedProcesses::prepare();

    // The pipe's writing end closes when the program starts; until then a byte in it reports the failure. From here on
    // nothing is allocated: a failure would lose the child.
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
    const bool started = child > 0 && reportsStart(report[0]);
    close(report[0]);
    if (!started) {
        if (child > 0) {
            endChild(child);
        }
        return 0;
    }
    startedProcesses().add(entry, {static_cast<std::uint32_t>(child), 0, false});
    return static_cast<std::uint32_t>(child);
}

} // namespace VX_QRS
