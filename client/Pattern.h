#pragma once

#include <cstdint>

// What a named test pattern looks like in 16-bit trace words.

namespace VX_QRS::ORV::CLIENT {

class Pattern {
public:
    virtual ~Pattern() = default;
    /// The share of ones on a pin, 0 to 1.
    virtual double onesRatio() = 0;
    /// True when `current` is a fault after `previous`. `synced` is the caller's memory of the pattern lock: the first
    /// word after a fault, or at the start, is accepted unchecked. Throws Exception for a pin count without an image.
    virtual bool check(std::uint16_t previous, std::uint16_t current, bool& synced) = 0;
};

/// A new pattern, the caller's to delete. Throws Exception for a null or unknown name. `numPins` counts data pins.
Pattern* createPattern(const char* name, std::uint32_t numPins);

/// Judges a recording of a pattern, `numPackets` packets of 512 bytes from `firstPacket` on (0: all that follow).
/// The last three counts are stored on success only. Throws Exception: eVALUE for a pattern fault, with a text that
/// names the first of them; eFILE for a file that cannot be read.
void verifyPatternFile(Pattern& pattern, const char* path, std::uint32_t firstPacket, std::uint32_t numPackets,
                       std::uint32_t& tracePackets, std::uint32_t& otherPackets, std::uint32_t& dataWords,
                       std::uint32_t& syncWords, std::uint32_t& zeroWords);

} // namespace VX_QRS::ORV::CLIENT
