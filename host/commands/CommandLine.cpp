#include "host/commands/Command.h"
#include "host/commands/CommandFacts.h"
#include "host/commands/HelpText.h"
#include "host/commands/HiddenRequests.h"
#include "host/commands/Syntax.h"
#include "host/commands/TerminalText.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/Remedy.h"
#include "toolkit/Table.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>
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

void addColour(CLI::App& app) {
    const auto choose = [](const std::string& when) {
        useColour(when == "always" ? Colour::Always : when == "never" ? Colour::Never : Colour::Auto);
    };
    app.add_option_function<std::string>("--color", choose,
                                         "Colour: auto (on a terminal, unless NO_COLOR is set), "
                                         "always or never")
        ->option_text("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->group(commonGroup);
}

/// Options that each level of the command line has, after its own.
void addCommonOptions(CLI::App& app, Command& command) {
    const std::vector<CLI::App*> nested = app.get_subcommands([](CLI::App*) { return true; });
    if (nested.empty()) {
        app.add_flag("--json", command.json, "Print one JSON value instead of text")->group(commonGroup);
        addColour(app);
    }
    app.set_help_flag(helpNames, "Print this help and exit")->group(commonGroup);
    for (CLI::App* each : nested) {
        addCommonOptions(*each, command);
    }
}

/// All options that are common to several commands, each once.
void collectCommon(const CLI::App& app, std::vector<const CLI::Option*>& found) {
    for (const CLI::Option* option : app.get_options()) {
        const bool known = std::any_of(found.begin(), found.end(),
                                       [&](const CLI::Option* each) { return each->get_name() == option->get_name(); });
        if (option->get_group() == commonGroup && !known) {
            found.push_back(option);
        }
    }
    for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; })) {
        collectCommon(*each, found);
    }
}

void printCommonOptions(const CLI::App& app) {
    std::vector<const CLI::Option*> options;
    collectCommon(app, options);
    std::string text =
        "Options that several commands have; the help of each names its own. A value in parentheses is the default.\n";
    for (const CLI::Option* option : options) {
        const std::string value = option->get_option_text();
        std::string line = "  " + option->get_name() + (value.empty() ? value : " " + value);
        line.resize(std::max(line.size() + 2, optionColumn), ' ');
        text += line + option->get_description() + "\n";
    }
    std::cout << helpText(text);
}

/// `orvtrace help [COMMAND [SUBCOMMAND]]`, or one of its topics; nothing if the words are a command's, whose help follows
/// from them.
std::optional<int> printTopic(const CLI::App& app, const std::vector<std::string>& words) {
    if (words == std::vector<std::string>{"exit-codes"}) {
        std::cout << toolkit::exitCodeTable() << "\n";
        return static_cast<int>(toolkit::ExitCode::Done);
    }
    if (words == std::vector<std::string>{"options"}) {
        printCommonOptions(app);
        return static_cast<int>(toolkit::ExitCode::Done);
    }
    const CLI::App* at = &app;
    for (const std::string& word : words) {
        const auto nested = at->get_subcommands([](const CLI::App*) { return true; });
        const auto found =
            std::find_if(nested.begin(), nested.end(), [&](const CLI::App* each) { return each->get_name() == word; });
        if (found == nested.end()) {
            throw toolkit::Failure(toolkit::ExitCode::Usage, unknownText(*at, {word}));
        }
        at = *found;
    }
    return std::nullopt;
}

/// The line with `help` and `version` as the options that they mean.
std::vector<std::string> plainLine(const CLI::App& app, std::vector<std::string> words, std::optional<int>& printed) {
    if (!words.empty() && words.front() == "version") {
        words.front() = "--version";
    } else if (!words.empty() && words.front() == "help") {
        words.erase(words.begin());
        std::erase_if(words, [](const std::string& word) { return word.starts_with('-'); });
        printed = printTopic(app, words);
        words.emplace_back("--help");
    }
    return words;
}

int runLine(const CommandList& commands, const VersionFacts& facts, int argc, const char* const* argv) {
    CLI::App app("Records trace of a target through the capture unit, or on the simulated bench.", "orvtrace");
    app.allow_windows_style_options(false); // a path may begin with a slash
    app.formatter(helpFormatter());
    app.set_help_flag(helpNames, "Print this help and exit")->group(commonGroup);
    bool version = false;
    bool json = false;
    app.add_flag("-V,--version", version, "Print version, build, compiler and system")->group(commonGroup);
    app.add_flag("--json", json, "Print one JSON value instead of text")->group(commonGroup);
    addColour(app);
    app.footer("More: orvtrace help COMMAND, orvtrace help exit-codes");
    for (const auto& command : commands) {
        CLI::App* own = app.add_subcommand(command->name, command->about);
        Syntax syntax(*own);
        command->setUp(syntax);
        addCommonOptions(*own, *command);
    }
    if (const auto code = answeredHidden([&] { return commandFactsOf(app); }, facts.front().second, argc, argv)) {
        return *code;
    }
    const bool jsonAsked = wantsJson(argc, argv);
    try {
        std::optional<int> printed;
        std::vector<std::string> words = plainLine(app, {argv + std::min(argc, 1), argv + argc}, printed);
        if (printed) {
            return *printed;
        }
        std::reverse(words.begin(), words.end()); // as the parser takes them
        app.parse(std::move(words));
    } catch (const toolkit::Failure& failure) {
        return fail(failure, app, jsonAsked);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error);
        }
        return fail(toolkit::Failure(toolkit::ExitCode::Usage, usageText(app, error)), app, jsonAsked);
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
    return fail(toolkit::Failure(toolkit::ExitCode::Usage, "a subcommand is required"), app, jsonAsked);
}

/// Whether the standard output took everything.
bool outputArrived() {
    std::cout.flush();
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good();
}

std::string& ownVersion() {
    static std::string version;
    return version;
}

} // namespace

std::string programVersion() {
    return ownVersion();
}

int runCommandLine(const CommandList& commands, const VersionFacts& facts, int argc, const char* const* argv) {
    ownVersion() = facts.empty() ? std::string() : facts.front().second;
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
