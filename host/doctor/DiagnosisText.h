#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "host/doctor/Diagnosis.h"

namespace host {

/// A diagnosis for a person.
std::string diagnosisText(const diagnostics::DiagnosticSet& set, const Diagnosis& diagnosis);

/// The same for a script: "stem", "calibrated" (true, false or null), "headline", "attempts", "findings", "limits",
/// "damaged".
nlohmann::json diagnosisJson(const diagnostics::DiagnosticSet& set, const Diagnosis& diagnosis);

/// "nothing found", "2 faults found", "1 fault and 1 note".
std::string findingCount(const Diagnosis& diagnosis);

} // namespace host
