#pragma once

#include "host/commands/Command.h"

// The subcommands.

namespace host {

std::unique_ptr<Command> makeRecordCommand();
std::unique_ptr<Command> makeCalibrateCommand();
std::unique_ptr<Command> makeVerifyCommand();
std::unique_ptr<Command> makeMarginCommand();
std::unique_ptr<Command> makeTuneCommand();
std::unique_ptr<Command> makeSoakCommand();
std::unique_ptr<Command> makeReportCommand();
std::unique_ptr<Command> makeDoctorCommand();
std::unique_ptr<Command> makeDiffCommand();
std::unique_ptr<Command> makeBurstCommand();
std::unique_ptr<Command> makeBurstsCommand();
std::unique_ptr<Command> makeCheckCommand();
std::unique_ptr<Command> makeTdfCommand();
std::unique_ptr<Command> makePinsCommand();
std::unique_ptr<Command> makeScenariosCommand();
std::unique_ptr<Command> makeProbeCommand();

} // namespace host
