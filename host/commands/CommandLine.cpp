#include "host/commands/Command.h"
#include "host/commands/CommandFacts.h"
#include "host/commands/HiddenRequests.h"
#include "host/commands/Suggestion.h"
#include "host/commands/Syntax.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/Remedy.h"
#include "toolkit/Table.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <limits>
#include <sstream>
#include <string_view>

// Only this file and CommandFacts.cpp include the command line parser, which takes long to compile.

namespace host {

namespace {

constexpr std::size_t screenWidth = 80;
constexpr std::size_t optionColumn = 24;
constexpr std::size_t subcommandColumn = 14;

/// Lines that fit a screen.
std::string helpText(const std::string& text) {
    std::istringstream in(text);
    std::string result;
    for (std::string line; std::getline(in, line);) {
        const std::size_t indent = line.starts_with("  ") ? optionColumn : 0;
        result += toolkit::wrapped(line, screenWidth, indent) + "\n";
    }
    return result;
}

bool hasSubcommands(const CLI::App& app) {
    return !app.get_subcommands([](const CLI::App*) { return true; }).empty();
}

std::vector<const CLI::Option*> positionalsOf(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

/// Narrow columns, so that a help text fits a screen.
class NarrowFormatter : public CLI::Formatter {
public:
    NarrowFormatter() { column_width(optionColumn); }

    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
        std::string text = CLI::Formatter::make_help(app, std::move(name), mode);
        // The usage says OPTIONS already; a line less, and the longest help fits a screen.
        constexpr std::string_view heading = "Options:\n";
        const std::size_t at = text.find(heading);
        if (!hasSubcommands(*app) && at != std::string::npos) {
            text.erase(at, heading.size());
        }
        text = helpText(text);
        // The list of subcommands leaves no line of the screen to spare.
        if (const std::size_t gap = text.find("\n\nExit codes:"); gap != std::string::npos) {
            text.erase(gap, 1);
        }
        return text;
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
    /// The value's name only: messages report what an option needs or excludes.
    std::string make_option_opts(const CLI::Option* option) const override {
        const bool isFlag = option->get_type_size() == 0;
        return isFlag || option->get_positional() ? std::string() : " " + valueName(*option);
    }
    std::string make_option_name(const CLI::Option* option, bool positional) const override {
        return positional ? valueName(*option) : CLI::Formatter::make_option_name(option, false);
    }
    std::string make_footer(const CLI::App* app) const override {
        const std::string text = app->get_footer();
        return text.empty() ? text : text + "\n";
    }

private:
    /// In the user's terms, instead of the parser's names of types.
    static std::string valueName(const CLI::Option& option) { return option.get_option_text(); }
    static std::string usageOf(const CLI::App& app) {
        std::string text;
        for (const CLI::Option* option : positionalsOf(app)) {
            text += option->get_required() ? " " + valueName(*option) : " [" + valueName(*option) + "]";
        }
        return text + (hasSubcommands(app) ? " SUBCOMMAND" : "") + " [OPTIONS]";
    }
};

/// The innermost subcommand on the line.
const CLI::App& activeApp(const CLI::App& app) {
    const CLI::App* at = &app;
    while (!at->get_subcommands().empty()) {
        at = at->get_subcommands().front();
    }
    return *at;
}

/// The first arguments as far as they are no options.
std::string surplusText(const std::vector<std::string>& arguments) {
    const auto end = std::find_if(arguments.begin(), arguments.end(), [](auto& each) { return each.starts_with("-"); });
    return "'" + toolkit::joined({arguments.begin(), end}, " ") + "' is not expected here";
}

std::string unknownText(const CLI::App& app, const std::vector<std::string>& arguments) {
    const std::string& argument = arguments.front();
    std::vector<std::string> known;
    if (argument.starts_with("-") && argument.size() > 1) {
        const std::string name = argument.substr(0, argument.find('='));
        for (const CLI::Option* option : app.get_options()) {
            for (const std::string& each : option->get_lnames()) {
                known.push_back(each);
            }
        }
        return "there is no option " + name + " here" +
               suggestion(name.substr(std::min(name.size(), name.find_first_not_of('-'))), known, "--");
    }
    if (!hasSubcommands(app)) {
        return surplusText(arguments);
    }
    for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; })) {
        known.push_back(each->get_name());
    }
    return "there is no subcommand '" + argument + "'" + suggestion(argument, known);
}

std::string missingText(const CLI::App& app) {
    for (const CLI::Option* option : positionalsOf(app)) {
        if (option->get_required() && option->count() == 0) {
            return option->get_option_text() + " is required";
        }
    }
    return "a subcommand is required";
}

std::string valueText(const CLI::App& app, const std::string& text) {
    const std::string name = text.substr(0, text.find(':'));
    const CLI::Option* option = app.get_option_no_throw(name);
    if (option == nullptr) {
        return text;
    }
    if (option->get_type_size() == 0) {
        return name + " takes no value";
    }
    return name + " needs a value: " + option->get_option_text();
}

/// The fault of a command line, in the words of the help text.
std::string usageText(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App& active = activeApp(app);
    constexpr bool ofSubcommandsToo = true;
    const std::vector<std::string> unknown = app.remaining(ofSubcommandsToo);
    if (!unknown.empty()) {
        return unknownText(active, unknown);
    }
    const auto kind = static_cast<CLI::ExitCodes>(error.get_exit_code());
    if (kind == CLI::ExitCodes::RequiredError) {
        return missingText(active);
    }
    if (kind == CLI::ExitCodes::ArgumentMismatch) {
        return valueText(active, error.what());
    }
    return error.what();
}

/// A number between two limits. Only decimal digits, as everywhere in this program.
CLI::Validator numberCheck(double lowest, double highest, const char* kind, const char* letters) {
    return CLI::Validator(
        [=](const std::string& text) {
            double value = 0.0;
            if (text.find_first_not_of(letters) != std::string::npos || !CLI::detail::lexical_cast(text, value)) {
                return fmt::format("'{}' is not a {}", text, kind);
            }
            std::string tested = text;
            return CLI::Range(lowest, highest)(tested).empty()
                       ? std::string()
                       : fmt::format("must be from {:.15g} to {:.15g}", lowest, highest);
        },
        "");
}

} // namespace

const Option& Option::check(std::function<std::string(const std::string&)> fault) const {
    option->check(std::move(fault));
    return *this;
}

const Option& Option::oneOf(const std::vector<std::string>& values) const {
    option->check(CLI::IsMember(values));
    return *this;
}

const Option& Option::needs(const Option& other) const {
    option->needs(other.option);
    return *this;
}

const Option& Option::excludes(const Option& other) const {
    option->excludes(other.option);
    return *this;
}

Option Syntax::addArgument(std::string& value, const char* valueName, const char* about) {
    const Option made = addOptionalArgument(value, valueName, about);
    made.option->required();
    return made;
}

Option Syntax::addOptionalArgument(std::string& value, const char* valueName, const char* about) {
    return addOption(valueName, value, valueName, about);
}

Option Syntax::addOption(const char* name, std::string& value, const char* valueName, const char* about) {
    return Option(app.add_option(name, value, about)->option_text(valueName));
}

Option Syntax::addRepeatable(const char* name, std::vector<std::string>& values, const char* valueName,
                             const char* about) {
    return Option(app.add_option(name, values, about)->option_text(valueName)->allow_extra_args(false));
}

Option Syntax::addFlag(const char* name, bool& value, const char* about) {
    return Option(app.add_flag(name, value, about));
}

Option Syntax::addNumber(const char* name, double& value, const char* valueName, double lowest, double highest,
                         const char* about) {
    return Option(app.add_option(name, value, about)
                      ->option_text(valueName)
                      ->check(numberCheck(lowest, highest, "number", "0123456789+-.eE")));
}

Option Syntax::addWhole(const char* name, std::function<void(std::uint64_t)> store, const char* valueName,
                        std::uint64_t lowest, std::uint64_t highest, const char* about) {
    // The parser's own conversion reads "010" as octal.
    const auto read = [store = std::move(store)](const std::string& text) { store(std::stoull(text)); };
    return Option(app.add_option_function<std::string>(name, read, about)
                      ->option_text(valueName)
                      ->check(numberCheck(static_cast<double>(lowest), static_cast<double>(highest), "whole number",
                                          "0123456789-")));
}

void Syntax::footer(const char* text) {
    app.footer(text);
}

Syntax Syntax::addSubcommand(const char* name, const char* about, std::function<void()> chosen) {
    app.require_subcommand(1);
    CLI::App* made = app.add_subcommand(name, about);
    made->final_callback(std::move(chosen));
    return Syntax(*made);
}

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

void printVersion(const VersionFacts& facts, bool json) {
    if (json) {
        nlohmann::json out = toolkit::resultHead(toolkit::ExitCode::Done);
        for (const auto& [name, value] : facts) {
            out[name] = value;
        }
        std::cout << toolkit::jsonText(out);
        return;
    }
    toolkit::Table table(2);
    for (std::size_t i = 1; i < facts.size(); ++i) {
        table.addRow({facts[i].first, facts[i].second});
    }
    std::cout << "orvtrace " << facts.front().second << "\n" << table.text();
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

constexpr const char* helpNames = "-h,--help";

/// Options that each level of the command line has, after its own.
void addCommonOptions(CLI::App& app, Command& command) {
    const std::vector<CLI::App*> nested = app.get_subcommands([](CLI::App*) { return true; });
    if (nested.empty()) {
        app.add_flag("--json", command.json, "Print one JSON value instead of text");
    }
    app.set_help_flag(helpNames, "Print this help and exit");
    for (CLI::App* each : nested) {
        addCommonOptions(*each, command);
    }
}

int runLine(const CommandList& commands, const VersionFacts& facts, int argc, const char* const* argv) {
    CLI::App app("Records trace of a target through the capture unit, or on the simulated bench.", "orvtrace");
    app.allow_windows_style_options(false); // a path may begin with a slash
    app.formatter(std::make_shared<NarrowFormatter>());
    app.set_help_flag(helpNames, "Print this help and exit; each subcommand has its own");
    bool version = false;
    bool json = false;
    app.add_flag("--version", version, "Print version, build, compiler and system");
    app.add_flag("--json", json, "Print one JSON value instead of text");
    app.footer(toolkit::exitCodeTable());
    for (const auto& command : commands) {
        CLI::App* own = app.add_subcommand(command->name, command->about);
        Syntax syntax(*own);
        command->setUp(syntax);
        addCommonOptions(*own, *command);
    }
    if (const auto code = answeredHidden([&] { return commandFactsOf(app); }, facts.front().second, argc, argv)) {
        return *code;
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

/// Whether the standard output took everything.
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
    // The first failure is more specific; keep it.
    const bool went =
        code == static_cast<int>(toolkit::ExitCode::Done) || code == static_cast<int>(toolkit::ExitCode::FaultsFound);
    return went ? static_cast<int>(toolkit::ExitCode::OutputUnwritable) : code;
}

} // namespace host
