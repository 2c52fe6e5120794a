#include "tests/tree/SourceTree.h"

#include "tests/tree/Lines.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

namespace tree {

namespace {

/// What a link to a heading calls it: small letters, digits, "-" and "_"; blanks become "-".
std::string anchorOf(const std::string& heading) {
    std::string anchor;
    for (const char c : heading) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == ' ') {
            anchor += '-';
        } else if (std::isalnum(byte) != 0 || c == '-' || c == '_') {
            anchor += static_cast<char>(std::tolower(byte));
        }
    }
    return anchor;
}

bool hasHeading(const std::string& document, const std::string& anchor) {
    bool found = false;
    forEachLine(document, [&](std::size_t, const std::string& line) {
        const std::size_t text = line.find_first_not_of('#');
        if (text != 0 && text != std::string::npos && line[text] == ' ') {
            found = found || anchorOf(line.substr(text + 1)) == anchor;
        }
    });
    return found;
}

} // namespace

bool isSource(const std::string& path) {
    return path.ends_with(".cpp") || path.ends_with(".h");
}

Files readFiles(const std::filesystem::path& root) {
    Files files;
    for (auto entry = std::filesystem::recursive_directory_iterator(root);
         entry != std::filesystem::recursive_directory_iterator(); ++entry) {
        const std::string name = entry->path().filename().string();
        if (entry->is_directory()) {
            if (name.starts_with(".") || (entry.depth() == 0 && name.starts_with("build"))) {
                entry.disable_recursion_pending();
            }
            continue;
        }
        if (!entry->is_regular_file() || name.starts_with(".")) {
            continue;
        }
        std::ifstream in(entry->path(), std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        files[entry->path().lexically_relative(root).generic_string()] = text.str();
    }
    return files;
}

const Files& sourcesOfThisTree() {
    static const Files files = readFiles(ORV_SOURCE_ROOT);
    return files;
}

Breaches unfinishedWork(const Files& files) {
    // In two halves, so that this file does not find itself.
    static const std::regex marks("\\b(TO"
                                  "DO|FIX"
                                  "ME|XX"
                                  "X|HA"
                                  "CK)\\b");
    Breaches breaches;
    for (const auto& [path, text] : files) {
        const bool read = isSource(path) || path.ends_with("CMakeLists.txt") || path.ends_with(".cmake") ||
                          path.ends_with(".md") || path.ends_with(".toml") || path.ends_with(".json");
        if (!read) {
            continue;
        }
        forEachLine(text, [&, &p = path](std::size_t number, const std::string& line) {
            if (std::regex_search(line, marks)) {
                breaches.push_back(at(p, number) + line);
            }
        });
    }
    return breaches;
}

Breaches longFiles(const Files& files, std::size_t lines) {
    Breaches breaches;
    for (const auto& [path, text] : files) {
        const auto count = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
        if (isSource(path) && count >= lines) {
            breaches.push_back(path + ": has " + std::to_string(count) + " lines");
        }
    }
    return breaches;
}

namespace {

/// Packages hold the documents without the sources around them.
bool isPackedWithDocuments(const std::string& file) {
    return file.starts_with("docs/") || file.starts_with("examples") || file == "README.md" || file == "LICENSE" ||
           file == "CHANGELOG.md";
}

} // namespace

Breaches deadLinks(const Files& files) {
    static const std::regex link("\\]\\(([^)\\s]+)\\)");
    std::set<std::string> folders;
    for (const auto& [path, text] : files) {
        for (auto folder = std::filesystem::path(path).parent_path(); !folder.empty(); folder = folder.parent_path()) {
            folders.insert(folder.generic_string());
        }
    }
    Breaches breaches;
    for (const auto& [path, text] : files) {
        if (!path.ends_with(".md")) {
            continue;
        }
        forEachLine(text, [&, &p = path](std::size_t number, const std::string& line) {
            for (auto match = std::sregex_iterator(line.begin(), line.end(), link); match != std::sregex_iterator();
                 ++match) {
                std::string target = (*match)[1].str();
                if (target.find("://") != std::string::npos || target.starts_with("mailto:")) {
                    continue;
                }
                const std::size_t mark = target.find('#');
                const std::string anchor = mark == std::string::npos ? "" : target.substr(mark + 1);
                target = target.substr(0, mark);
                std::string file =
                    target.empty()
                        ? p
                        : (std::filesystem::path(p).parent_path() / target).lexically_normal().generic_string();
                if (file.ends_with("/")) {
                    file.pop_back();
                }
                if (!files.contains(file) && !folders.contains(file)) {
                    breaches.push_back(at(p, number) + "links to " + target + ", which is not there");
                } else if (p.starts_with("docs/") && !isPackedWithDocuments(file)) {
                    breaches.push_back(at(p, number) + "links to " + target + ", which packages do not hold");
                } else if (!anchor.empty() && file.ends_with(".md") && !hasHeading(files.at(file), anchor)) {
                    breaches.push_back(at(p, number) + "links to #" + anchor + ", a heading that is not there");
                }
            }
        });
    }
    return breaches;
}

} // namespace tree
