#pragma once

#include <array>
#include <cstdint>

// Words of the test patterns that transmitters and the unit's generator send, by number of data pins. Each is repeated
// indefinitely.

namespace Vx::Qrs::Trace::patterns {

using Word = std::uint16_t;

/// On one pin every pattern but the unit's ramp and "ff0" alternates.
inline constexpr std::array<Word, 1> alternation{0x5555};

inline constexpr std::array<Word, 1> f0TwoPins{0x3333};
inline constexpr std::array<Word, 1> f0FourPins{0x0F0F};

inline constexpr std::array<Word, 1> a5TwoPins{0x6666};
inline constexpr std::array<Word, 1> a5FourPins{0x5A5A};

inline constexpr std::array<Word, 3> ff0{0x0FF0, 0xFF0F, 0xF0FF};

inline constexpr std::array<Word, 1> rampTwoPins{0x1B1B};
inline constexpr std::array<Word, 4> rampFourPins{0x0123, 0x4567, 0x89AB, 0xCDEF};

/// The ramp of the unit's own generator.
inline constexpr std::array<Word, 1> unitRampOnePin{0xAAAA};
inline constexpr std::array<Word, 1> unitRampTwoPins{0x6C6C};
inline constexpr std::array<Word, 4> unitRampFourPins{0x1234, 0x5678, 0x9ABC, 0xDEF0};

inline constexpr std::array<Word, 3> walkTwoPins{0x1861, 0x8618, 0x6186};
inline constexpr std::array<Word, 5> walkFourPins{0x0124, 0x8012, 0x4801, 0x2480, 0x1248};

} // namespace Vx::Qrs::Trace::patterns
