#pragma once

#include "common/source/source_utilities/DirectoriesAlong.h"

#include <cstdint>
#include <string>
#include <vector>

/// Platform layer of uEnvironment.
namespace VX_QRS::nativeEnvironment {

/// Empty when the variable is not set.
std::string getVariable(const char* name);
void setVariable(const char* name, const char* value);

/// The directory that holds the user's files; empty when the environment does not define it.
std::string profileDirectory();

bool getCurrentDirectory(std::string& directory);
bool changeDirectory(const char* directory);

/// True when the directory exists afterwards.
bool makeDirectory(const char* path);

struct Process {
    std::uint32_t id;
    std::string program; // file name, with or without its path
};

/// All running processes, in the system's order; false when the system does not report them.
bool listProcesses(std::vector<Process>& processes);

extern const char separator;
extern const char otherSeparator; // normalised to the separator
extern const PathRules pathRules; // the system's own separators

} // namespace VX_QRS::nativeEnvironment
