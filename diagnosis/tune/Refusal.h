#pragma once

#include "diagnosis/analysis/DiagnosticSet.h"

#include <string>

namespace diagnosis::tune {

/// Why the receiver's own method did not get to sound values at a rate, by the rule of it that stood in the way. `reason`
/// is the receiver's text about the attempt, empty if it kept the setting; the files show the rest.
std::string ruleInTheWay(const DiagnosticSet& set, const std::string& reason);

} // namespace diagnosis::tune
