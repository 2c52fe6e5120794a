#include "tests/road/documents/ShellBlocks.h"

#include <algorithm>
#include <regex>
#include <sstream>

namespace {

constexpr const char* indentation = "    ";

bool showsCommands(const std::string& line) {
    static const std::regex command(
        R"(^(\$ .*|(\w+=\S+ )*(\./[a-z]+|[a-z]+/\S+|orvtrace|cd|export|mkdir|time|cmake|ctest|cpack|gcovr)( .*|$)))");
    return std::regex_match(line, command);
}

bool isComment(const std::string& line) {
    return line.starts_with("# ");
}

ShellBlock blockOf(unsigned line, const std::vector<std::string>& lines) {
    ShellBlock block{line, {}};
    const bool withOutput = std::any_of(lines.begin(), lines.end(), [](const auto& l) { return l.starts_with("$ "); });
    bool continued = false;
    for (const std::string& text : lines) {
        if (isComment(text) || (withOutput && !text.starts_with("$ "))) {
            continue;
        }
        std::string command = withOutput ? text.substr(2) : text;
        const bool continues = command.ends_with('\\');
        if (continues) {
            command.pop_back();
        }
        command.erase(0, command.find_first_not_of(' '));
        command.erase(std::min(command.size(), command.find("  ")));
        command.erase(command.find_last_not_of(' ') + 1);
        if (continued) {
            block.commands.back() += " " + command;
        } else {
            block.commands.push_back(command);
        }
        continued = continues;
    }
    return block;
}

} // namespace

std::vector<ShellBlock> shellBlocksOf(const std::string& document) {
    std::vector<ShellBlock> blocks;
    std::vector<std::string> lines;
    unsigned number = 0;
    const auto end = [&] {
        const auto first = std::find_if_not(lines.begin(), lines.end(), isComment);
        if (first != lines.end() && showsCommands(*first)) {
            blocks.push_back(blockOf(number - static_cast<unsigned>(lines.size()), lines));
        }
        lines.clear();
    };
    std::istringstream in(document + "\n");
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.starts_with(indentation)) {
            lines.push_back(line.substr(std::string(indentation).size()));
        } else {
            end();
        }
    }
    ++number;
    end();
    return blocks;
}
