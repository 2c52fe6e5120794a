#include "host/platform/Platform.h"

#include <csignal>
#include <cstdlib>

#include <dlfcn.h>
#include <sys/ioctl.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "host/basics/ExitCode.h"

namespace host {

namespace {

volatile std::sig_atomic_t interruptSeen = 0;

// Nothing but what may be called at any moment.
extern "C" void onInterrupt(int number) {
    if (interruptSeen != 0) {
        [[maybe_unused]] const ssize_t told = write(STDERR_FILENO, endedAtOnce, sizeof endedAtOnce - 1);
        signal(number, SIG_DFL);
        raise(number);
    }
    interruptSeen = 1;
}

} // namespace

void setEnvironment(const char* name, const std::string& value) {
    if (value.empty())
        unsetenv(name);
    else
        setenv(name, value.c_str(), 1);
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
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : usualColumns;
}

void watchInterrupts() {
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
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
        throw Failure(ExitCode::NoSystem, "cannot load " + file.string() + ": " + (reason != nullptr ? reason : ""));
    }
}

LoadedLibrary::~LoadedLibrary() {
    dlclose(handle);
}

LoadedLibrary::AnyFunction LoadedLibrary::address(const char* name) const {
    void* found = dlsym(handle, name);
    if (found == nullptr)
        throw Failure(ExitCode::NoSystem, path.string() + " does not export " + name);
    return reinterpret_cast<AnyFunction>(found);
}

} // namespace host
