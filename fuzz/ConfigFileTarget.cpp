#include "common/source/source_utilities/uConfig.h"
#include "fuzz/Require.h"
#include "fuzz/Scratch.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"

#include <algorithm>
#include <string>
#include <vector>

namespace fuzz {

namespace {

using VX_QRS::uConfig;
using Sections = std::vector<uConfig::Section>;

uConfig read(bool xml, std::string_view text) {
    uConfig config(xml);
    config.setPath(scratchFile("config", text).c_str());
    config.read();
    return config;
}

/// What a file can hold of it: without variables that have no name, and without sections that are empty then.
Sections writable(Sections sections) {
    for (uConfig::Section& section : sections) {
        std::erase_if(section.variables, [](const uConfig::Variable& variable) { return variable.name.empty(); });
    }
    std::erase_if(sections, [](const uConfig::Section& section) { return section.variables.empty(); });
    return sections;
}

/// A line that begins in this way is no element, although an element further along a line can have such a name.
bool looksLikeAComment(const std::string& name) {
    return name.starts_with('?') || name.starts_with("!--");
}

/// A section without a name has no header, and so has to be the first.
bool canBeWritten(const Sections& sections, bool xml) {
    for (const uConfig::Section& section : sections) {
        if (section.name.empty() && &section != &sections.front()) {
            return false;
        }
        const bool comments = looksLikeAComment(section.name) ||
                              std::any_of(section.variables.begin(), section.variables.end(),
                                          [](const auto& variable) { return looksLikeAComment(variable.name); });
        if (xml && comments) {
            return false;
        }
    }
    return true;
}

void checkLookups(uConfig& config) {
    std::vector<uConfig::Variable> all;
    config.getVariables(all);
    std::size_t count = 0;
    for (const uConfig::Section& section : config.getSections()) {
        require(!section.variables.empty(), "a section begins with its first variable");
        require(section.name.find('\n') == std::string::npos, "a name is in one line");
        count += section.variables.size();
    }
    require(all.size() == count, "all variables are listed");
    for (const uConfig::Variable& variable : all) {
        if (variable.name.find('\0') != std::string::npos) {
            continue;
        }
        const auto first = std::find_if(all.begin(), all.end(),
                                        [&](const uConfig::Variable& each) { return each.name == variable.name; });
        require(config.getVariable(variable.name.c_str()) == *first, "the first of a name is found");
    }
}

void check(bool xml, std::string_view text) {
    uConfig config = read(xml, text);
    checkLookups(config);
    if (canBeWritten(config.getSections(), xml)) {
        require(read(xml, config.format()).getSections() == writable(config.getSections()), "what was written is read");
    }
}

} // namespace

void configFile(Input input) {
    for (const bool xml : {false, true}) {
        check(xml, textOf(input));
    }
}

} // namespace fuzz
