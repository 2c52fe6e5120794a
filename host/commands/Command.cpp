#include "host/commands/Command.h"

#include <cstdio>
#include <iostream>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace host {

namespace {

/// The names of the subcommands on the line, such as "tdf list", with a blank at the end; empty without one.
std::string pathOf(const CLI::App& app) {
    std::string path;
    for (const CLI::App* at = &app; !at->get_subcommands().empty();) {
        at = at->get_subcommands().front();
        path += at->get_name() + " ";
    }
    return path;
}

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find_first_of("\r\n"));
}

int fail(const Failure& failure, const CLI::App& app, bool json) {
    std::string text = failure.what();
    if (failure.code == ExitCode::Usage)
        text += "; see 'orvtrace " + pathOf(app) + "--help'";
    std::fprintf(stderr, "orvtrace: %s\n", firstLine(text).c_str());
    if (json) {
        const nlohmann::json out{{"outcome", exitCodeName(failure.code)},
                                 {"exitCode", static_cast<int>(failure.code)},
                                 {"error", {{"text", text}, {"where", failure.where}}}};
        // A path may hold bytes that are no UTF-8; they are replaced instead of ending the program.
        std::cout << out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n" << std::flush;
    }
    return static_cast<int>(failure.code);
}

} // namespace

void Command::addJson(CLI::App& app) {
    app.add_flag("--json", json, "Print one JSON value instead of text");
}

int runCommandLine(const CommandList& commands, const std::string& version, int argc, const char* const* argv) {
    CLI::App app("Records trace of a target through the capture unit, or on the simulated bench.", "orvtrace");
    app.require_subcommand(1);
    app.set_version_flag("--version", version);
    app.footer(exitCodeTable());
    for (const auto& command : commands)
        command->setUp(*app.add_subcommand(command->name, command->about));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        return fail(Failure(ExitCode::Usage, error.what()), app, false);
    }
    for (const auto& command : commands) {
        if (!app.got_subcommand(command->name))
            continue;
        try {
            return static_cast<int>(command->run());
        } catch (const Failure& failure) {
            return fail(failure, app, command->json);
        } catch (const std::exception& error) {
            return fail(Failure(ExitCode::Failed, error.what()), app, command->json);
        }
    }
    return static_cast<int>(ExitCode::Usage);
}

} // namespace host
