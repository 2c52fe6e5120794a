#pragma once

#include "diagnosis/verdict/RunVerdict.h"
#include "tests/truth/FaultyWirings.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

// The first cause that the verdict names, against the fault that was planted.

namespace truth {

/// What the verdict on a run with a planted fault says.
struct Cause {
    std::string slug; ///< of the first reason; of a sound run the first finding's, or "none"
    std::string text;
    bool isRight = false;    ///< the planted fault, on its pins
    bool isHarmless = false; ///< nothing is said, and nothing is wrong: the calibration has taken the fault out
};

/// Calibrates, records trace where the fault needs it, and judges the files, which are in `folder` meanwhile. A copy of
/// them stays in `kept`.
Cause causeOf(const FaultyWiring& wiring, const std::filesystem::path& folder,
              const std::optional<std::filesystem::path>& kept = std::nullopt);

/// The clock, in Hz, that a wiring's calibration keeps where it is right and its verdict sound; nothing otherwise, as a
/// thin margin would be a cause of its own.
std::optional<double> soundClock(const bench::Scenario& scenario);

/// How often the first cause of each fault is right.
class CauseTable {
public:
    void add(Fault fault, std::uint64_t seed, const Cause& cause);
    unsigned planted(Fault fault) const { return rowOf(fault).planted; }
    unsigned right(Fault fault) const { return rowOf(fault).right; }
    std::string text() const;
    /// Runs with another cause, one line each.
    std::vector<std::string> odd;

private:
    struct Row {
        unsigned planted = 0;
        unsigned right = 0;
        std::map<std::string, unsigned> others; ///< by slug
    };
    const Row& rowOf(Fault fault) const { return rows.at(static_cast<std::size_t>(fault)); }
    std::array<Row, faults.size()> rows;
};

/// Plants a fault into the first `count` sound wirings that have a place for it, from a seed on, and that are not right
/// all the same. With a folder the files of every run with another cause stay there, by fault and seed.
void judgeCauses(Fault fault, std::uint64_t firstSeed, unsigned count, CauseTable& table,
                 const std::optional<std::filesystem::path>& kept = std::nullopt);

} // namespace truth
