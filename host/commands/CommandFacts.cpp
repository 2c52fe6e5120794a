#include "host/commands/CommandFacts.h"

#include "toolkit/Text.h"

#include <CLI/CLI.hpp>

namespace host {

namespace {

/// The parser keeps the list of a value's choices only in a text: "TEXT:{pti,tpiu}".
std::vector<std::string> choicesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t begin = type.find('{');
    const std::size_t end = type.find('}', begin);
    if (begin == std::string::npos || end == std::string::npos) {
        return {};
    }
    return toolkit::split(type.substr(begin + 1, end - begin - 1), ',');
}

OptionFacts optionFactsOf(const CLI::Option& option) {
    OptionFacts facts;
    const bool isFlag = option.get_type_size() == 0;
    facts.value = isFlag ? std::string() : option.get_option_text();
    facts.name = option.get_lnames().empty() ? facts.value : "--" + option.get_lnames().front();
    facts.shortName = option.get_snames().empty() ? std::string() : "-" + option.get_snames().front();
    facts.about = option.get_description();
    facts.choices = choicesOf(option);
    facts.required = option.get_required();
    facts.repeatable = option.get_expected_max() > 1 || option.get_items_expected_max() > 1;
    return facts;
}

} // namespace

CommandFacts commandFactsOf(const CLI::App& app) {
    CommandFacts facts{app.get_name(), app.get_description(), app.get_footer(), {}, {}, {}};
    for (const CLI::Option* option : app.get_options()) {
        (option->get_positional() ? facts.arguments : facts.options).push_back(optionFactsOf(*option));
    }
    for (const CLI::App* nested : app.get_subcommands([](const CLI::App*) { return true; })) {
        facts.nested.push_back(commandFactsOf(*nested));
    }
    return facts;
}

} // namespace host
