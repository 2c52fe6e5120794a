#pragma once

#include "rcvr/framework/TraceLimits.h"

#include <array>
#include <cstdint>

// Input conditioning and sampling position per pin: found by a calibration and written to the unit.

namespace VX_QRS::ORV::CLIENT {

/// In an unsigned period, calibration or margin field: not set, or no edge seen.
inline constexpr std::uint32_t notSet = Vx::Qrs::Trace::limits::notMeasured;

/// One sampled pin. Proc 0 is the trace clock, 1 and up carry data.
class ProcCal {
public:
    virtual ~ProcCal() = default;
    std::uint32_t rcvrpin = 0;                                ///< the unit's input that this proc samples
    std::uint32_t filter = notSet;                            ///< 0 to 7
    std::uint32_t plateau = notSet;                           ///< 3, 5 or 7
    std::uint32_t debounce = notSet;                          ///< 0 to 8 samples
    std::uint32_t delay = notSet;                             ///< 0 to 31 samples
    std::int32_t stretch = static_cast<std::int32_t>(notSet); ///< -5 to 5 samples per clock period
    std::uint32_t enable = 0;
};

class Cal {
public:
    explicit Cal(std::uint32_t count = 8) : numProcs(count) {}
    Cal(const Cal& other) { *this = other; }
    /// Copies the number of procs and that many entries; the entries past them stay.
    Cal& operator=(const Cal& other);
    virtual ~Cal() = default;

    /// Sets the first `numProcs` entries to the defaults; pin and enable stay.
    void reset();
    /// Replaces unset values of the first `numProcs` entries by those of `defaults`; pin and enable stay.
    void merge(const Cal& defaults);

    std::array<ProcCal, 8> proc;
    std::uint32_t numProcs = 8;
};

} // namespace VX_QRS::ORV::CLIENT
