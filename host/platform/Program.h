#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// How a program ended.
struct ProgramEnd {
    int code = 0;       ///< its exit status; -1 when it did not end by itself
    std::string errors; ///< what it said on its standard error output
};

/// Runs a program to its end, with nothing to read; its standard output is dropped. Nothing when it cannot be started.
std::optional<ProgramEnd> runProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments);

} // namespace host
