#pragma once

#include "diagnosis/verdict/RunVerdict.h"
#include "tests/truth/Judgement.h"
#include "tests/truth/Wirings.h"

#include <array>
#include <string>
#include <vector>

// The verdict on a run, held against what the bench knows about its wiring.
//
// The run's files are those of the calibration. Its comparison with known words is not made but drawn, since the 3e9 bits
// that exclude one error in 1e9 would take longer than all the rest: the number of wrong bits of a lane is a Poisson
// value whose mean is
//
//     bits of the lane * share * errorRate
//
// and, on the first lane, the number of pulses that the clock loses.
//
// with the bench's closed form of the error rate, that of a bit that differs from its neighbours. `share` is the part of
// the compared bits that it holds for: half of them are of "walk", half of "a5", in which every lane changes in every slot,
// against its neighbours. On an unkind board the rate is that of the worst content. Where that is the neighbours' alone,
// as the line settles within a slot, all bits of "a5" have it; otherwise a lane that changes after a long run while both
// neighbours change the other way: one bit in 128 is assumed. A lane in another slot than most has half of its bits wrong.

namespace truth {

/// Bits that are compared in a run: without an error they exclude 1e-9 with 95 % confidence.
inline constexpr std::uint64_t usualComparedBits = 3'000'000'000;

/// The comparison of a run that was calibrated. The same for the same seed.
diagnosis::WordCheck drawWordCheck(std::uint64_t seed, const Verdict& known, const Board& board,
                                   std::uint64_t comparedBits = usualComparedBits);

/// The verdict on a run: its files, the comparison, the receiver's failure.
diagnosis::RunVerdict verdictOn(diagnosis::DiagnosticSet set, const Verdict& known,
                                const std::optional<diagnosis::WordCheck>& words);

/// What the bench knows of a run. A calibration whose clock edges are well inside all eyes is right, whatever the jitter
/// is: here it has to be good for 1e-9, too.
enum class Knowledge {
    right,
    unsafe, ///< by its position right or thin, but a lane has more than one wrong bit in 1e9, or the clock loses pulses
            ///< more often
    thin,
    hit, ///< right or thin, but the comparison met one of its rare wrong bits: a fault is the truth about that run
    refused,
    wrong,
};
Knowledge knowledgeOf(const Verdict& known, const std::optional<diagnosis::WordCheck>& words);

/// How many runs have which verdict.
class VerdictTable {
public:
    void add(std::uint64_t seed, const Verdict& known, const std::optional<diagnosis::WordCheck>& words,
             const diagnosis::RunVerdict& said);
    unsigned count(Knowledge known, diagnosis::RunVerdict::Kind said) const {
        return counts.at(static_cast<std::size_t>(known)).at(static_cast<std::size_t>(said));
    }
    /// The table.
    std::string text() const;
    /// Runs of which the verdict says too much or too little, one line each.
    std::vector<std::string> odd;

private:
    std::array<std::array<unsigned, 4>, 6> counts{};
};

/// Calibrates and judges consecutive seeds.
VerdictTable judgeVerdicts(std::uint64_t firstSeed, unsigned count, bench::ExportKind kind, const Board& board);

} // namespace truth
