#include "common/source/source_utilities/NativeEnvironment.h"
#include "common/source/source_utilities/StartedProcesses.h"
#include "common/source/source_utilities/uEnvironment.h"

#include <windows.h>
#include <tlhelp32.h>

namespace VX_QRS {

namespace {

HANDLE native(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

// Closes a handle at the end of a scope.
class ScopedHandle {
public:
    explicit ScopedHandle(HANDLE closed) : handle(closed) {}
    ScopedHandle(const ScopedHandle&) = delete;
    ScopedHandle& operator=(const ScopedHandle&) = delete;
    ~ScopedHandle() { CloseHandle(handle); }

private:
    HANDLE handle;
};

} // namespace

bool collectProcess(const StartedProcess& process) noexcept {
    if (WaitForSingleObject(native(process.handle), 0) != WAIT_OBJECT_0) {
        return false;
    }
    CloseHandle(native(process.handle));
    return true;
}

bool killProcess(const StartedProcess& process) noexcept {
    return TerminateProcess(native(process.handle), 0) == 1;
}

bool killStranger(std::uint32_t id) noexcept {
    const HANDLE opened = OpenProcess(PROCESS_TERMINATE, FALSE, id);
    // Callers may pass a handle instead of an id.
    const HANDLE process = opened != nullptr ? opened : reinterpret_cast<HANDLE>(std::uintptr_t{id});
    const bool ended = TerminateProcess(process, 0) == 1;
    if (opened != nullptr) {
        CloseHandle(opened);
    }
    return ended;
}

bool strangerHasEnded(std::uint32_t id) noexcept {
    const HANDLE opened = OpenProcess(SYNCHRONIZE, FALSE, id);
    if (opened == nullptr) {
        return GetLastError() == ERROR_INVALID_PARAMETER; // there is no such process
    }
    const ScopedHandle closer(opened);
    return WaitForSingleObject(opened, 0) == WAIT_OBJECT_0;
}

bool nativeEnvironment::listProcesses(std::vector<Process>& processes) {
    startedProcesses().collectEnded();
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE) {
        return false;
    }
    const ScopedHandle closer(snapshot);
    PROCESSENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32First(snapshot, &entry); more != 0; more = Process32Next(snapshot, &entry)) {
        processes.push_back({entry.th32ProcessID, entry.szExeFile});
    }
    return true;
}

std::uint32_t uEnvironment::startProcess(const char* imageName, const char* arguments, int mode) {
    startedProcesses().collectEnded();
    if (imageName == nullptr) {
        return 0;
    }
    StartedProcesses::Entry entry = StartedProcesses::prepare();
    std::string commandLine = std::string(imageName) + " " + (arguments != nullptr ? arguments : "");
    STARTUPINFOA start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    const DWORD console = mode == detachedMode ? DETACHED_PROCESS : CREATE_NEW_CONSOLE;
    if (CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, console, nullptr, nullptr, &start,
                       &process) == 0) {
        return 0;
    }
    CloseHandle(process.hThread);
    // An open handle keeps the id from being reused; it is closed when the process has ended.
    startedProcesses().add(entry, {process.dwProcessId, reinterpret_cast<std::intptr_t>(process.hProcess), false});
    return process.dwProcessId;
}

} // namespace VX_QRS
