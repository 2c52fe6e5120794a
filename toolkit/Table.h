#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace toolkit {

/// A text table. A column is as wide as its widest cell; cells are masked.
class Table {
public:
    static constexpr std::size_t unlimited = static_cast<std::size_t>(-1);

    /// One title for each column; a column whose title begins with '>' is right-aligned.
    explicit Table(std::vector<std::string> titles);
    /// Columns without titles, left-aligned.
    explicit Table(std::size_t columnCount, std::string leftMargin = {});

    /// One cell for each column.
    void addRow(const std::vector<std::string>& cells);

    /// Where a line would be longer than `width` characters, its last cell continues on lines of its own if it is left-aligned.
    /// Columns that do not fit follow in a table below, which has the first column again.
    std::string text(std::size_t width = unlimited) const;

private:
    std::string line(const std::vector<std::string>& cells, const std::vector<std::size_t>& columns,
                     std::size_t width) const;
    std::vector<std::vector<std::size_t>> blocks(std::size_t width) const;

    std::vector<bool> rightAligned;
    std::string margin;
    std::vector<std::vector<std::string>> rows;
    std::vector<std::size_t> widths;
};

/// Breaks a line between words so that no part exceeds `width`; parts after the first begin with `indent` blanks.
/// A word that is longer than that stays whole, on a line of its own.
std::string wrapped(std::string line, std::size_t width, std::size_t indent);

} // namespace toolkit
