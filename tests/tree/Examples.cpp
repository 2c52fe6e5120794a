#include "tests/tree/Examples.h"

#include <cctype>
#include <sstream>
#include <string_view>

namespace tree {

namespace {

constexpr std::string_view indentation = "    ";

bool isPair(std::string_view text) {
    return text.size() == 2 && std::isxdigit(static_cast<unsigned char>(text[0])) != 0 &&
           std::isxdigit(static_cast<unsigned char>(text[1])) != 0;
}

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

/// The pairs at the start of a text, separated by single blanks.
std::string pairsOf(std::string_view text) {
    std::string bytes;
    while (isPair(text.substr(0, 2)) && (text.size() == 2 || text[2] == ' ')) {
        bytes += static_cast<char>(std::stoi(std::string(text.substr(0, 2)), nullptr, 16));
        if (text.size() < 4 || text[3] == ' ') {
            break;
        }
        text.remove_prefix(3);
    }
    return bytes;
}

} // namespace

std::string exampleOf(const std::string& document, const std::string& name) {
    const std::string mark = "<!-- test: " + name + " -->";
    const std::size_t at = document.find(mark);
    if (at == std::string::npos) {
        return {};
    }
    std::istringstream in(document.substr(at + mark.size()));
    std::string block;
    std::string empty;
    std::getline(in, empty);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(indentation)) {
            block += empty + line.substr(indentation.size()) + "\n";
            empty.clear();
        } else if (!line.empty()) {
            break;
        } else if (!block.empty()) {
            empty += "\n";
        }
    }
    return block;
}

std::vector<HexLine> hexLinesOf(const std::string& block) {
    std::vector<HexLine> lines;
    std::istringstream in(block);
    for (std::string line; std::getline(in, line);) {
        HexLine parsed;
        // An offset or an arrow is set off from the bytes, an offset by more than one blank.
        const bool isArrow = line.starts_with("->") || line.starts_with("<-");
        const std::size_t gap = line.find("   ");
        std::size_t begin = line.find_first_not_of(' ');
        if (isArrow || (begin == 0 && gap != std::string::npos && (gap == 2 || gap == 4))) {
            const std::size_t end = isArrow ? 2 : gap;
            parsed.head = line.substr(0, end);
            begin = line.find_first_not_of(' ', end);
        }
        if (begin != std::string::npos) {
            parsed.bytes = pairsOf(std::string_view(line).substr(begin));
        }
        if (!parsed.bytes.empty()) {
            lines.push_back(parsed);
        }
    }
    return lines;
}

std::vector<Section> sectionsOf(const std::string& document, const std::string& marks) {
    std::vector<Section> sections;
    std::istringstream in(document);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(marks + " ")) {
            sections.push_back({line.substr(marks.size() + 1), ""});
        } else if (!sections.empty()) {
            sections.back().text += line + "\n";
        }
    }
    return sections;
}

std::string indentedOf(const std::string& text) {
    std::string block;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(indentation)) {
            block += line.substr(indentation.size()) + "\n";
        }
    }
    return block;
}

std::vector<std::vector<std::string>> tableOf(const std::string& text) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream in(text);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        if (!line.starts_with("|")) {
            if (number != 0) {
                break;
            }
            continue;
        }
        if (++number <= 2) {
            continue;
        }
        std::vector<std::string> cells;
        std::istringstream cellsIn(line.substr(1));
        for (std::string cell; std::getline(cellsIn, cell, '|');) {
            cells.push_back(trimmed(cell));
        }
        rows.push_back(cells);
    }
    return rows;
}

} // namespace tree
