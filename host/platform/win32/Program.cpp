#include "host/platform/Program.h"

#include <windows.h>
#include <array>

namespace host {

namespace {

/// A handle of the system, closed with the object.
class Handle {
public:
    Handle() = default;
    explicit Handle(HANDLE taken) : handle(taken) {}
    ~Handle() { close(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HANDLE get() const { return handle; }
    HANDLE* place() { return &handle; }
    void close() {
        if (handle != nullptr && handle != INVALID_HANDLE_VALUE) {
            CloseHandle(handle);
        }
        handle = nullptr;
    }

private:
    HANDLE handle = nullptr;
};

std::string readAll(HANDLE from) {
    std::string text;
    std::array<char, 4096> block{};
    DWORD count = 0;
    while (ReadFile(from, block.data(), static_cast<DWORD>(block.size()), &count, nullptr) != 0 && count != 0) {
        text.append(block.data(), count);
    }
    return text;
}

} // namespace

std::optional<ProgramEnd> runProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    SECURITY_ATTRIBUTES inherited{};
    inherited.nLength = sizeof inherited;
    inherited.bInheritHandle = TRUE;
    Handle reading;
    Handle writing;
    if (CreatePipe(reading.place(), writing.place(), &inherited, 0) == 0) {
        return std::nullopt;
    }
    SetHandleInformation(reading.get(), HANDLE_FLAG_INHERIT, 0);
    const Handle nothing(CreateFileA("NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                     &inherited, OPEN_EXISTING, 0, nullptr));

    // Paths and options: none of them holds a quotation mark or ends in a backslash.
    std::string line = "\"" + program.string() + "\"";
    for (const std::string& argument : arguments) {
        line += " \"" + argument + "\"";
    }
    STARTUPINFOA start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = nothing.get();
    start.hStdOutput = nothing.get();
    start.hStdError = writing.get();
    PROCESS_INFORMATION made{};
    if (CreateProcessA(program.string().c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                       nullptr, &start, &made) == 0) {
        return std::nullopt;
    }
    const Handle process(made.hProcess);
    const Handle thread(made.hThread);

    writing.close();
    ProgramEnd end;
    end.errors = readAll(reading.get());
    WaitForSingleObject(process.get(), INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.get(), &code);
    end.code = static_cast<int>(code);
    return end;
}

} // namespace host
