#pragma once

#include "host/commands/Command.h"

namespace host {

/// `orvtrace burst`: writes a burst for waveform viewers and spreadsheets.
std::unique_ptr<Command> makeBurstCommand();

} // namespace host
