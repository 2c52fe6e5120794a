#include "toolkit/Masked.h"

#include <algorithm>
#include <bit>
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

/// Whether the second byte of three or four is one of a character: shorter forms exist for lower ones, and surrogates
/// and what follows U+10FFFF are none.
bool continuesCharacter(unsigned char first, unsigned char second) {
    switch (first) {
    case 0xE0:
        return second >= 0xA0;
    case 0xED:
        return second < 0xA0;
    case 0xF0:
        return second >= 0x90;
    case 0xF4:
        return second < 0x90;
    default:
        return true;
    }
}

enum class LineEnds { Keep, Mask };

std::string withMarks(std::string_view text, LineEnds lineEnds) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        const bool kept = length != 0 && (!isControl(character) || (lineEnds == LineEnds::Keep && character == "\n"));
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
    const auto first = static_cast<unsigned char>(text.front());
    const auto lead = static_cast<std::size_t>(std::countl_one(first));
    const std::size_t length = std::max<std::size_t>(lead, 1);
    if (lead == 1 || first == 0xC0 || first == 0xC1 || first > 0xF4 || length > text.size()) {
        return 0;
    }
    const auto follows = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    if (!std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length), follows)) {
        return 0;
    }
    return length > 2 && !continuesCharacter(first, static_cast<unsigned char>(text[1])) ? 0 : length;
}

std::string masked(std::string_view text) {
    return withMarks(text, LineEnds::Mask);
}

std::string maskedLines(std::string_view text) {
    return withMarks(text, LineEnds::Keep);
}

void printText(std::string_view text) {
    std::cout << maskedLines(text);
}

void printNotice(std::string_view text) {
    std::fprintf(stderr, "orvtrace: %s\n", masked(text).c_str());
}

} // namespace toolkit
