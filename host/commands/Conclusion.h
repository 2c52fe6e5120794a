#pragma once

#include "diagnosis/Diagnosis.h"
#include "host/results/RecordResult.h"
#include "host/session/Session.h"

#include <functional>
#include <string>

namespace host {

/// How a command ends.
struct Ending {
    bool json = false;
    bool strict = false; ///< a verdict other than sound is no success
};

/// Runs the work that fills a result, judges the run by the files that it left, then prints what `output` makes of it.
/// Remarks and a failure follow on the standard error output, the verdict last.
toolkit::ExitCode concluded(SessionResult& result, const Ending& ending, const std::function<void()>& work,
                            const std::function<std::string()>& output);

/// The verdict's line on the standard output, in colour where a terminal takes it.
void printVerdict(const diagnosis::RunVerdict& verdict);

/// This program and the time, for a page.
diagnosis::PageOrigin pageOrigin();

/// Writes the page about the calibration into the run's folder and names it in the result. A calibration that left no
/// files has none.
void leaveReport(const Session& session, RecordResult& result);

} // namespace host
