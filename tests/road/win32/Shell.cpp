#include "tests/road/Shell.h"

#include "toolkit/FilePath.h"

#include <windows.h>
#include <stdexcept>

struct RunningProgram::State {
    PROCESS_INFORMATION process{};
    bool waited = false;
};

namespace {

HANDLE openOutput(const std::filesystem::path& file) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    if (file.empty()) { // what can only be read fails as a full disk does
        return CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING, 0,
                           nullptr);
    }
    return CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, CREATE_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// A word of a command line that the program finds as it is.
std::wstring quoted(const std::wstring& word) {
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : word) {
        if (c == L'"') {
            text.append(backslashes + 1, L'\\');
        }
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, L'\\') + L"\"";
}

} // namespace

RunningProgram::RunningProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                               const std::filesystem::path& output, const std::filesystem::path& errors,
                               const std::filesystem::path& folder)
    : state(std::make_unique<State>()) {
    std::wstring line = quoted(program.wstring());
    for (const std::string& argument : arguments) {
        line += L" " + quoted(toolkit::filePath(argument).wstring());
    }
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = openOutput(output);
    start.hStdError = openOutput(errors);
    // A group of its own, so that an event for it does not reach this process too.
    BOOL started = FALSE;
    DWORD error = 0;
    // Under Wine a start fails now and then on a busy machine.
    for (int attempt = 0; attempt < 3 && started == FALSE; ++attempt) {
        Sleep(attempt == 0 ? 0 : 200);
        started = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP,
                                 nullptr, folder.empty() ? nullptr : folder.c_str(), &start, &state->process);
        error = started == FALSE ? GetLastError() : 0;
    }
    CloseHandle(start.hStdOutput);
    CloseHandle(start.hStdError);
    if (started == FALSE) {
        throw std::runtime_error("cannot start " + program.string() + ", error " + std::to_string(error));
    }
}

RunningProgram::~RunningProgram() {
    if (!state->waited) {
        end();
        wait();
    }
}

bool RunningProgram::canInterrupt() {
    // Wine refuses console events, with a terminal too.
    return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr;
}

bool RunningProgram::interrupt() {
    // A new process group ignores Ctrl-C itself; Ctrl-Break reaches the same handler.
    return GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, state->process.dwProcessId) != FALSE;
}

void RunningProgram::end() {
    TerminateProcess(state->process.hProcess, 1);
}

int RunningProgram::wait() {
    WaitForSingleObject(state->process.hProcess, INFINITE);
    DWORD ended = 0;
    GetExitCodeProcess(state->process.hProcess, &ended);
    CloseHandle(state->process.hProcess);
    CloseHandle(state->process.hThread);
    state->waited = true;
    return static_cast<int>(ended);
}
