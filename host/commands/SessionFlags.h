#pragma once

#include "host/commands/Syntax.h"
#include "host/session/Session.h"

#include <string>

// Options that several subcommands share.

namespace host {

Option addScenario(Syntax& syntax, SessionOptions& options);
void addSettings(Syntax& syntax, SessionOptions& options);
void addCpu(Syntax& syntax, SessionOptions& options);
/// --pins, as pinChoiceOf() reads it.
void addPins(Syntax& syntax, std::string& pins);
void addBuffer(Syntax& syntax, SessionOptions& options);
/// --error-rate of a verification with known words.
Option addErrorRate(Syntax& syntax, double& rate);
/// --set, --out, --library, --force, --quiet, --strict.
void addRunFlags(Syntax& syntax, SessionOptions& options);

Option addStrict(Syntax& syntax, bool& strict);

/// Checks combinations of options; throws Failure (Usage).
void checkSessionOptions(const SessionOptions& options);

/// For Option::check(): the name of a trace data file.
std::string checkTdfName(const std::string& name);

} // namespace host
