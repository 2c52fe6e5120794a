#pragma once

#include "host/commands/Command.h"

namespace host {

/// `orvtrace doctor`: names what is wrong with a board, from the files that a calibration left.
std::unique_ptr<Command> makeDoctorCommand();

} // namespace host
