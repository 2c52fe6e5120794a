#pragma once

#include <cstddef>
#include <cstdint>

// Limits of the capture unit and the form of its trace stream: what the receiver keeps to, and what its files are
// judged by afterwards.

namespace Vx::Qrs::Trace::limits {

// Rates.
inline constexpr double highestClock = 1.2e8;         ///< Hz; faster clocks are not recorded
inline constexpr double highestDataRate = 9.6e8;      ///< bits per second, over all data pins
inline constexpr double lowestAnalysedClock = 1.01e7; ///< Hz; nothing is measured on the pins of slower clocks

/// Setup margin and hold margin together need a clock period divided by this.
inline constexpr double marginDivisor = 3.0;

// Pins and their settings.
inline constexpr std::uint32_t mostPins = 8; ///< with the clock
inline constexpr int highestFilter = 7;
inline constexpr int highestDebounce = 8;                ///< samples
inline constexpr int highestDelay = 31;                  ///< samples
inline constexpr int highestStretch = 5;                 ///< samples in a clock period, in both directions
inline constexpr std::uint32_t notMeasured = 0x7FFFFFFF; ///< in a margin or setting: not set, or no edge seen
inline constexpr std::uint32_t burstWordSamples = 16;    ///< samples of one pin in a word of a burst

/// Plateaus are 3, 5 or 7 samples.
constexpr bool isPlateau(std::uint32_t plateau) {
    return plateau == 3 || plateau == 5 || plateau == 7;
}

// A synchronisation sequence: five zero words or more, the synchronisation word, and one word of any content.
inline constexpr std::uint16_t syncWord = 0x0FF0;
inline constexpr std::uint32_t syncZeros = 5;
inline constexpr std::uint32_t syncLength = syncZeros + 2;

// Packets of a recording: 255 words of payload and a trailer, or payload only.
inline constexpr std::uint32_t packetWords = 256;
inline constexpr std::uint32_t payloadWords = packetWords - 1;
inline constexpr std::uint32_t packetBytes = 2 * packetWords;
inline constexpr std::uint16_t trailerTypeMask = 0xF800;
inline constexpr std::uint16_t trailerTrace = 0x0800;
inline constexpr std::uint16_t trailerOther = 0x1000;

// The verification of a calibration.
inline constexpr std::uint32_t verificationPackets = 512;
inline constexpr std::uint32_t leastVerifiedWords = 1000; ///< of the pattern, for exports with a side band

} // namespace Vx::Qrs::Trace::limits
