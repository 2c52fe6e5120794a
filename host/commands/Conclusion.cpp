#include "host/commands/Conclusion.h"

#include "diagnosis/Diagnosis.h"
#include "host/results/ResultText.h"
#include "toolkit/FilePath.h"
#include "toolkit/Masked.h"
#include "toolkit/Remedy.h"

#include <iostream>

namespace host {

namespace {

/// Empty when the receiver has left none.
std::string logOf(const SessionResult& result) {
    for (const auto& [what, where] : result.files) {
        if (what == "log") {
            return where;
        }
    }
    return {};
}

} // namespace

void printTroubles(const SessionResult& result, toolkit::ExitCode code, const std::string& failure) {
    for (const std::string& note : result.notes) {
        toolkit::printNotice(note);
    }
    for (const std::string& trouble : result.troubles) {
        toolkit::printNotice(trouble + "; it was left out");
    }
    if (code != toolkit::ExitCode::Done) {
        toolkit::printFailure(code, failure, logOf(result), result.doctorTakes);
    }
}

void leaveReport(const Session& session, RecordResult& result) {
    const auto file = session.runFolder() / toolkit::filePath(session.fileStem().filename().string() + ".report.html");
    try {
        result.files.emplace_back("report", diagnosis::writeReport(session.fileStem(), file, true).file.string());
    } catch (const toolkit::Failure& failure) {
        if (failure.code != toolkit::ExitCode::BadInput) {
            throw;
        }
    }
}

toolkit::ExitCode concluded(RecordResult& result, const std::function<void()>& work, bool json,
                            const std::function<std::string(const RecordResult&)>& text) {
    try {
        work();
    } catch (const toolkit::Failure& failure) {
        result.code = failure.code;
        result.failure = failure.what();
        result.where = failure.where;
    } catch (const std::exception& error) {
        result.code = toolkit::ExitCode::Failed;
        result.failure = error.what();
    }
    if (json) {
        std::cout << resultJson(result) << std::flush;
    } else if (result.calibrated || !result.recordings.empty() || !result.log.frequencies.empty()) {
        toolkit::printText(text(result));
    }
    std::cout << std::flush;
    printTroubles(result, result.code, result.failure);
    return result.code;
}

} // namespace host
