#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// The examples in documents: indented blocks, those that are tested under a mark of their own.

namespace tree {

/// The block after `<!-- test: NAME -->`, without its indentation; lines end in "\n". Empty without such a block.
std::string exampleOf(const std::string& document, const std::string& name);

/// One line of annotated bytes: the offset or arrow before them, and the bytes.
struct HexLine {
    std::string head;
    std::string bytes;
};

/// Lines of pairs of digits; two blanks or more precede the annotation.
std::vector<HexLine> hexLinesOf(const std::string& block);

/// A section of a document: its heading without the marks, and the lines up to the next heading.
struct Section {
    std::string heading;
    std::string text;
};
std::vector<Section> sectionsOf(const std::string& document, const std::string& marks);

/// The indented lines of a text, without their indentation.
std::string indentedOf(const std::string& text);

/// The cells of the first table in a text, its head and its rule left out.
std::vector<std::vector<std::string>> tableOf(const std::string& text);

} // namespace tree
