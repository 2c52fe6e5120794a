#include "tests/support/scripted_server/Frames.h"

namespace frames {

namespace {

int valueOf(char digit) {
    return digit <= '9' ? digit - '0' : digit - 'a' + 10;
}

} // namespace

std::string bytes(std::initializer_list<int> values) {
    std::string text;
    for (const int value : values) {
        text.push_back(static_cast<char>(value));
    }
    return text;
}

std::string word(std::uint32_t value) {
    std::string text;
    for (int i = 0; i < 4; ++i) {
        text.push_back(static_cast<char>(value % 256));
        value /= 256;
    }
    return text;
}

std::string access(std::uint32_t kind, std::uint32_t address, std::uint32_t value) {
    return word(kind) + word(address) + word(value);
}

std::string escaped(std::string_view plain) {
    std::string raw;
    for (const char c : plain) {
        switch (c) {
        case '}':
            raw += "}]";
            break;
        case '#':
            raw += "}\x03";
            break;
        case '$':
            raw += "}\x04";
            break;
        case '*':
            raw += "}\n";
            break;
        default:
            raw += c;
        }
    }
    return raw;
}

std::string unescaped(std::string_view raw) {
    std::string plain;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '}' && i + 1 < raw.size()) {
            ++i;
            plain += static_cast<char>(raw[i] ^ ' ');
        } else {
            plain += raw[i];
        }
    }
    return plain;
}

std::string request(char command, std::string_view arguments) {
    return std::string("$") + command + escaped(arguments) + "#00";
}

std::string dataRecord(std::string_view payload) {
    return "$cb" + escaped(word(7778) + word(static_cast<std::uint32_t>(payload.size()))) + escaped(payload);
}

std::string errorRecord(std::uint32_t code, std::string_view first, std::string_view second) {
    return "$cb" + escaped(word(7779) + word(code) + word(static_cast<std::uint32_t>(first.size()))) + escaped(first) +
           escaped(word(static_cast<std::uint32_t>(second.size()))) + escaped(second);
}

std::string statusRecord(std::uint32_t value) {
    return "$cb" + escaped(word(7780) + word(value));
}

std::string reply(std::string_view payload, std::string_view records) {
    return std::string(records) + "$OK" + escaped(payload) + "#00";
}

std::string awkwardBytes() {
    std::string text;
    for (int i = 0; i < 256; ++i) {
        text.push_back(static_cast<char>(i));
    }
    const std::string special = bytes({'}', '#', '$', '*', 0x00, 0xFF, 0x5D, 0x03, 0x04, 0x0A, 0x20});
    for (const char a : special) {
        for (const char b : special) {
            text += {a, b};
        }
        text += std::string(20, a);
    }
    return text;
}

std::string toHex(std::string_view raw) {
    std::string digits;
    for (const char c : raw) {
        const auto value = static_cast<unsigned char>(c);
        digits += "0123456789abcdef"[value / 16];
        digits += "0123456789abcdef"[value % 16];
    }
    return digits;
}

std::string fromHex(std::string_view digits) {
    std::string raw;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        raw.push_back(static_cast<char>(16 * valueOf(digits[i]) + valueOf(digits[i + 1])));
    }
    return raw;
}

} // namespace frames
