#pragma once

#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "toolkit/ExitCode.h"

#include <optional>
#include <string>
#include <string_view>

namespace fuzz {

inline std::string_view textOf(Input input) {
    return {reinterpret_cast<const char*>(input.data()), input.size()};
}

/// The name that readers of the diagnosis get for their messages.
inline constexpr const char* shownName = "f";

/// What such a reader makes of a text; nothing when it rejects it, which has to be in its own words.
template <class Parse>
auto parsed(Parse parse, std::string_view text) -> std::optional<decltype(parse(text, std::string()))> {
    try {
        return parse(text, shownName);
    } catch (const toolkit::Failure& failure) {
        require(failure.code == toolkit::ExitCode::BadInput, failure.what());
        require(std::string_view(failure.what()).starts_with("f:"), failure.what());
        return std::nullopt;
    }
}

/// The four lines at the head of a burst and of a calibration report that were read, without the last one's end.
inline std::string_view ratesOf(std::string_view text) {
    std::size_t end = 0;
    for (int line = 0; line < 4; ++line) {
        end = text.find('\n', end) + 1;
    }
    return text.substr(0, end - 1);
}

} // namespace fuzz
