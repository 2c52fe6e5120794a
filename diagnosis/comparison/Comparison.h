#pragma once

#include "diagnosis/comparison/KeptCalibration.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// Two calibrations side by side: what the board does differently, and what the margins make of it.

namespace diagnosis {

/// In samples: bursts of the same board differ by less. See Comparison::equal.
inline constexpr double usualTolerance = 1.0;

/// One data pin in both. Changes are from A to B; nothing where one of the two does not show it.
struct LaneChange {
    std::size_t pin = 0; ///< proc
    std::string title;
    std::optional<double> setupChange, holdChange; ///< of the margins, in samples
    std::optional<double> moved;                   ///< later, with delays and stretches taken out
    std::optional<double> fallLater;               ///< falls against rises, with stretches taken out
};

/// The margin that has shrunk most.
struct Shrink {
    std::size_t pin = 0;
    std::string title;
    bool isSetup = true;
    double samples = 0.0; ///< positive
};

struct Comparison {
    KeptCalibration a, b;
    bool sameRate = false;
    std::vector<LaneChange> lanes;
    std::optional<Shrink> shrink; ///< nothing when no margin of both is known, or none has shrunk
    /// Both are calibrated at the same rate on the same pins, and no pin comes earlier or later, with its falls or as a
    /// whole, by more than the tolerance. Delays and stretches may differ by what noise makes of the same board.
    bool equal = false;
    std::vector<std::string> differences; ///< what is against it, in sentences without their full stop
    double tolerance = usualTolerance;
};

Comparison compare(const KeptCalibration& a, const KeptCalibration& b, double tolerance = usualTolerance);

/// Whether B lacks a data pin of A, or the margins of one.
bool lacksMargins(const Comparison& comparison);
/// A margin has shrunk by more than so many samples or is not known any more, or B is not calibrated where A is, or
/// slower.
bool isWorse(const Comparison& comparison, double allowed);

std::string comparisonText(const Comparison& comparison, std::size_t columns);
/// "a", "b", "lanes", "shrink", "sameRate", "tolerance", "equal", "differences".
nlohmann::json comparisonJson(const Comparison& comparison);
/// `further` is markup after the pins.
std::string comparisonPage(const Comparison& comparison, const std::string& further = {});
/// A page of such parts.
std::string comparisonPageOf(const std::string& title, const std::string& body);

/// "0.8 samples (0.6 ns)".
std::string lengthText(const KeptCalibration& kept, double samples);

} // namespace diagnosis
