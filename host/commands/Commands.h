#pragma once

#include "host/commands/Command.h"

// The subcommands that live in this folder.

namespace host {

std::unique_ptr<Command> makeRecordCommand();
std::unique_ptr<Command> makeScenariosCommand();

} // namespace host
