#pragma once

#include "diagnosis/doctor/Diagnosis.h"

#include <filesystem>
#include <optional>
#include <string>

namespace diagnosis {

/// What the page says of its own making; empty texts are left out.
struct PageOrigin {
    std::string program; ///< "orvtrace 1.2.0"
    std::string made;    ///< date and time
};

/// The page: one HTML file that needs no other, the same for the same files and origin.
std::string reportPage(const DiagnosticSet& set, const Diagnosis& diagnosis, const PageOrigin& origin = {});

/// A report that was written.
struct ReportResult {
    std::filesystem::path file;
    DiagnosticSet set;
    Diagnosis diagnosis;
};

/// The default file of a report: STEM.report.html beside the files, or NAME.report.html in `place` when that is a
/// folder.
std::filesystem::path usualReportFile(const std::filesystem::path& place, const DiagnosticSet& set);

struct ReportOptions {
    bool force = false;                        ///< replaces any file; otherwise only an earlier page
    std::optional<toolkit::LaneNames> names{}; ///< of the pins, instead of those that the run was given
    PageOrigin origin{};
};

/// Reads the diagnostic files at `place` (see readDiagnostics) and writes their report to `file`; empty for the default. An
/// earlier page there is renewed. Throws Failure: BadInput when there is nothing to read, OutputExists for a file that is
/// no page unless `force`, OutputUnwritable. Files that are damaged are left out and named in the page and in the result.
ReportResult writeReport(const std::filesystem::path& place, const std::filesystem::path& file,
                         const ReportOptions& options = {});

} // namespace diagnosis
