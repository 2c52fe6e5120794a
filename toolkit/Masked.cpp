#include "toolkit/Masked.h"

#include <cstdio>
#include <iostream>

namespace toolkit {

namespace {

bool isControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character.front());
    if (character.size() == 1) {
        return first < ' ' || first == 0x7F;
    }
    // U+0080 to U+009F: some terminals obey them as they do an escape sequence.
    return character.size() == 2 && first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

std::string withMarks(std::string_view text, bool keepLineEnds) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        const bool kept = length != 0 && (!isControl(character) || (keepLineEnds && character == "\n"));
        if (kept) {
            out += character;
        } else {
            out += '?';
        }
        text.remove_prefix(character.size());
    }
    return out;
}

} // namespace

std::size_t characterLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xC2 ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF5 ? 4
                                              : 0;
    if (length == 0 || length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    return length;
}

std::string masked(std::string_view text) {
    return withMarks(text, false);
}

std::string maskedLines(std::string_view text) {
    return withMarks(text, true);
}

void printText(std::string_view text) {
    std::cout << maskedLines(text);
}

void printNotice(std::string_view text) {
    std::fprintf(stderr, "orvtrace: %s\n", masked(text).c_str());
}

} // namespace toolkit
