#pragma once

#include "tests/truth/Judgement.h"
#include "tests/truth/Wirings.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace truth {

/// Outcomes by rate, and how well skews were recovered.
class TruthTable {
public:
    /// One wiring. The order of the seeds is that of their letters.
    void add(std::uint64_t seed, const Verdict& verdict);

    unsigned count(Outcome outcome) const;
    unsigned total() const;
    /// The text of a baseline: the table per rate, a letter for each wiring, and the reasons.
    std::string text(const std::string& title) const;

    struct Case {
        std::uint64_t seed;
        bool sameSlot;
        std::string report;
    };
    std::vector<Case> wrong;

private:
    struct Row {
        std::array<unsigned, 4> counts{};
        double skewErrors = 0.0;
        double worstSkewError = 0.0;
        unsigned skews = 0;
        void add(const Verdict& verdict);
        std::string text(const std::string& head) const;
    };

    std::map<unsigned, Row> byRate; ///< by the row's lowest rate in MHz
    Row all;
    std::map<std::string, unsigned> reasons;
    std::string letters;
    std::uint64_t firstSeed = 0;
};

/// Calibrates and judges the wirings of that many consecutive seeds. The table does not depend on the number of threads.
TruthTable judgeMany(std::uint64_t firstSeed, unsigned count, bench::ExportKind kind, const Board& board = kindBoard,
                     unsigned threads = 1);
/// Continues a table of consecutive seeds until it has that many.
void judgeUpTo(unsigned count, TruthTable& table, std::uint64_t firstSeed, bench::ExportKind kind,
               const Board& board = kindBoard);

/// Compares a table with a baseline. Empty when they are the same, otherwise a text with the changed wirings and how to
/// renew the file. With ORV_TRUTH_RENEW set the file is written instead.
std::string differenceFrom(const std::filesystem::path& baseline, const std::string& text);

} // namespace truth
