#pragma once

#include "host/results/RecordResult.h"
#include "host/session/Session.h"

#include <functional>
#include <string>

namespace host {

/// What goes to the standard error output behind a result: the diagnostic files that were left out, and the failure.
void printTroubles(const SessionResult& result, toolkit::ExitCode code, const std::string& failure);

/// Runs the work that fills a result and prints what became of it: with `json` an object in any case, otherwise the
/// text, as soon as there is a calibration to tell of. A failure goes to the standard error output behind that.
toolkit::ExitCode concluded(RecordResult& result, const std::function<void()>& work, bool json,
                            const std::function<std::string(const RecordResult&)>& text);

/// Leaves the page about the calibration in the run's folder and names it in the result. A calibration that left no
/// files has none.
void leaveReport(const Session& session, RecordResult& result);

} // namespace host
