#include "host/platform/Platform.h"

#include "host/platform/InterruptAnswer.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"

#include <windows.h>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <limits>

namespace host {

namespace {

std::atomic<bool> interruptSeen{false};

void say(DWORD stream, const char* text, std::size_t length) {
    DWORD written = 0;
    WriteFile(GetStdHandle(stream), text, static_cast<DWORD>(length), &written, nullptr);
}

/// The console has echoed the key in the middle of its line: begin a new one.
void answer() {
    const bool errorsOnConsole = errorOutputIsTerminal();
    if (!errorsOnConsole && _isatty(_fileno(stdout)) != 0) {
        say(STD_OUTPUT_HANDLE, "\r\n", 2);
    }
    std::array<char, longestInterruptLine> line{};
    say(STD_ERROR_HANDLE, line.data(), interruptLine(line.data(), line.size(), errorsOnConsole));
}

BOOL WINAPI onInterrupt(DWORD event) {
    const bool again = interruptSeen.exchange(true);
    if (!again) {
        answer();
    }
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
        // The system ends the process when this returns, and some seconds later in any case. Until then the recording
        // can be stopped and saved; the end of the program ends this thread.
        Sleep(INFINITE);
    }
    if (!again) {
        return TRUE;
    }
    say(STD_ERROR_HANDLE, endedAtOnce, sizeof endedAtOnce - 1);
    return FALSE;
}

std::size_t columnsOf(DWORD stream, std::size_t otherwise) {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(GetStdHandle(stream), &info) == 0) {
        return otherwise;
    }
    const int columns = info.srWindow.Right - info.srWindow.Left + 1;
    return columns > 0 ? static_cast<std::size_t>(columns) : otherwise;
}

} // namespace

void setEnvironment(const char* name, const std::string& value) {
    // The C runtime keeps a copy of its own, which _putenv_s changes together with the process's.
    _putenv_s(name, value.c_str());
    SetEnvironmentVariableA(name, value.empty() ? nullptr : value.c_str());
}

std::string getEnvironment(const char* name) {
    // Wine's narrow call counts letters where bytes are meant, and cuts off the end.
    std::wstring value(32768, L'\0');
    const DWORD length =
        GetEnvironmentVariableW(toolkit::filePath(name).c_str(), value.data(), static_cast<DWORD>(value.size()));
    value.resize(length < value.size() ? length : 0);
    return std::filesystem::path(value).string();
}

std::filesystem::path programFolder() {
    std::array<wchar_t, 4096> text{};
    const DWORD length = GetModuleFileNameW(nullptr, text.data(), static_cast<DWORD>(text.size()));
    if (length == 0 || length >= text.size()) {
        throw toolkit::Failure(toolkit::ExitCode::Failed, "the system does not tell where this program lies");
    }
    return std::filesystem::path(text.data()).parent_path();
}

std::string libraryFileName(const std::string& name) {
    return name + ".dll";
}

unsigned processId() {
    return GetCurrentProcessId();
}

bool errorOutputIsTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

Utf8Console::Utf8Console() {
    // The console is shared with whatever started this program, and its code page outlives it.
    const UINT current = GetConsoleOutputCP();
    if (current != 0 && current != CP_UTF8 && SetConsoleOutputCP(CP_UTF8) != FALSE) {
        before = current;
    }
}

Utf8Console::~Utf8Console() {
    if (before != 0) {
        SetConsoleOutputCP(before);
    }
}

std::size_t errorOutputColumns() {
    return columnsOf(STD_ERROR_HANDLE, usualColumns);
}

std::size_t outputColumns() {
    return columnsOf(STD_OUTPUT_HANDLE, std::numeric_limits<std::size_t>::max());
}

bool outputTakesColour() {
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) != FALSE &&
           SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

void readInputAsBytes() {
    _setmode(_fileno(stdin), _O_BINARY);
}

void writeOutputAsBytes() {
    _setmode(_fileno(stdout), _O_BINARY);
}

void watchInterrupts() {
    SetConsoleCtrlHandler(onInterrupt, TRUE);
}

bool interrupted() {
    return interruptSeen.load();
}

const char* systemName() {
    return "Windows";
}

std::string systemVersion() {
    // The documented calls return the version that the program's manifest names; this one returns the system's.
    using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
    const FARPROC found = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion");
    OSVERSIONINFOW answer{};
    answer.dwOSVersionInfoSize = sizeof answer;
    if (found == nullptr || reinterpret_cast<GetVersion>(reinterpret_cast<void*>(found))(&answer) != 0) {
        return {};
    }
    return std::to_string(answer.dwMajorVersion) + "." + std::to_string(answer.dwMinorVersion) + "." +
           std::to_string(answer.dwBuildNumber);
}

LoadedLibrary::LoadedLibrary(const std::filesystem::path& file) : path(file) {
    // Also searches the library's own folder for its siblings.
    handle = LoadLibraryExW(file.c_str(), nullptr, file.is_absolute() ? LOAD_WITH_ALTERED_SEARCH_PATH : 0);
    if (handle == nullptr) {
        throw toolkit::Failure(toolkit::ExitCode::NoSystem,
                               "cannot load " + file.string() + ": error " + std::to_string(GetLastError()));
    }
}

LoadedLibrary::~LoadedLibrary() {
    FreeLibrary(static_cast<HMODULE>(handle));
}

LoadedLibrary::AnyFunction LoadedLibrary::address(const char* name) const {
    const FARPROC found = GetProcAddress(static_cast<HMODULE>(handle), name);
    if (found == nullptr) {
        throw toolkit::Failure(toolkit::ExitCode::NoSystem, path.string() + " does not export " + name);
    }
    return reinterpret_cast<AnyFunction>(reinterpret_cast<void*>(found));
}

} // namespace host
