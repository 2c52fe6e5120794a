#include "diagnosis/report/Report.h"

#include "diagnosis/burst/Markup.h"
#include "diagnosis/report/Sections.h"
#include "diagnosis/report/Style.h"
#include "toolkit/FilePath.h"
#include "toolkit/OutputFiles.h"

#include <ostream>

namespace diagnosis {

std::string reportPage(const DiagnosticSet& set, const Diagnosis& diagnosis) {
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
    body += lostMarginSection(set) + registerSection(set) + propertySection(set) + fileSection(set);
    body += element("footer", "", "Made by orvtrace from the diagnostic files alone.");
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
           "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">"
           "<meta name=\"color-scheme\" content=\"light dark\"><link rel=\"icon\" href=\"data:,\"><title>" +
           escaped(set.name) + ": " + escaped(diagnosis.headline) + "</title><style>" + styleSheet() +
           "</style></head><body><main>" + body + "</main></body></html>\n";
}

std::filesystem::path usualReportFile(const std::filesystem::path& place, const DiagnosticSet& set) {
    std::error_code failed;
    const std::filesystem::path folder = std::filesystem::is_directory(place, failed) ? place : set.folder;
    return folder / toolkit::filePath(set.name + ".report.html");
}

ReportResult writeReport(const std::filesystem::path& place, const std::filesystem::path& file, bool force) {
    ReportResult result{file, readDiagnostics(place), {}};
    if (result.file.empty()) {
        result.file = usualReportFile(place, result.set);
    }
    toolkit::CommandFiles files(force);
    for (const std::string& name : result.set.files) {
        files.read(result.set.folder / toolkit::filePath(name));
    }
    files.write(result.file);
    result.diagnosis = diagnose(result.set);
    const std::string text = reportPage(result.set, result.diagnosis);
    toolkit::writeOutputFile(result.file, [&](std::ostream& out) { out << text; });
    return result;
}

} // namespace diagnosis
