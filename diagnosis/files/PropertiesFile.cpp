#include "diagnosis/files/PropertiesFile.h"

#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

namespace diagnosis {

namespace {

constexpr std::size_t largestPropertiesFile = 1 << 20;

} // namespace

std::optional<std::string> PropertiesFile::value(std::string_view key) const {
    std::optional<std::string> found;
    for (const PropertiesSection& section : sections) {
        for (const auto& [name, text] : section.entries) {
            if (name == key) {
                found = text;
            }
        }
    }
    return found;
}

PropertiesFile parseProperties(std::string_view text, const std::string& file) {
    PropertiesFile properties;
    for (const toolkit::TextLine& line : toolkit::textLines(text)) {
        const std::string_view content = toolkit::trimmed(line.text);
        if (content.empty() || content.front() == '#') {
            continue;
        }
        if (content.front() == '[') {
            if (content.back() != ']') {
                toolkit::damaged(file, line.number, "a section without its \"]\": " + toolkit::shown(content));
            }
            properties.sections.push_back({std::string(content.substr(1, content.size() - 2)), {}});
            continue;
        }
        const auto entry = toolkit::keyValue(content);
        if (!entry || properties.sections.empty()) {
            toolkit::damaged(file, line.number, "expected [SECTION] or KEY=VALUE, found " + toolkit::shown(content));
        }
        properties.sections.back().entries.emplace_back(entry->key, entry->value);
    }
    return properties;
}

PropertiesFile readProperties(const std::filesystem::path& file) {
    return parseProperties(toolkit::readText(file, 0, largestPropertiesFile), file.string());
}

} // namespace diagnosis
