#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Runs a program to its end with its two outputs going into files; its exit code. Blanks in arguments are kept.
int runProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors);
