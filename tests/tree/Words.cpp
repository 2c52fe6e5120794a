#include "tests/tree/Words.h"

#include "tests/tree/SourceReader.h"

#include <algorithm>
#include <regex>
#include <sstream>
#include <string_view>

namespace tree {

namespace {

struct Rule {
    const char* pattern;
    const char* advice;
};

constexpr Rule rules[] = {
    {"behind", "after, past, following, below"},
    {"ahead\\s+of", "before, above, preceding"},
    {"in\\s+front\\s+of", "before, above, preceding"},
    {"proofs?", "verification"},
    {"whoever", "the caller, the host, the user"},
    {"nobody", "no caller, no test; or turn the sentence round"},
    {"wish(es)?", "a request"},
    {"stand(s|ing)?\\s+for", "means"},
    {"unless\\s+told\\s+otherwise", "unless noted"},
    {"(let|leave|left)\\s+be", "ignore, skip"},
};

struct Word {
    std::regex pattern;
    const char* advice;
};

const std::vector<Word>& words() {
    static const std::vector<Word> all = [] {
        std::vector<Word> compiled;
        for (const Rule& rule : rules) {
            compiled.push_back(
                {std::regex("\\b(" + std::string(rule.pattern) + ")\\b", std::regex::icase), rule.advice});
        }
        return compiled;
    }();
    return all;
}

/// Adds the uses in a text that begins on line `first` of the file.
void addUses(const std::string& path, std::size_t first, const std::string& text, Breaches& breaches) {
    for (const Word& word : words()) {
        for (auto use = std::sregex_iterator(text.begin(), text.end(), word.pattern); use != std::sregex_iterator();
             ++use) {
            const auto lines = std::count(text.begin(), text.begin() + use->position(), '\n');
            const std::string found = std::regex_replace(use->str(), std::regex("\\s+"), " ");
            breaches.push_back(path + ":" + std::to_string(first + static_cast<std::size_t>(lines)) + ": \"" + found +
                               "\": " + word.advice);
        }
    }
}

/// The document with code spans and code blocks emptied, line by line, so that lines keep their numbers.
std::string withoutCode(const std::string& document) {
    static const std::regex span("`[^`]*`");
    std::string plain;
    bool isFenced = false;
    bool isIndented = false;
    bool followsBlank = true;
    std::istringstream in(document);
    for (std::string line; std::getline(in, line);) {
        const bool isFence = line.starts_with("```");
        isFenced = isFenced != isFence;
        const bool isBlank = line.find_first_not_of(' ') == std::string::npos;
        isIndented = line.starts_with("    ") ? isIndented || followsBlank : isIndented && isBlank;
        if (!isFence && !isFenced && !isIndented) {
            plain += std::regex_replace(line, span, "``");
        }
        plain += '\n';
        followsBlank = isBlank;
    }
    return plain;
}

} // namespace

Breaches hardWordsInDocuments(const Files& files) {
    Breaches breaches;
    for (const auto& [path, text] : files) {
        if (path.ends_with(".md") || path.ends_with(".md.in")) {
            addUses(path, 1, withoutCode(text), breaches);
        }
    }
    return breaches;
}

Breaches hardWordsInComments(const Files& files) {
    Breaches breaches;
    for (const auto& [path, text] : files) {
        if (!isSource(path)) {
            continue;
        }
        for (const Comment& comment : readSource(text).comments) {
            addUses(path, comment.line, comment.text, breaches);
        }
    }
    return breaches;
}

} // namespace tree
