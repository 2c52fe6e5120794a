#pragma once

#include <string>
#include <vector>

// The blocks of a document that show commands.

/// One indented block, its commands in order, without their explanations and what they print.
struct ShellBlock {
    unsigned line = 0; ///< of the document, from 1
    std::vector<std::string> commands;
};

/// A block shows commands if its first line begins with "$ ", or with the name of a program that a reader can run. In a
/// block with "$ " the other lines are output; otherwise each line is a command, and what follows two blanks explains it.
std::vector<ShellBlock> shellBlocksOf(const std::string& document);
