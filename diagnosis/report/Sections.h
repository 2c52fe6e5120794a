#pragma once

#include "diagnosis/doctor/Diagnosis.h"

#include <string>

// The parts of the report's page, as markup, in the order in which they stand.

namespace diagnosis::page {

std::string headSection(const DiagnosticSet& set, const Diagnosis& diagnosis);
std::string conclusionSection(const DiagnosticSet& set, const Diagnosis& diagnosis);
std::string overviewSection(const DiagnosticSet& set, const Diagnosis& diagnosis);
/// Of the attempt with that index, or of what stands beside the attempts.
std::string attemptSection(const DiagnosticSet& set, const FileGroup& attempt, const Verdict& verdict);
/// Empty when no margin failed during a recording.
std::string lostMarginSection(const DiagnosticSet& set);
std::string registerSection(const DiagnosticSet& set);
std::string propertySection(const DiagnosticSet& set);
std::string fileSection(const DiagnosticSet& set);

/// "accepted", "refused" or "not told", as a badge.
std::string verdictBadge(const Verdict& verdict);

} // namespace diagnosis::page
