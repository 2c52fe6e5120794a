#pragma once

#include "bench/unit/Conditioning.h"
#include "bench/unit/Registers.h"
#include "bench/wiring/Line.h"

#include <array>
#include <cstdint>
#include <optional>

namespace bench {

inline constexpr unsigned fifoDepth = 512;   ///< words
inline constexpr unsigned fifoWordBits = 16; ///< samples in a word

using BurstWords = std::array<std::uint16_t, fifoDepth>;

/// The input of one proc: the run of a transmitter, if there is one, its line to the receiver input, and the
/// conditioning.
struct ProcInput {
    TransmissionPointer transmission;
    Line line;
    ProcSettings settings;
};

/// The samples of one proc from the unit's sample `start` on.
BurstWords takeBurst(const ProcInput& input, std::int64_t start);

/// One oversample FIFO. The samples are computed when the first of them is read.
class OversampleFifo {
public:
    /// Replaces its contents by the samples from `start` on.
    void trigger(const ProcInput& input, std::int64_t start);
    unsigned level() const { return count; }
    std::uint16_t pop(); ///< 0 when empty

private:
    ProcInput source;
    std::int64_t from = 0;
    std::optional<BurstWords> words;
    unsigned count = 0;
};

} // namespace bench
