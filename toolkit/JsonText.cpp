#include "toolkit/JsonText.h"

#include <array>
#include <cstdio>

namespace toolkit {

namespace {

constexpr unsigned char deleteCharacter = 0x7F;
constexpr unsigned char leadOfControls = 0xC2; ///< U+0080 to U+00BF; those below U+00A0 are control characters
constexpr unsigned char firstPrintable = 0xA0;

std::string escapeOf(unsigned char code) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(code));
    return text.data();
}

} // namespace

std::string jsonText(const nlohmann::json& value) {
    const std::string dumped = value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
    std::string out;
    out.reserve(dumped.size() + 1);
    for (std::size_t i = 0; i < dumped.size(); ++i) {
        const auto byte = static_cast<unsigned char>(dumped[i]);
        const auto next = static_cast<unsigned char>(i + 1 < dumped.size() ? dumped[i + 1] : 0);
        if (byte == deleteCharacter) {
            out += escapeOf(byte);
        } else if (byte == leadOfControls && next < firstPrintable) {
            out += escapeOf(next);
            ++i;
        } else {
            out += dumped[i];
        }
    }
    return out + "\n";
}

} // namespace toolkit
