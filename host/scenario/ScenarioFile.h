#pragma once

#include "host/scenario/ChannelSettingsFile.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

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

/// Throws Failure (NoSystem) when there is no such folder: the bench is a part of the product that can be left out.
void requireScenarios(const std::filesystem::path& folder);

/// The file, absolute, of a scenario that is given by its name in the folder or by the path of its file. Throws Failure
/// (BadInput) when there is none, and as requireScenarios(); of an unknown name it lists the known ones.
std::filesystem::path scenarioFile(const std::string& nameOrPath, const std::filesystem::path& folder);

/// All scenarios of a folder, by name. Empty when there is no such folder.
std::vector<Scenario> listScenarios(const std::filesystem::path& folder);

} // namespace host
