#pragma once

#include <map>
#include <string>

namespace simulation {

/// What the libraries of this process export, by library and symbol. A library that is not here is missing.
using Exports = std::map<std::string, std::map<std::string, void*>>;
void install(Exports exports);
/// Loads without an unload in the schedule.
int librariesLeft();
void forgetLibraries();

} // namespace simulation
