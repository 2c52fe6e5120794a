#pragma once

#include "client/analysis/Cal.h"

#include <array>
#include <cstdint>

// Results of the analysis of a burst of samples. Distances and delays are in samples.

namespace VX_QRS::ORV::CLIENT {

/// Correlations are kept for lags of -31 to 31, lag k at index k + 31.
inline constexpr std::int32_t maxLag = 31;

class ProcMetrics {
public:
    virtual ~ProcMetrics() = default;
    std::array<double, 64> correlation{}; ///< against the reference pin; the last entry is unused
    double correlationAtZero = 0.0;       ///< at lag 0, at the final setting
    std::uint32_t ringing = 0;
    std::uint32_t reserved = 0;
    std::uint32_t glitches = 0;
    std::uint32_t edges = 0;
    std::int32_t delay = 0;
    std::int32_t stretch = 0;
    std::uint32_t ones = 0;
    std::uint32_t zeros = 0;
    std::uint32_t marginBefore = notSet; ///< hold margin: least distance from a data edge back to a clock edge
    std::uint32_t marginAfter = notSet;  ///< setup margin: least distance from a data edge on to a clock edge
};

class Metrics {
public:
    explicit Metrics(std::uint32_t count = 8) : numProcs(count) {}
    Metrics(const Metrics& other) { *this = other; }
    /// Copies the number of procs and that many entries.
    Metrics& operator=(const Metrics& other);
    virtual ~Metrics() = default;

    std::array<ProcMetrics, 8> proc;
    std::uint32_t numProcs = 8;
};

/// Fill of the oversample FIFOs.
class OvsStats {
public:
    struct Entry {
        bool flagged = false;
        bool filled = false;
        std::uint32_t level = 0xFFFFFFFF; ///< words held; until read, all ones
    };

    explicit OvsStats(std::uint32_t count) : numProcs(count) {}
    virtual ~OvsStats() = default;
    bool isEmpty() const;
    bool isFilled() const;

    std::array<Entry, 8> entry;
    std::uint32_t numProcs;
};

} // namespace VX_QRS::ORV::CLIENT
