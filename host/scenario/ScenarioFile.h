#pragma once

#include "host/scenario/ChannelSettingsFile.h"
#include "toolkit/LaneNames.h"

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace host {

/// The host's part of a scenario of the bench. The bench itself reads the rest.
struct Scenario {
    std::filesystem::path file; ///< absolute
    std::string name;
    std::string about;
    std::string cpu;
    ChannelSettings settings;
    toolkit::LaneNames names;                       ///< of the pins
    std::vector<std::string> traits;                ///< properties of target, wiring, unit and server, in sentences
    std::map<std::string, std::string> environment; ///< variables of the run, by name
    std::map<std::string, std::string> expect;      ///< the result that its author expects
};

/// Reads a scenario with the bench's own parser, which knows every key. Throws Failure (BadInput) for a file that is
/// missing or damaged.
Scenario readScenario(const std::filesystem::path& file);

/// Throws Failure (NoSystem) when there is no such folder: the bench is a part of the product that can be left out.
void requireScenarios(const std::filesystem::path& folder);

/// The file, absolute, of a scenario that is given by its name in the folder or by the path of its file. Throws Failure
/// (BadInput) when there is none, and as requireScenarios(); of an unknown name it lists the known ones.
std::filesystem::path scenarioFile(const std::string& nameOrPath, const std::filesystem::path& folder);

/// All scenarios of a folder, by name. Empty when there is no such folder.
std::vector<Scenario> listScenarios(const std::filesystem::path& folder);

/// Full names and notes of the devices in a device file of the bench. Empty without such a file, or if it cannot be
/// read.
std::vector<std::pair<std::string, std::string>> devicesOf(const std::filesystem::path& file);

} // namespace host
