#include "tests/road/Shell.h"

#include <cstdlib>

#include <sys/wait.h>

namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    result += "'";
    return result;
}

} // namespace

int runProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors) {
    std::string line = quoted(program.string());
    for (const std::string& argument : arguments)
        line.append(" ").append(quoted(argument));
    line.append(" </dev/null >").append(quoted(output.string()));
    line.append(" 2>").append(quoted(errors.string()));
    const int status = std::system(line.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
