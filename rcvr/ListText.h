#pragma once

#include <cstdint>
#include <string>

// Lists as the channel's properties hold them: one text, entries separated by ",".

namespace Vx::Qrs::Trace::OrvRcvr {

/// 0 for an empty list, otherwise one more than there are commas.
std::uint32_t countListEntries(const std::string& list);

/// Entry `index`, counted from 0. The last entry, which no comma follows, loses its last character; hosts rely on
/// that. An empty list returns the empty text. Throws Error past the end.
std::string pickListEntry(const std::string& list, std::uint32_t index);

} // namespace Vx::Qrs::Trace::OrvRcvr
