#include "host/commands/Conclusion.h"

#include "diagnosis/Diagnosis.h"
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

toolkit::ExitCode concluded(SessionResult& result, const std::function<void()>& work,
                            const std::function<std::string()>& output) {
    try {
        work();
    } catch (const toolkit::Failure& failure) {
        result.fail(failure);
    } catch (const std::exception& error) {
        result.fail(toolkit::Failure(toolkit::ExitCode::Failed, error.what()));
    }
    toolkit::printText(output());
    std::cout << std::flush;
    for (const std::string& note : result.notes) {
        toolkit::printNotice(note);
    }
    for (const std::string& trouble : result.troubles) {
        toolkit::printNotice(trouble + "; it was left out");
    }
    if (result.code != toolkit::ExitCode::Done) {
        toolkit::printFailure(result.code, result.failure, result.file("log"), result.doctorTakes);
    }
    return result.code;
}

} // namespace host
