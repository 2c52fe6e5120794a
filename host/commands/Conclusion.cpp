#include "host/commands/Conclusion.h"

#include "diagnosis/Diagnosis.h"
#include "host/commands/Command.h"
#include "host/commands/TerminalText.h"
#include "host/results/ResultText.h"
#include "toolkit/FilePath.h"
#include "toolkit/Masked.h"
#include "toolkit/Remedy.h"

#include <array>
#include <ctime>
#include <iostream>

namespace host {

diagnosis::PageOrigin pageOrigin() {
    const std::time_t now = std::time(nullptr);
    const std::tm* const utc = std::gmtime(&now);
    std::array<char, 64> made{};
    if (utc != nullptr) {
        std::strftime(made.data(), made.size(), "%Y-%m-%d %H:%M UTC", utc);
    }
    return {"orvtrace " + programVersion(), made.data()};
}

void leaveReport(const Session& session, RecordResult& result) {
    const auto file = session.runFolder() / toolkit::filePath(session.fileStem().filename().string() + ".report.html");
    const diagnosis::ReportOptions options{true, std::nullopt, pageOrigin()};
    try {
        const auto written = diagnosis::writeReport(session.fileStem(), file, options).file;
        result.files.push_back({"report", "report", written.string()});
    } catch (const toolkit::Failure& failure) {
        if (failure.code != toolkit::ExitCode::BadInput) {
            throw;
        }
    }
}

namespace {

/// The files of the run, as `orvtrace doctor` reads them later; nothing of a run that left none.
std::optional<diagnosis::DiagnosticSet> filesOf(const SessionResult& result) {
    try {
        if (!result.doctorTakes.empty()) {
            return diagnosis::readDiagnostics(toolkit::filePath(result.doctorTakes));
        }
    } catch (const toolkit::Failure&) {
        // The run ended before its calibration left anything.
    }
    return std::nullopt;
}

diagnosis::RunVerdict verdictOn(const SessionResult& result) {
    diagnosis::DiagnosticSet set = result.set.value_or(diagnosis::DiagnosticSet());
    if (!set.checks) {
        // The run ended before it wrote them.
        set.checks = result.checks;
        set.checks->code = result.code;
        set.checks->failure = result.failure;
        set.names = result.names;
    }
    return diagnosis::judgeRun(set, diagnosis::diagnose(set));
}

} // namespace

void printVerdict(const diagnosis::RunVerdict& verdict) {
    printResult(toolkit::masked(diagnosis::verdictLine(verdict)) + "\n");
}

toolkit::ExitCode concluded(SessionResult& result, const Ending& ending, const std::function<void()>& work,
                            const std::function<std::string()>& output) {
    try {
        work();
    } catch (const toolkit::Failure& failure) {
        result.fail(failure);
    } catch (const std::exception& error) {
        result.fail(toolkit::Failure(toolkit::ExitCode::Failed, error.what()));
    }
    result.set = filesOf(result);
    result.verdict = verdictOn(result);
    result.code = diagnosis::exitCodeOf(*result.verdict, result.code, ending.strict);
    if (ending.json) {
        toolkit::printText(output());
    } else {
        printResult(output());
    }
    std::cout << std::flush;
    for (const std::string& note : result.notes) {
        toolkit::printNotice(note);
    }
    for (const std::string& trouble : result.troubles) {
        toolkit::printNotice(trouble + "; it was left out");
    }
    if (!result.failure.empty()) {
        toolkit::printFailure(result.code, result.failure, result.file("log"), result.doctorTakes);
    }
    // A run that ended before it measured anything has only its failure.
    if (!ending.json && !result.doctorTakes.empty()) {
        printVerdict(*result.verdict);
    }
    return result.code;
}

} // namespace host
