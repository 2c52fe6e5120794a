#pragma once

#include "host/session/Session.h"

#include <CLI/CLI.hpp>

#include <string>

// Options that several subcommands share. Each gives back what it adds, so that a command can say what goes with what.

namespace host {

CLI::Option* addScenario(CLI::App& app, SessionOptions& options);
CLI::Option* addSettings(CLI::App& app, SessionOptions& options);
CLI::Option* addCpu(CLI::App& app, SessionOptions& options);
CLI::Option* addPins(CLI::App& app, SessionOptions& options);
CLI::Option* addBuffer(CLI::App& app, SessionOptions& options);
/// --out, --library, --force, --quiet.
void addRunFlags(CLI::App& app, SessionOptions& options);

/// What the parser cannot check; throws Failure (Usage).
void checkSessionOptions(const SessionOptions& options);

/// For `check`: the name of a trace data file.
std::string checkTdfName(const std::string& name);

} // namespace host
