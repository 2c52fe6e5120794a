#include "host/commands/TerminalText.h"

#include "host/platform/Platform.h"
#include "toolkit/Masked.h"
#include "toolkit/Table.h"
#include "toolkit/Text.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <string_view>

namespace host {

namespace {

constexpr std::size_t narrowestScreen = 60;
constexpr std::size_t continuation = 2;

constexpr const char* red = "\x1b[31m";
constexpr const char* green = "\x1b[32m";
constexpr const char* yellow = "\x1b[33m";
constexpr const char* plain = "\x1b[0m";

/// The first words of lines that judge. Longer ones precede what they begin with.
struct Judging {
    std::string_view word;
    const char* colour;
};
constexpr std::array judging{
    Judging{"verdict: sound", green}, Judging{"verdict: thin", yellow},
    Judging{"verdict: fault", red},   Judging{"verdict: unknown", yellow},
    Judging{"fault:", red},           Judging{"note:", yellow},
    Judging{"accepted", green},       Judging{"rejected:", red},
    Judging{"not calibrated", red},   Judging{"damaged from", red},
    Judging{"sound:", green},         Judging{"ok ", green},
    Judging{"missing ", red},         Judging{"warning ", yellow},
};

std::string colouredLine(std::string line) {
    const std::size_t start = std::min(line.find_first_not_of(' '), line.size());
    const std::string_view text = std::string_view(line).substr(start);
    const auto found =
        std::find_if(judging.begin(), judging.end(), [&](const Judging& each) { return text.starts_with(each.word); });
    if (found == judging.end()) {
        return line;
    }
    line.insert(start + found->word.size(), plain);
    return line.insert(start, found->colour);
}

Colour& chosenColour() {
    static Colour chosen = Colour::Auto;
    return chosen;
}

bool showsColour() {
    switch (chosenColour()) {
    case Colour::Always:
        return true;
    case Colour::Never:
        return false;
    case Colour::Auto:
        break;
    }
    return getEnvironment("NO_COLOR").empty() && outputTakesColour();
}

} // namespace

void useColour(Colour colour) {
    chosenColour() = colour;
}

std::string terminalText(const std::string& text, std::size_t columns, bool coloured) {
    const std::size_t width = std::max(columns, narrowestScreen);
    std::string out;
    for (const toolkit::TextLine& line : toolkit::textLines(text)) {
        std::string whole(line.text);
        const std::size_t indent = std::min(whole.find_first_not_of(' '), whole.size());
        whole = toolkit::wrapped(whole, width, indent + continuation);
        out += (coloured ? colouredLine(whole) : whole) + "\n";
    }
    return out;
}

void printResult(const std::string& text) {
    std::cout << terminalText(toolkit::maskedLines(text), outputColumns(), showsColour());
}

} // namespace host
