#pragma once

#include "diagnosis/doctor/Diagnosis.h"

#include <filesystem>
#include <string>

namespace diagnosis {

/// The page: one HTML file that needs no other, the same for the same files.
std::string reportPage(const DiagnosticSet& set, const Diagnosis& diagnosis);

/// A report that was written.
struct ReportResult {
    std::filesystem::path file;
    DiagnosticSet set;
    Diagnosis diagnosis;
};

/// The default file of a report: STEM.report.html beside the files, or NAME.report.html in `place` when that is a
/// folder.
std::filesystem::path usualReportFile(const std::filesystem::path& place, const DiagnosticSet& set);

/// Reads the diagnostic files at `place` (see readDiagnostics) and writes their report to `file`; empty for the default. Throws Failure: BadInput when there is nothing to read, OutputExists unless `force`, OutputUnwritable. Files
/// that are damaged are left out and named in the page and in the result.
ReportResult writeReport(const std::filesystem::path& place, const std::filesystem::path& file, bool force);

} // namespace diagnosis
