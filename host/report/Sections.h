#pragma once

#include <string>

#include "host/doctor/Diagnosis.h"

// The parts of the report's page, as markup, in the order in which they stand.

namespace host::page {

std::string headSection(const diagnostics::DiagnosticSet& set, const Diagnosis& diagnosis);
std::string conclusionSection(const diagnostics::DiagnosticSet& set, const Diagnosis& diagnosis);
std::string overviewSection(const diagnostics::DiagnosticSet& set, const Diagnosis& diagnosis);
/// Of the attempt with that index, or of what stands beside the attempts.
std::string attemptSection(const diagnostics::DiagnosticSet& set, const diagnostics::FileGroup& attempt,
                           const diagnostics::Verdict& verdict);
/// Empty when no margin failed during a recording.
std::string lostMarginSection(const diagnostics::DiagnosticSet& set);
std::string registerSection(const diagnostics::DiagnosticSet& set);
std::string propertySection(const diagnostics::DiagnosticSet& set);
std::string fileSection(const diagnostics::DiagnosticSet& set);

/// "accepted", "refused" or "not told", as a badge.
std::string verdictBadge(const diagnostics::Verdict& verdict);

} // namespace host::page
