#pragma once

#include "bench/signal/SlotLevels.h"
#include "bench/unit/DataPath.h"
#include "bench/wiring/ContentShift.h"

#include <array>
#include <cstdint>
#include <vector>

namespace bench {

/// The probabilities of a wrong bit on a data line whose edges depend on the content, slot by slot. The path must
/// outlive it, and have ProcPath::edges.
class ContentChances {
public:
    ContentChances(const Transmission& transmission, const ProcPath& path);

    /// Of a slot: to sample the preceding slot or the next one, and to lose a pulse of this single slot. 0 where the
    /// level does not differ.
    double early(std::int64_t slot);
    double late(std::int64_t slot);
    double lost(std::int64_t slot);

private:
    // The chances of an edge by its shift, computed when first wanted, linear in between.
    class Curve {
    public:
        Curve(double from, double to);
        template <class Chance>
        double at(double shift, Chance&& chance);

    private:
        double lowest;
        std::vector<double> nodes;
    };

    bool hasEdge(std::int64_t slot) { return levels(bit, slot) != levels(bit, slot - 1); }
    double usual(bool level) const { return level ? timing.rise : timing.fall; }

    const PathTiming& timing;
    const EdgeChances& edges;
    ContentShift content;
    SlotLevels levels;
    unsigned bit;
    std::array<Curve, 2> earlyCurves; // of falls and rises
    std::array<Curve, 2> lateCurves;
};

} // namespace bench
