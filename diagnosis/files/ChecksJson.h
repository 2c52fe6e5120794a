#pragma once

#include "diagnosis/files/ChecksFile.h"

#include <nlohmann/json_fwd.hpp>

namespace diagnosis {

/// One comparison with known words, as the commands print it and the file of checks holds it.
nlohmann::json wordCheckJson(const WordCheck& check);

/// The same for everything that was checked of a run.
nlohmann::json runChecksJson(const RunChecks& checks);

} // namespace diagnosis
