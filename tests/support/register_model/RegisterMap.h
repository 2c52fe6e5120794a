#pragma once

#include <cstdint>

// Which registers the capture unit has, written down here by their numbers and not taken from the client's own names.

namespace register_model {

inline constexpr std::uint32_t numChannels = 4;
inline constexpr std::uint32_t numProcs = 8;

enum class Access { None, ReadOnly, ReadWrite };

Access accessOf(std::uint32_t kind, std::uint32_t address);

} // namespace register_model
