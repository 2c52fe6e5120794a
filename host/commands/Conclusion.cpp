#include "host/commands/Conclusion.h"

#include <iostream>

#include "host/basics/FilePath.h"
#include "host/basics/Masked.h"
#include "host/basics/Remedy.h"
#include "host/report/Report.h"
#include "host/results/ResultText.h"

namespace host {

namespace {

/// Empty when the receiver has left none.
std::string logOf(const SessionResult& result) {
    for (const auto& [what, where] : result.files) {
        if (what == "log")
            return where;
    }
    return {};
}

} // namespace

void printTroubles(const SessionResult& result, ExitCode code, const std::string& failure) {
    for (const std::string& note : result.notes)
        printNotice(note);
    for (const std::string& trouble : result.troubles)
        printNotice(trouble + "; it was left out");
    if (code != ExitCode::Done)
        printFailure(code, failure, logOf(result), result.doctorTakes);
}

void leaveReport(const Session& session, RecordResult& result) {
    const auto file = session.runFolder() / filePath(session.fileStem().filename().string() + ".report.html");
    try {
        result.files.emplace_back("report", writeReport(session.fileStem(), file, true).file.string());
    } catch (const Failure& failure) {
        if (failure.code != ExitCode::BadInput)
            throw;
    }
}

ExitCode concluded(RecordResult& result, const std::function<void()>& work, bool json,
                   const std::function<std::string(const RecordResult&)>& text) {
    try {
        work();
    } catch (const Failure& failure) {
        result.code = failure.code;
        result.failure = failure.what();
        result.where = failure.where;
    } catch (const std::exception& error) {
        result.code = ExitCode::Failed;
        result.failure = error.what();
    }
    if (json)
        std::cout << resultJson(result) << std::flush;
    else if (result.calibrated || !result.recordings.empty() || !result.log.frequencies.empty())
        printText(text(result));
    std::cout << std::flush;
    printTroubles(result, result.code, result.failure);
    return result.code;
}

} // namespace host
