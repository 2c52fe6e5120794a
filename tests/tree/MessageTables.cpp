#include "tests/tree/Messages.h"

#include <algorithm>
#include <cctype>
#include <regex>
#include <set>
#include <sstream>

// The document's tables: their order and their index.

namespace tree {

namespace {

/// The key of a row in the alphabetical order: its texts, from the first letter or digit.
std::string sortingText(const std::string& message) {
    std::string text;
    for (const std::string& piece : piecesOf(message, false)) {
        text += (text.empty() ? "" : " ") + piece;
    }
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto begin = std::find_if(text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c) != 0; });
    return {begin, text.end()};
}

} // namespace

Breaches rowsOutOfOrder(const Files& files, const std::string& document) {
    static const std::regex first("\\| `([^`]+)`.*");
    Breaches breaches;
    std::set<std::string> seen;
    std::string previous;
    bool isSorted = false;
    std::size_t number = 0;
    std::istringstream in(files.at(document));
    for (std::string line; std::getline(in, line);) {
        const std::string place = document + ":" + std::to_string(++number) + ": ";
        if (!line.starts_with("| `")) {
            isSorted = line.starts_with("| message |") || (isSorted && line.starts_with("|---"));
            previous.clear();
            continue;
        }
        std::smatch match;
        if (!std::regex_match(line, match, first)) {
            continue;
        }
        if (!seen.insert(match[1]).second) {
            breaches.push_back(place + "begins two rows: " + match[1].str());
        }
        const std::string text = sortingText(match[1]);
        if (isSorted && text < previous) {
            breaches.push_back(place + "out of order: " + match[1].str());
        }
        previous = text;
    }
    return breaches;
}

Breaches headingsOutsideTheIndex(const Files& files, const std::string& document) {
    const std::string& text = files.at(document);
    const std::string index = text.substr(0, text.find("\n## "));
    static const std::regex heading("\n###? ([^\n]+)");
    Breaches breaches;
    for (auto match = std::sregex_iterator(text.begin(), text.end(), heading); match != std::sregex_iterator();
         ++match) {
        if (index.find("[" + (*match)[1].str() + "](#") == std::string::npos) {
            breaches.push_back(document + ": not in the index: " + (*match)[1].str());
        }
    }
    return breaches;
}

} // namespace tree
