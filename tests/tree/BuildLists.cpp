#include "tests/tree/BuildLists.h"

#include <algorithm>
#include <regex>

namespace tree {

namespace {

/// The sources that a build file lists, as patterns of paths without their variables.
std::vector<std::regex> sourcesOf(const std::string& text) {
    static const std::regex token("[^\\s()\"]+\\.cpp");
    static const std::regex variable("^(\\$\\{\\w+\\}/|\\.\\./)+|\\$\\{\\w+\\}/");
    std::vector<std::regex> patterns;
    for (auto match = std::sregex_iterator(text.begin(), text.end(), token); match != std::sregex_iterator(); ++match) {
        std::string name = std::regex_replace(match->str(), variable, "");
        name = std::regex_replace(name, std::regex("\\."), "\\.");
        name = std::regex_replace(name, std::regex("\\*|\\\\\\\\1"), "[^/]*");
        patterns.emplace_back("(.*/)?" + name);
    }
    return patterns;
}

} // namespace

Breaches sourcesThatAreNotBuilt(const Files& files) {
    std::map<std::string, std::vector<std::regex>> listed;
    for (const auto& [path, text] : files) {
        if (path.ends_with("CMakeLists.txt")) {
            listed[std::filesystem::path(path).parent_path().generic_string()] = sourcesOf(text);
        }
    }
    Breaches breaches;
    for (const auto& [path, text] : files) {
        if (!path.ends_with(".cpp")) {
            continue;
        }
        bool found = false;
        for (auto folder = std::filesystem::path(path).parent_path(); !folder.empty() && !found;
             folder = folder.parent_path()) {
            const auto list = listed.find(folder.generic_string());
            const std::string below = path.substr(folder.generic_string().size() + 1);
            found = list != listed.end() &&
                    std::any_of(list->second.begin(), list->second.end(), [&, &path = path](const std::regex& pattern) {
                        return std::regex_match(below, pattern) || std::regex_match(path, pattern);
                    });
        }
        if (!found) {
            breaches.push_back(path + ": no CMakeLists.txt lists it");
        }
    }
    return breaches;
}

} // namespace tree
