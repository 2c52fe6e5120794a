#include "host/commands/Command.h"

#include "host/commands/UsageText.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Remedy.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string_view>

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

constexpr std::size_t screenWidth = 80;
constexpr std::size_t optionColumn = 24;
constexpr std::size_t subcommandColumn = 14;

/// Breaks the lines of a text that are too long between words; what follows is indented as far as descriptions are.
std::string wrapped(const std::string& text) {
    std::istringstream in(text);
    std::string result;
    for (std::string line; std::getline(in, line);) {
        const std::string indent(line.starts_with("  ") ? optionColumn : 0, ' ');
        while (line.size() > screenWidth) {
            const std::size_t blank = line.find_last_of(' ', screenWidth);
            if (blank == std::string::npos || blank <= indent.size()) {
                break;
            }
            result += line.substr(0, blank) + "\n";
            line = indent + line.substr(blank + 1);
        }
        result += line + "\n";
    }
    return result;
}

/// Options one under the other in narrow columns, so that a help text fits a screen.
class NarrowFormatter : public CLI::Formatter {
public:
    NarrowFormatter() { column_width(optionColumn); }

    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
        return wrapped(CLI::Formatter::make_help(app, std::move(name), mode));
    }
    std::string make_subcommand(const CLI::App* subcommand) const override {
        std::string text = "  " + subcommand->get_name();
        text.resize(std::max(text.size() + 1, subcommandColumn), ' ');
        return text + subcommand->get_description() + "\n";
    }

    std::string make_usage(const CLI::App* app, std::string name) const override {
        return "Usage: " + name + usageOf(*app) + "\n";
    }
    std::string make_group(std::string group, bool positional, std::vector<const CLI::Option*> options) const override {
        std::string text = CLI::Formatter::make_group(group, positional, std::move(options));
        text.erase(0, text.find_first_not_of('\n'));
        return text;
    }
    std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode mode) const override {
        std::string text = CLI::Formatter::make_subcommands(app, mode);
        text.erase(0, text.find_first_not_of('\n'));
        return text;
    }
    /// What an option takes, and nothing of what it goes with: the message tells that when it matters.
    std::string make_option_opts(const CLI::Option* option) const override {
        const bool takesNothing = option->get_type_size() == 0;
        return takesNothing || option->get_positional() ? std::string() : " " + valueName(*option);
    }
    std::string make_option_name(const CLI::Option* option, bool positional) const override {
        return positional ? valueName(*option) : CLI::Formatter::make_option_name(option, false);
    }
    std::string make_footer(const CLI::App* app) const override {
        const std::string text = app->get_footer();
        return text.empty() ? text : text + "\n";
    }

private:
    /// What stands for an option's value, in the user's terms. The parser's own words for kinds are none.
    static std::string valueName(const CLI::Option& option) { return option.get_option_text(); }
    static std::string usageOf(const CLI::App& app) {
        std::string text;
        for (const CLI::Option* option :
             app.get_options([](const CLI::Option* each) { return each->get_positional(); })) {
            text += option->get_required() ? " " + valueName(*option) : " [" + valueName(*option) + "]";
        }
        if (!app.get_subcommands([](const CLI::App*) { return true; }).empty()) {
            text += " SUBCOMMAND";
        }
        return text + " [OPTIONS]";
    }
};

void printVersion(const VersionFacts& facts, bool json) {
    if (json) {
        nlohmann::json out;
        for (const auto& [name, value] : facts) {
            out[name] = value;
        }
        std::cout << toolkit::jsonText(out);
        return;
    }
    std::cout << "orvtrace " << facts.front().second << "\n";
    for (std::size_t i = 1; i < facts.size(); ++i) {
        std::cout << toolkit::print("%-9s ", facts[i].first.c_str()) << facts[i].second << "\n";
    }
}

/// Also of a line that cannot be parsed.
bool wantsJson(int argc, const char* const* argv) {
    return std::any_of(argv + std::min(argc, 1), argv + argc,
                       [](const char* each) { return std::string_view(each) == "--json"; });
}

int fail(const toolkit::Failure& failure, const CLI::App& app, bool json) {
    std::string text = failure.what();
    if (failure.code == toolkit::ExitCode::Usage) {
        text += "; see 'orvtrace " + pathOf(app) + "--help'";
    }
    toolkit::printFailure(failure.code, text);
    if (json) {
        std::cout << toolkit::jsonText(toolkit::failureJson(toolkit::Failure(failure.code, text, failure.where)))
                  << std::flush;
    }
    return static_cast<int>(failure.code);
}

} // namespace

namespace {

void setUp(Command& command, CLI::App& app) {
    CLI::App* own = app.add_subcommand(command.name, command.about);
    command.setUp(*own);
    own->set_help_flag("-h,--help", "Print this help and exit");
    for (CLI::App* nested : own->get_subcommands([](CLI::App*) { return true; })) {
        nested->set_help_flag("-h,--help", "Print this help and exit");
    }
}

} // namespace

void Command::addJson(CLI::App& app) {
    app.add_flag("--json", json, "Print one JSON value instead of text");
}

namespace {

int runLine(const CommandList& commands, const VersionFacts& facts, int argc, const char* const* argv) {
    CLI::App app("Records trace of a target through the capture unit, or on the simulated bench.", "orvtrace");
    app.formatter(std::make_shared<NarrowFormatter>());
    app.set_help_flag("-h,--help", "Print this help and exit; each subcommand has its own");
    bool version = false;
    bool json = false;
    app.add_flag("--version", version, "Print version, build, compiler and system");
    app.add_flag("--json", json, "Print one JSON value instead of text");
    app.footer(toolkit::exitCodeTable());
    for (const auto& command : commands) {
        setUp(*command, app);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error);
        }
        return fail(toolkit::Failure(toolkit::ExitCode::Usage, usageText(app, error)), app, wantsJson(argc, argv));
    }
    if (version) {
        printVersion(facts, json);
        return static_cast<int>(toolkit::ExitCode::Done);
    }
    for (const auto& command : commands) {
        if (!app.got_subcommand(command->name)) {
            continue;
        }
        command->json = command->json || json;
        try {
            return static_cast<int>(command->run());
        } catch (const toolkit::Failure& failure) {
            return fail(failure, app, command->json);
        } catch (const std::exception& error) {
            return fail(toolkit::Failure(toolkit::ExitCode::Failed, error.what()), app, command->json);
        }
    }
    return fail(toolkit::Failure(toolkit::ExitCode::Usage, "a subcommand is required"), app, wantsJson(argc, argv));
}

/// Whether everything that was said has arrived where the standard output goes.
bool outputArrived() {
    std::cout.flush();
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good();
}

} // namespace

int runCommandLine(const CommandList& commands, const VersionFacts& facts, int argc, const char* const* argv) {
    const int code = runLine(commands, facts, argc, argv);
    if (outputArrived()) {
        return code;
    }
    toolkit::printFailure(toolkit::ExitCode::OutputUnwritable,
                          "the standard output cannot be written; is the disk full?");
    // A failure that was told before this one says more.
    const bool went =
        code == static_cast<int>(toolkit::ExitCode::Done) || code == static_cast<int>(toolkit::ExitCode::FaultsFound);
    return went ? static_cast<int>(toolkit::ExitCode::OutputUnwritable) : code;
}

} // namespace host
