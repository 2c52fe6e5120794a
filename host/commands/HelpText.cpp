#include "host/commands/HelpText.h"

#include "toolkit/Suggestion.h"
#include "toolkit/Table.h"
#include "toolkit/Text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>
#include <string_view>

namespace host {

namespace {

constexpr std::size_t screenWidth = 80;
constexpr std::size_t subcommandColumn = 14;

} // namespace

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

namespace {

/// Narrow columns, so that a help text fits a screen.
class NarrowFormatter : public CLI::Formatter {
public:
    NarrowFormatter() { column_width(optionColumn); }

    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
        std::string text = CLI::Formatter::make_help(app, std::move(name), mode);
        // The usage says OPTIONS already; a line less, and the longest help fits a screen.
        constexpr std::string_view heading = "Options:\n";
        const std::size_t at = text.find(heading);
        if (at != std::string::npos) {
            text.erase(at, heading.size());
        }
        text = helpText(text);
        if (const std::size_t gap = text.find(std::string("\n\n") + commonGroup + " ("); gap != std::string::npos) {
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
        if (group == commonGroup) {
            return commonLine(options);
        }
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
    /// Options that every command has need no line each.
    static std::string commonLine(const std::vector<const CLI::Option*>& options) {
        std::vector<std::string> names;
        for (const CLI::Option* option : options) {
            const std::string value = valueName(*option);
            names.push_back(option->get_name() + (value.empty() ? value : " " + value));
        }
        return std::string(commonGroup) + " (orvtrace help options): " + toolkit::joined(names, ", ") + "\n";
    }
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

/// The first arguments as far as they are no options.
std::string surplusText(const std::vector<std::string>& arguments) {
    const auto end = std::find_if(arguments.begin(), arguments.end(), [](auto& each) { return each.starts_with("-"); });
    return "'" + toolkit::joined({arguments.begin(), end}, " ") + "' is not expected here";
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

} // namespace

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
               toolkit::suggestion(name.substr(std::min(name.size(), name.find_first_not_of('-'))), known, "--");
    }
    if (!hasSubcommands(app)) {
        return surplusText(arguments);
    }
    for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; })) {
        known.push_back(each->get_name());
    }
    return "there is no subcommand '" + argument + "'" + toolkit::suggestion(argument, known);
}

std::shared_ptr<CLI::FormatterBase> helpFormatter() {
    return std::make_shared<NarrowFormatter>();
}

const CLI::App& activeApp(const CLI::App& app) {
    const CLI::App* at = &app;
    while (!at->get_subcommands().empty()) {
        at = at->get_subcommands().front();
    }
    return *at;
}

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

} // namespace host
