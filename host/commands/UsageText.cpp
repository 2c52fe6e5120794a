#include "host/commands/UsageText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <limits>

namespace host {

namespace {

constexpr std::size_t enoughToComplete = 3;

/// The innermost subcommand on the line.
const CLI::App& activeApp(const CLI::App& app) {
    const CLI::App* at = &app;
    while (!at->get_subcommands().empty()) {
        at = at->get_subcommands().front();
    }
    return *at;
}

bool hasSubcommands(const CLI::App& app) {
    return !app.get_subcommands([](const CLI::App*) { return true; }).empty();
}

std::vector<const CLI::Option*> positionalsOf(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

/// How many letters have to be put in, taken out or replaced, or neighbours swapped.
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                table[i][j] = i + j;
                continue;
            }
            const bool same = a[i - 1] == b[j - 1];
            table[i][j] = std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, table[i - 1][j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
            }
        }
    }
    return table[a.size()][b.size()];
}

std::string suggestion(const std::string& word, const std::vector<std::string>& known, const char* before) {
    const std::string nearest = nearestWord(word, known);
    return nearest.empty() ? std::string() : "; did you mean " + (before + nearest) + "?";
}

/// The first arguments as far as they are no options.
std::string surplusText(const std::vector<std::string>& arguments) {
    std::string text;
    for (const std::string& each : arguments) {
        if (each.starts_with("-")) {
            break;
        }
        text += (text.empty() ? "" : " ") + each;
    }
    return "'" + text + "' is not expected here";
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
    return "there is no subcommand '" + argument + "'" + suggestion(argument, known, "");
}

std::string missingText(const CLI::App& app) {
    for (const CLI::Option* option : positionalsOf(app)) {
        if (option->get_required() && option->count() == 0) {
            return option->get_option_text() + " is required";
        }
    }
    return "a subcommand is required";
}

/// The parser knows arguments by names that no help text shows.
std::string withShownName(const CLI::App& app, const std::string& text) {
    for (const CLI::Option* option : positionalsOf(app)) {
        const std::string name = option->get_name(true) + ": ";
        if (text.starts_with(name)) {
            return option->get_option_text() + ": " + text.substr(name.size());
        }
    }
    return text;
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

std::string nearestWord(const std::string& word, const std::vector<std::string>& known) {
    std::string nearest;
    std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& each : known) {
        const bool begun = word.size() >= enoughToComplete && each.starts_with(word);
        const std::size_t found = begun ? 1 : distance(word, each);
        if (found < least) {
            least = found;
            nearest = each;
        }
    }
    return word.size() > 1 ? nearest : std::string();
}

std::string usageText(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App& active = activeApp(app);
    const std::vector<std::string> unknown = app.remaining(true);
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
    return withShownName(active, error.what());
}

} // namespace host
