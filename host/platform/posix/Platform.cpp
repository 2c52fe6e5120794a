#include "host/platform/Platform.h"

#include "host/platform/InterruptAnswer.h"
#include "toolkit/ExitCode.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <limits>
#include <sys/ioctl.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace host {

namespace {

volatile std::sig_atomic_t interruptSeen = 0;
bool errorsOnTerminal = false;
bool onlyOutputOnTerminal = false;

// Below, only functions that are safe in a signal handler.

void say(int stream, const char* text, std::size_t length) {
    [[maybe_unused]] const ssize_t told = write(stream, text, length);
}

/// The terminal has echoed the key in the middle of its line: begin a new one.
void answer() {
    if (onlyOutputOnTerminal) {
        say(STDOUT_FILENO, "\n", 1);
    }
    char line[longestInterruptLine];
    say(STDERR_FILENO, line, interruptLine(line, sizeof line, errorsOnTerminal));
}

extern "C" void onInterrupt(int number) {
    const int errorBefore = errno;
    const bool again = interruptSeen != 0;
    interruptSeen = 1;
    if (!again) {
        answer();
    }
    // A terminal that closes may send its signal twice, by the system and by the shell: that is no second request.
    if (again && number != SIGHUP) {
        say(STDERR_FILENO, endedAtOnce, sizeof endedAtOnce - 1);
        signal(number, SIG_DFL);
        raise(number);
    }
    errno = errorBefore;
}

/// As by nohup: the program shall outlive the terminal.
bool isIgnored(int number) {
    struct sigaction before{};
    return sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
}

std::size_t columnsOf(int stream, std::size_t otherwise) {
    winsize size{};
    return ioctl(stream, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : otherwise;
}

} // namespace

void setEnvironment(const char* name, const std::string& value) {
    if (value.empty()) {
        unsetenv(name);
    } else {
        setenv(name, value.c_str(), 1);
    }
}

std::string getEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::filesystem::path programFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::string libraryFileName(const std::string& name) {
    return name + ".so";
}

unsigned processId() {
    return static_cast<unsigned>(getpid());
}

bool errorOutputIsTerminal() {
    return isatty(STDERR_FILENO) != 0;
}

Utf8Console::Utf8Console() = default;

Utf8Console::~Utf8Console() = default;

std::size_t errorOutputColumns() {
    return columnsOf(STDERR_FILENO, usualColumns);
}

std::size_t outputColumns() {
    return columnsOf(STDOUT_FILENO, std::numeric_limits<std::size_t>::max());
}

bool outputTakesColour() {
    const std::string terminal = getEnvironment("TERM");
    return isatty(STDOUT_FILENO) != 0 && !terminal.empty() && terminal != "dumb";
}

void readInputAsBytes() {}

void writeOutputAsBytes() {}

void watchInterrupts() {
    struct sigaction action{};
    action.sa_handler = onInterrupt;
    action.sa_flags = SA_RESTART;
    errorsOnTerminal = isatty(STDERR_FILENO) != 0;
    onlyOutputOnTerminal = !errorsOnTerminal && isatty(STDOUT_FILENO) != 0;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    if (!isIgnored(SIGHUP)) {
        sigaction(SIGHUP, &action, nullptr);
    }
}

bool interrupted() {
    return interruptSeen != 0;
}

const char* systemName() {
    return "Linux";
}

std::string systemVersion() {
    utsname answer{};
    return uname(&answer) == 0 ? answer.release : "";
}

LoadedLibrary::LoadedLibrary(const std::filesystem::path& file) : path(file) {
    handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* reason = dlerror();
        throw toolkit::Failure(toolkit::ExitCode::NoSystem,
                               "cannot load " + file.string() + ": " + (reason != nullptr ? reason : ""));
    }
}

LoadedLibrary::~LoadedLibrary() {
    dlclose(handle);
}

LoadedLibrary::AnyFunction LoadedLibrary::address(const char* name) const {
    void* found = dlsym(handle, name);
    if (found == nullptr) {
        throw toolkit::Failure(toolkit::ExitCode::NoSystem, path.string() + " does not export " + name);
    }
    return reinterpret_cast<AnyFunction>(found);
}

} // namespace host
