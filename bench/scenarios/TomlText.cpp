#include "bench/scenarios/TomlText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace bench {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view blanks = " \t\r\n\v\f";

bool isAscii(char character) {
    return static_cast<unsigned char>(character) < 0x80;
}

/// Size in bytes of the UTF-8 character at the start of the text; 0 if there is none.
std::size_t characterSize(std::string_view text) {
    struct Form {
        unsigned mask;
        unsigned lead;
        std::uint32_t lowest; // lower code points have shorter forms
    };
    static constexpr std::array<Form, 4> forms{Form{0x80, 0x00, 0}, Form{0xE0, 0xC0, 0x80}, Form{0xF0, 0xE0, 0x800},
                                               Form{0xF8, 0xF0, 0x10000}};
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    for (std::size_t size = 1; size <= forms.size() && size <= text.size(); ++size) {
        const Form& form = forms.at(size - 1);
        if ((byte(0) & form.mask) != form.lead) {
            continue;
        }
        std::uint32_t value = byte(0) & ~form.mask;
        for (std::size_t index = 1; index < size; ++index) {
            if ((byte(index) & 0xC0U) != 0x80) {
                return 0;
            }
            value = value << 6 | (byte(index) & 0x3FU);
        }
        const bool surrogate = value >= 0xD800 && value < 0xE000;
        return value >= form.lowest && value < 0x110000 && !surrogate ? size : 0;
    }
    return 0;
}

/// Scans a text once and keeps the TOML state of the current position.
class Scanner {
public:
    explicit Scanner(std::string_view whole) : rest(whole) {}

    /// The first error; empty at the end of the text.
    std::string run();
    std::size_t line = 1;
    std::size_t column = 1;

private:
    std::string inString();
    std::string afterBackslash(bool severalLines);
    std::string outside();
    bool stringMayBegin() const;
    void note(char structural);
    void step(std::size_t bytes);
    bool take(std::string_view expected);

    std::string_view rest;
    std::string end;      // of the string or comment, empty outside
    char previous = '\n'; // outside of both, without blanks
    unsigned depth = 0;   // of brackets
    bool inHeader = false;
    bool inValue = false; // on this line, outside of brackets
};

std::string Scanner::run() {
    if (rest.starts_with(byteOrderMark)) {
        rest.remove_prefix(byteOrderMark.size());
    }
    while (!rest.empty()) {
        const std::size_t size = characterSize(rest);
        if (size == 0) {
            return "this is not UTF-8; save the file as UTF-8";
        }
        if (!end.empty()) {
            if (std::string fault = inString(); !fault.empty()) {
                return fault;
            }
        } else if (size > 1) {
            return "a character beyond ASCII must be in quotation marks or in a comment";
        } else if (std::string fault = outside(); !fault.empty()) {
            return fault;
        }
    }
    return {};
}

/// Anywhere else the parser continues the current token, such as a number, and sees no string.
bool Scanner::stringMayBegin() const {
    constexpr std::string_view beforeStrings = "\n=,[{";
    const bool dottedKey = previous == '.' && (inHeader || (depth == 0 && !inValue));
    return dottedKey || beforeStrings.find(previous) != std::string_view::npos;
}

std::string Scanner::outside() {
    for (const std::string_view mark : {"\"\"\"", "'''", "\"", "'"}) {
        if (!rest.starts_with(mark)) {
            continue;
        }
        if (!stringMayBegin()) {
            return "a string must not begin here";
        }
        take(mark);
        end = mark;
        previous = mark.front();
        return {};
    }
    const char character = rest.front();
    if (character == '#') {
        end = "\n";
    } else if (character == '\n' || blanks.find(character) == std::string_view::npos) {
        note(character);
    }
    step(1);
    return {};
}

void Scanner::note(char structural) {
    if (structural == '[' && depth == 0 && previous == '\n') {
        inHeader = true;
    }
    if (structural == '[' || structural == '{') {
        ++depth;
    } else if ((structural == ']' || structural == '}') && depth > 0) {
        --depth;
    } else if (structural == '=') {
        inValue = true;
    }
    if (structural == '\n' && inHeader) {
        depth = 0;
    }
    if (structural == '\n' && depth == 0) {
        inHeader = inValue = false;
    }
    previous = structural;
}

std::string Scanner::inString() {
    const bool severalLines = end.size() == 3;
    if (rest.front() == '\n' && !severalLines) {
        end.clear(); // of a comment; the parser rejects a string
        return {};
    }
    if (take(end)) {
        // A multi-line string may end in up to two quotation marks that belong to it.
        for (int more = 0; severalLines && more < 2; ++more) {
            take(std::string_view(end).substr(0, 1));
        }
        end.clear();
        return {};
    }
    if (rest.front() == '\\' && end.front() == '"') {
        step(1);
        return afterBackslash(severalLines);
    }
    step(characterSize(rest));
    return {};
}

/// After a blank or a line end the string continues at the next other character.
std::string Scanner::afterBackslash(bool severalLines) {
    const bool continues = severalLines && rest.find_first_of(blanks) == 0;
    if (!continues && !rest.empty() && isAscii(rest.front())) {
        step(1);
    }
    while (continues && rest.find_first_of(blanks) == 0) {
        step(1);
    }
    if (severalLines && !rest.empty() && !isAscii(rest.front())) {
        return "a character beyond ASCII must not follow a backslash; begin the next line with another one";
    }
    return {};
}

void Scanner::step(std::size_t bytes) {
    if (rest.front() == '\n') {
        ++line;
        column = 1;
    } else {
        ++column;
    }
    rest.remove_prefix(bytes);
}

bool Scanner::take(std::string_view expected) {
    if (!rest.starts_with(expected)) {
        return false;
    }
    for (std::size_t count = 0; count < expected.size(); ++count) {
        step(1);
    }
    return true;
}

} // namespace

std::string tomlTextFault(std::string_view text, const std::string& file) {
    // The parser handles pure ASCII correctly, with better messages.
    if (std::all_of(text.begin(), text.end(), isAscii)) {
        return {};
    }
    Scanner scanner(text);
    const std::string fault = scanner.run();
    if (fault.empty()) {
        return {};
    }
    return file + ":" + std::to_string(scanner.line) + ":" + std::to_string(scanner.column) + ": " + fault;
}

} // namespace bench
