#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "host/files/ChannelSettingsFile.h"

namespace host {

/// What the host needs to know of a scenario of the bench. The bench itself reads the rest.
struct Scenario {
    std::filesystem::path file; ///< absolute
    std::string name;
    std::string about;
    std::string cpu;
    ChannelSettings settings;
    std::vector<std::string> traits; ///< what is particular about target, wiring, unit and server, in sentences
    std::map<std::string, std::string> environment; ///< variables of the run, by name
    std::map<std::string, std::string> expect;      ///< what its author says will come of it
};

/// Throws Failure (BadInput) for a file that is missing or damaged.
Scenario readScenario(const std::filesystem::path& file);

/// A scenario by its name in the folder, or by the path of its file. An unknown name's failure lists the known ones.
Scenario findScenario(const std::string& nameOrPath, const std::filesystem::path& folder);

/// All scenarios of a folder, by name. Empty when there is no such folder.
std::vector<Scenario> listScenarios(const std::filesystem::path& folder);

} // namespace host
