#pragma once

#include "host/commands/Command.h"
#include "host/commands/RecordRun.h"
#include "host/commands/Syntax.h"

namespace host {

/// What the commands that calibrate have in common.
class RunCommand : public Command {
protected:
    using Command::Command;

    /// --scenario, --settings and --cpu; returns the first.
    Option addTarget(Syntax& syntax);
    /// --verify, --error-rate and --no-verify.
    void addVerification(Syntax& syntax);
    /// Runs with the options, and prints one of the two.
    toolkit::ExitCode runAndTell(nlohmann::json (*asJson)(const RecordResult&),
                                 std::string (*asText)(const RecordResult&, std::size_t columns));

    RecordOptions options;
};

} // namespace host
