#include "toolkit/Table.h"

#include "toolkit/Masked.h"

#include <algorithm>

namespace toolkit {

namespace {

constexpr const char* gap = "  ";
constexpr std::size_t gapWidth = 2;
constexpr std::size_t narrowest = 20; ///< characters; a last column with less does not wrap

/// Characters of a UTF-8 text.
std::size_t lengthOf(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

Table::Table(std::size_t columnCount, std::string leftMargin)
    : rightAligned(columnCount), margin(std::move(leftMargin)), widths(columnCount) {}

Table::Table(std::vector<std::string> titles) : Table(titles.size()) {
    for (std::size_t i = 0; i < titles.size(); ++i) {
        rightAligned[i] = titles[i].starts_with('>');
        titles[i].erase(0, rightAligned[i] ? 1 : 0);
    }
    addRow(titles);
}

void Table::addRow(const std::vector<std::string>& cells) {
    std::vector<std::string>& row = rows.emplace_back(widths.size());
    for (std::size_t i = 0; i < std::min(cells.size(), row.size()); ++i) {
        row[i] = masked(cells[i]);
        widths[i] = std::max(widths[i], lengthOf(row[i]));
    }
}

std::string Table::line(const std::vector<std::string>& cells, const std::vector<std::size_t>& columns,
                        std::size_t width) const {
    std::string out = margin;
    std::size_t lastStart = lengthOf(margin);
    for (const std::size_t i : columns) {
        const std::string padding(widths[i] - lengthOf(cells[i]), ' ');
        out += (i == columns.front() ? "" : gap) + (rightAligned[i] ? padding + cells[i] : cells[i] + padding);
        lastStart += i != columns.back() ? widths[i] + gapWidth : 0;
    }
    out.erase(out.find_last_not_of(' ') + 1);
    const bool wraps = width > lastStart + narrowest && !rightAligned[columns.back()];
    return (wraps ? wrapped(out, width, lastStart) : out) + "\n";
}

std::vector<std::vector<std::size_t>> Table::blocks(std::size_t width) const {
    std::vector<std::vector<std::size_t>> parts{{0}};
    const std::size_t start = lengthOf(margin) + widths.front();
    std::size_t used = start;
    for (std::size_t i = 1; i < widths.size(); ++i) {
        // A last column that wraps needs no more than this.
        const bool wraps = i + 1 == widths.size() && !rightAligned[i];
        const std::size_t needed = gapWidth + (wraps ? std::min(widths[i], narrowest + 1) : widths[i]);
        const bool repeats = widths.size() > 2 && parts.back().size() > 1;
        if (used + needed > width && repeats) {
            parts.push_back({0});
            used = start;
        }
        parts.back().push_back(i);
        used += gapWidth + widths[i];
    }
    return parts;
}

std::string Table::text(std::size_t width) const {
    std::string out;
    for (const std::vector<std::size_t>& columns : blocks(width)) {
        out += out.empty() ? "" : "\n";
        for (const std::vector<std::string>& row : rows) {
            out += line(row, columns, width);
        }
    }
    return out;
}

std::string wrapped(std::string line, std::size_t width, std::size_t indent) {
    std::string out;
    std::size_t start = 0; // of the words; blanks before them are no place to break
    while (lengthOf(line) > width) {
        start = std::min(line.find_first_not_of(' ', start), line.size());
        std::size_t blank = line.find_last_of(' ', width);
        if (blank == std::string::npos || blank <= start) {
            blank = line.find(' ', start);
        }
        if (blank == std::string::npos) {
            break;
        }
        out += line.substr(0, line.find_last_not_of(' ', blank) + 1) + "\n";
        line = std::string(indent, ' ') + line.substr(std::min(line.find_first_not_of(' ', blank), line.size()));
        start = indent;
    }
    return out + line;
}

} // namespace toolkit
