#pragma once

#include "host/scenario/ScenarioFile.h"

#include <filesystem>
#include <string>

namespace host {

/// A scenario by name or file that the bench can use: the data server beside this program looks through it before
/// anything is started, since it alone knows every key. Throws Failure (BadInput) with the server's own line. Without a
/// data server nothing is looked at; the run will tell that it is missing.
Scenario soundScenario(const std::string& nameOrFile, const std::filesystem::path& programs);

} // namespace host
