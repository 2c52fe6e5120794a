#pragma once

#include <cstddef>
#include <sstream>
#include <string>

namespace tree {

/// Calls `visit` with the number, from 1, and the text of each line.
template <class Visit>
void forEachLine(const std::string& text, Visit visit) {
    std::istringstream in(text);
    std::size_t number = 0;
    for (std::string line; std::getline(in, line);) {
        visit(++number, line);
    }
}

/// The beginning of a breach.
inline std::string at(const std::string& path, std::size_t line) {
    return path + ":" + std::to_string(line) + ": ";
}

} // namespace tree
