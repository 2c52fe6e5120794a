#include "common/source/source_utilities/nativeEnvironment.h"
#include "common/source/source_utilities/uEnvironment.h"

#include <windows.h>

#include <tlhelp32.h>

namespace VX_QRS {

bool nativeEnvironment::listProcesses(std::vector<Process>& processes) {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE) {
        return false;
    }
    PROCESSENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32First(snapshot, &entry); more != 0; more = Process32Next(snapshot, &entry)) {
        processes.push_back({entry.th32ProcessID, entry.szExeFile});
    }
    CloseHandle(snapshot);
    return true;
}

std::uint32_t uEnvironment::startProcess(const char* imageName, const char* arguments, int mode) {
    if (imageName == nullptr) {
        return 0;
    }
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
    CloseHandle(process.hProcess);
    return process.dwProcessId;
}

bool uEnvironment::terminateProcess(std::uint32_t processId) {
    if (processId == 0) {
        return false;
    }
    const HANDLE opened = OpenProcess(PROCESS_TERMINATE, FALSE, processId);
    // A caller may hold a handle in place of an id.
    const HANDLE process = opened != nullptr ? opened : reinterpret_cast<HANDLE>(std::uintptr_t{processId});
    const bool ended = TerminateProcess(process, 0) == 1;
    if (opened != nullptr) {
        CloseHandle(opened);
    }
    return ended;
}

} // namespace VX_QRS
