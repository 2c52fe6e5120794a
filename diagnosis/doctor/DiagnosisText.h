#pragma once

#include "diagnosis/doctor/Diagnosis.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace diagnosis {

/// A diagnosis for a person.
std::string diagnosisText(const DiagnosticSet& set, const Diagnosis& diagnosis);

/// The same for a script: "stem", "calibrated" (true, false or null), "headline", "attempts", "findings", "limits",
/// "judged", "missing", "damaged".
nlohmann::json diagnosisJson(const DiagnosticSet& set, const Diagnosis& diagnosis);

/// "nothing found", "2 faults found", "1 fault and 1 note found"; "nothing found, but ..." when too little could be
/// checked.
std::string findingCount(const Diagnosis& diagnosis);

/// Why "nothing found" does not mean sound: what is missing to judge by. For a diagnosis that is not judged.
std::string whatIsMissing(const Diagnosis& diagnosis);

} // namespace diagnosis
