#pragma once

#include <cstddef>
#include <string>
#include <vector>

// C++ sources as tokens, for the rules about texts and comments.

namespace tree {

struct Token {
    std::size_t line = 0; ///< on which it begins
    bool isLiteral = false;
    std::string text; ///< of a literal: adjacent ones joined, escapes resolved
};

struct Comment {
    std::size_t line = 0;
    std::string text; ///< without its marks; comments on consecutive lines are one, joined by line ends
};

struct SourceText {
    std::vector<Token> tokens; ///< words, signs and string literals; those of includes are left out
    std::vector<Comment> comments;
};

SourceText readSource(const std::string& source);

} // namespace tree
