#include "tests/road/Shell.h"

#include <windows.h>

namespace {

HANDLE openOutput(const std::filesystem::path& file) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, CREATE_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

int runProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors) {
    std::string line = "\"" + program.string() + "\"";
    for (const std::string& argument : arguments)
        line.append(" \"").append(argument).append("\"");
    STARTUPINFOA start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = openOutput(output);
    start.hStdError = openOutput(errors);
    PROCESS_INFORMATION process{};
    int code = -1;
    if (CreateProcessA(program.string().c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                       &process)) {
        WaitForSingleObject(process.hProcess, INFINITE);
        DWORD ended = 0;
        GetExitCodeProcess(process.hProcess, &ended);
        code = static_cast<int>(ended);
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
    }
    CloseHandle(start.hStdOutput);
    CloseHandle(start.hStdError);
    return code;
}
