#pragma once

#include "diagnosis/faster/NextRate.h"
#include "tests/truth/TuneTruth.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What would buy the next rate, claimed from measurements on the bench's unit, and held against a calibration with the
// wire moved.

namespace truth {

/// The calibration's pattern and a search at every usable setting above `kept`, fast to slow.
std::vector<diagnosis::faster::RefusedRate> measureRefused(bench_client::BenchRig& rig, unsigned kept);

/// Whether a calibration of the wiring with one data wire moved keeps a faster setting, with no bit wrong at 1e-9.
bool isBought(const bench::Scenario& scenario, std::size_t lane, int samples, unsigned kept);

struct NextRateTable {
    unsigned wirings = 0;
    unsigned notSound = 0; ///< refused, or kept with wrong or few margins
    unsigned fastest = 0;  ///< kept at the fastest usable setting
    unsigned candidates = 0;
    unsigned claimed = 0, right = 0, thin = 0; ///< thin: a faster rate is kept, with less than 1e-9
    unsigned possibleSafe = 0;                 ///< the same with a sample more and less
    unsigned possible = 0;                     ///< of those not claimed: a single move in the search's range does it
    std::vector<std::string> lines;            ///< claims that are wrong, and with `tells` those that were possible
    std::string text() const;
};
/// `exhaustive`: tries all single moves where no claim is made.
NextRateTable judgeNextRates(std::uint64_t firstSeed, unsigned wirings, bench::ExportKind kind, bool exhaustive);

} // namespace truth
