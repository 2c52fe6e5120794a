#include "diagnosis/files/PropertiesFile.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"

#include <algorithm>
#include <string>

namespace fuzz {

namespace {

using diagnosis::PropertiesFile;
using diagnosis::PropertiesSection;

std::string written(const PropertiesFile& file) {
    std::string text;
    for (const PropertiesSection& section : file.sections) {
        text += "[" + section.name + "]\n";
        for (const auto& [key, value] : section.entries) {
            text.append(key).append("=").append(value).append("\n");
        }
    }
    return text;
}

bool same(const PropertiesSection& one, const PropertiesSection& other) {
    return one.name == other.name && one.entries == other.entries;
}

} // namespace

void properties(Input input) {
    const auto file = parsed(diagnosis::parseProperties, textOf(input));
    if (!file) {
        return;
    }
    const std::string text = written(*file);
    const auto again = parsed(diagnosis::parseProperties, text);
    // One before a blank is no part of a line's end, but is at the end of a line without blanks.
    require(text.find('\r') != std::string::npos ||
                (again && std::equal(file->sections.begin(), file->sections.end(), again->sections.begin(),
                                     again->sections.end(), [](const auto& a, const auto& b) { return same(a, b); })),
            "what was written is read");
    for (const PropertiesSection& section : file->sections) {
        for (const auto& [key, value] : section.entries) {
            require(file->value(key).has_value(), "a key has a value");
        }
    }
}

} // namespace fuzz
