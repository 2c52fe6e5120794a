#include "diagnosis/report/Report.h"

#include "diagnosis/burst/Markup.h"
#include "diagnosis/report/Sections.h"
#include "diagnosis/report/Style.h"
#include "toolkit/FilePath.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/TextFile.h"

#include <ostream>
#include <string_view>

namespace diagnosis {

namespace {

/// In the head of every page.
constexpr std::string_view pageMark = "<meta name=\"generator\" content=\"orvtrace\">";
constexpr std::size_t headBytes = 1024;

/// A page of this program, of any version.
bool isPage(const std::filesystem::path& file) {
    std::error_code failed;
    if (!std::filesystem::is_regular_file(file, failed)) {
        return false;
    }
    try {
        return toolkit::readText(file, 0, headBytes).find(pageMark) != std::string::npos;
    } catch (const toolkit::Failure&) {
        return false;
    }
}

/// All from the headline to the footer.
std::string bodyOf(const DiagnosticSet& set, const Diagnosis& diagnosis, const PageOrigin& origin) {
    using namespace page;
    const RunVerdict verdict = judgeRun(set, diagnosis);
    std::string body = headSection(set, diagnosis, verdict) + conclusionSection(set, diagnosis, verdict) +
                       overviewSection(set, diagnosis);
    // The setting that counts comes first.
    for (std::size_t i = set.attempts.size(); i > 0; --i) {
        body += attemptSection(set, set.attempts[i - 1], diagnosis.verdicts[i - 1]);
    }
    if (set.base.cal || set.base.burst) {
        body += attemptSection(set, set.base, judge(set, set.base));
    }
    return body + lostMarginSection(set) + registerSection(set) + propertySection(set) + fileSection(set) +
           footerSection(set, verdict, origin);
}

} // namespace

std::string reportPage(const DiagnosticSet& set, const Diagnosis& diagnosis, const PageOrigin& origin) {
    using namespace page;
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">" + std::string(pageMark) +
           "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">"
           "<meta name=\"color-scheme\" content=\"light dark\"><link rel=\"icon\" href=\"data:,\"><title>" +
           escaped(set.name) + ": " + escaped(diagnosis.headline) + "</title><style>" + styleSheet() +
           "</style></head><body><main>" + bodyOf(set, diagnosis, origin) + "</main></body></html>\n";
}

std::filesystem::path usualReportFile(const std::filesystem::path& place, const DiagnosticSet& set) {
    std::error_code failed;
    const std::filesystem::path folder = std::filesystem::is_directory(place, failed) ? place : set.folder;
    return folder / toolkit::filePath(set.name + ".report.html");
}

ReportResult writeReport(const std::filesystem::path& place, const std::filesystem::path& file,
                         const ReportOptions& options) {
    ReportResult result{file, readDiagnostics(place), {}};
    if (result.file.empty()) {
        result.file = usualReportFile(place, result.set);
    }
    if (options.names) {
        result.set.names = *options.names;
    }
    toolkit::CommandFiles files(options.force || isPage(result.file));
    for (const std::string& name : result.set.files) {
        files.read(result.set.folder / toolkit::filePath(name));
    }
    files.write(result.file);
    result.diagnosis = diagnose(result.set);
    const std::string text = reportPage(result.set, result.diagnosis, options.origin);
    toolkit::writeOutputFile(result.file, [&](std::ostream& out) { out << text; });
    return result;
}

} // namespace diagnosis
