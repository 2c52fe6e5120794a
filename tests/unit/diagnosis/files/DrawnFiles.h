#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Diagnostic files drawn up by hand, in the receiver's form.

namespace drawn {

/// The head of a report and of a burst.
std::string head(const std::string& clock = "50.00 MHz", const std::string& oversampling = "28.00 ");

/// A burst with one line of levels for each pin, such as "00110011"; the clock first.
std::string burst(const std::vector<std::string>& pins, const std::string& headText = head());

/// Levels of a pin that changes every `half` samples, first at `first`.
std::string square(std::size_t samples, std::size_t half, std::size_t first);

/// A report on one clock and data pins with these margins.
struct Margin {
    std::uint32_t holdMargin, setupMargin;
};
std::string report(const std::vector<Margin>& margins, const std::string& headText = head(),
                   const std::string& kind = "pti");

/// A register dump of channel 0 with these delays, the clock's first, and the unit's default conditioning.
std::string registers(const std::vector<unsigned>& delays);

/// Bytes of a verification recording of 512 packets. `word` gives the payload, word by word.
std::string packets(const std::function<std::uint16_t(std::size_t)>& word, std::size_t count = 512);
/// The same without trailers.
std::string plainWords(const std::function<std::uint16_t(std::size_t)>& word, std::size_t count = 512);

/// A stream with a synchronisation sequence before every 64 words of a pattern that continues after it.
std::uint16_t framedWord(const std::vector<std::uint16_t>& pattern, std::size_t index);

/// Length of a burst of the receiver.
inline constexpr std::size_t samples = 8192;

extern const std::vector<std::uint16_t> ramp; ///< on four pins
/// A word of the framed ramp.
inline std::uint16_t framed(std::size_t index) {
    return framedWord(ramp, index);
}

/// What becomes of words when each data pin of `dataPins` is replaced: `bitOf` gives the bit that pin `line` shows in
/// a slot of the whole stream.
using LaneBits = std::function<bool(std::size_t slot, std::size_t line)>;
std::function<std::uint16_t(std::size_t)> wordsOf(std::size_t dataPins, const LaneBits& bitOf);
/// The bits of such a stream.
LaneBits lanesOf(std::size_t dataPins, const std::function<std::uint16_t(std::size_t)>& word);

} // namespace drawn
