#include "host/commands/Conclusion.h"

#include "diagnosis/Diagnosis.h"
#include "host/platform/Platform.h"
#include "host/results/ResultText.h"
#include "toolkit/FilePath.h"
#include "toolkit/Masked.h"
#include "toolkit/Remedy.h"

#include <iostream>

namespace host {

void leaveReport(const Session& session, RecordResult& result) {
    const auto file = session.runFolder() / toolkit::filePath(session.fileStem().filename().string() + ".report.html");
    constexpr bool overwrite = true;
    try {
        const auto written = diagnosis::writeReport(session.fileStem(), file, overwrite).file;
        result.files.push_back({"report", "report", written.string()});
    } catch (const toolkit::Failure& failure) {
        if (failure.code != toolkit::ExitCode::BadInput) {
            throw;
        }
    }
}

namespace {

/// The files of the run, as `orvtrace doctor` reads them later; nothing of a run that left none.
diagnosis::DiagnosticSet filesOf(const SessionResult& result) {
    try {
        if (!result.doctorTakes.empty()) {
            return diagnosis::readDiagnostics(toolkit::filePath(result.doctorTakes));
        }
    } catch (const toolkit::Failure&) {
        // The run ended before its calibration left anything.
    }
    return {};
}

diagnosis::RunVerdict verdictOn(const SessionResult& result) {
    diagnosis::DiagnosticSet set = filesOf(result);
    if (!set.checks) {
        // The run ended before it wrote them.
        set.checks = result.checks;
        set.checks->code = result.code;
        set.checks->failure = result.failure;
    }
    return diagnosis::judgeRun(set, diagnosis::diagnose(set));
}

const char* colourOf(diagnosis::RunVerdict::Kind kind) {
    switch (kind) {
    case diagnosis::RunVerdict::Kind::Sound:
        return "\x1b[32m";
    case diagnosis::RunVerdict::Kind::Fault:
        return "\x1b[31m";
    case diagnosis::RunVerdict::Kind::Thin:
    case diagnosis::RunVerdict::Kind::Unknown:
        break;
    }
    return "\x1b[33m";
}

} // namespace

void printVerdict(const diagnosis::RunVerdict& verdict) {
    const bool coloured = getEnvironment("NO_COLOR").empty() && outputTakesColour();
    // Only this program's own letters are not masked.
    if (coloured) {
        std::cout << colourOf(verdict.kind);
    }
    toolkit::printText(toolkit::masked(diagnosis::verdictLine(verdict)));
    std::cout << (coloured ? "\x1b[0m\n" : "\n") << std::flush;
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
    result.verdict = verdictOn(result);
    result.code = diagnosis::exitCodeOf(*result.verdict, result.code, ending.strict);
    toolkit::printText(output());
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
