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

std::string Table::line(const std::vector<std::string>& cells, std::size_t width) const {
    std::string out = margin;
    std::size_t lastStart = lengthOf(margin);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string padding(widths[i] - lengthOf(cells[i]), ' ');
        out += (i == 0 ? "" : gap) + (rightAligned[i] ? padding + cells[i] : cells[i] + padding);
        lastStart += i + 1 < cells.size() ? widths[i] + gapWidth : 0;
    }
    out.erase(out.find_last_not_of(' ') + 1);
    const bool wraps = width > lastStart + narrowest && !rightAligned.back();
    return (wraps ? wrapped(out, width, lastStart) : out) + "\n";
}

std::string Table::text(std::size_t width) const {
    std::string out;
    for (const std::vector<std::string>& row : rows) {
        out += line(row, width);
    }
    return out;
}

std::string wrapped(std::string line, std::size_t width, std::size_t indent) {
    std::string out;
    while (lengthOf(line) > width) {
        const std::size_t blank = line.find_last_of(' ', width);
        if (blank == std::string::npos || blank <= indent) {
            break;
        }
        out += line.substr(0, blank) + "\n";
        line = std::string(indent, ' ') + line.substr(blank + 1);
    }
    return out + line;
}

} // namespace toolkit
