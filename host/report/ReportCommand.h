#pragma once

#include "host/commands/Command.h"

namespace host {

/// `orvtrace report`: a page about a calibration, from the files that it left.
std::unique_ptr<Command> makeReportCommand();

} // namespace host
