#pragma once

#include "diagnosis/doctor/Diagnosis.h"
#include "diagnosis/report/Report.h"
#include "diagnosis/verdict/RunVerdict.h"

#include <string>

// The parts of the report's page, as markup, in their order.

namespace diagnosis::page {

std::string headSection(const DiagnosticSet& set, const Diagnosis& diagnosis, const RunVerdict& verdict);
std::string conclusionSection(const DiagnosticSet& set, const Diagnosis& diagnosis, const RunVerdict& verdict);
std::string overviewSection(const DiagnosticSet& set, const Diagnosis& diagnosis);
/// Of an attempt, or of what was measured outside of the attempts.
std::string attemptSection(const DiagnosticSet& set, const FileGroup& attempt, const Verdict& verdict);
/// Whether the attempt has a burst of its pins. With given values the receiver leaves one without a clock.
bool showsPins(const DiagnosticSet& set, const FileGroup& attempt);
/// The pins of an attempt; empty without a calibration report.
std::string laneTable(const DiagnosticSet& set, const FileGroup& attempt);
/// Empty when no margin failed during a recording.
std::string lostMarginSection(const DiagnosticSet& set);
std::string registerSection(const DiagnosticSet& set);
std::string propertySection(const DiagnosticSet& set);
std::string fileSection(const DiagnosticSet& set);
/// The verdict once more, and where the page comes from.
std::string footerSection(const DiagnosticSet& set, const RunVerdict& verdict, const PageOrigin& origin);

/// "accepted", "refused" or "unknown", as a badge.
std::string verdictBadge(const Verdict& verdict);
/// The receiver's words and the reason.
std::string verdictText(const Verdict& verdict);

} // namespace diagnosis::page
