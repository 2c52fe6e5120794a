#pragma once

#include "host/results/RecordResult.h"
#include "host/session/Session.h"

#include <functional>
#include <string>

namespace host {

/// Runs the work that fills a result, then prints what `output` makes of it. Remarks and a failure follow on the
/// standard error output.
toolkit::ExitCode concluded(SessionResult& result, const std::function<void()>& work,
                            const std::function<std::string()>& output);

/// Writes the page about the calibration into the run's folder and names it in the result. A calibration that left no
/// files has none.
void leaveReport(const Session& session, RecordResult& result);

} // namespace host
