#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Two scans of margins side by side, from the results that `orvtrace margin` leaves: walls and widths of each lane at each
// rate that both have.

namespace diagnosis {

/// One wall of a lane, in samples.
struct ScannedWall {
    std::string state;            ///< "bound-only", "clipped" and so on
    std::optional<double> margin; ///< of a clipped wall the least that it is
    bool isLeast() const { return state == "clipped"; }
};

struct ScannedLane {
    std::string title;
    ScannedWall setup, hold;
    std::optional<double> width, widthAt1e9;
};

struct ScannedRate {
    double hertz = 0.0;
    double sampleRate = 0.0;
    std::string refusal; ///< why it was not scanned; empty if it was
    bool hasErrors = false;
    std::vector<ScannedLane> lanes;

    bool isSound() const { return !lanes.empty() && !hasErrors; }
};

/// The rates of a scan, slow to fast.
using ScannedMargins = std::vector<ScannedRate>;

/// From the text of a result; `file` is only named. Throws Failure (BadInput).
ScannedMargins parseScannedMargins(std::string_view text, const std::string& file);

/// The result at a place: a file, or the one in the folder of a run or beside a stem; empty if there is none.
std::filesystem::path scannedMarginsAt(const std::filesystem::path& place);

/// What a wall did from A to B. Walls that are cut off have only a least margin: a change is then a bound, or not known.
struct WallChange {
    ScannedWall a, b;
    std::optional<double> change; ///< samples; negative: the margin shrank
    bool isBound = false;         ///< by this much at least
};
WallChange wallChange(const ScannedWall& a, const ScannedWall& b);

struct LaneMarginChange {
    std::string title;
    WallChange setup, hold;
    std::optional<double> widthA, widthB;
    std::optional<double> width1e9A, width1e9B;
};

struct RateMarginChange {
    double hertz = 0.0, sampleRate = 0.0; ///< of B
    std::vector<LaneMarginChange> lanes;
};

struct MarginShrink {
    double hertz = 0.0, sampleRate = 0.0;
    std::string title;
    bool isSetup = true;
    double samples = 0.0; ///< positive
    bool isBound = false;
};

struct MarginComparison {
    std::vector<RateMarginChange> rates; ///< that both have scanned
    std::vector<double> lost;            ///< hertz of rates that are sound in A and not in B
    std::vector<std::string> onlyInOne;  ///< sentences about the rates and lanes that cannot be compared
    std::optional<MarginShrink> shrink;  ///< the largest
};
MarginComparison compareMargins(const ScannedMargins& a, const ScannedMargins& b);

/// A margin has shrunk by more than so many samples, or a rate was lost.
bool isWorse(const MarginComparison& comparison, double allowed);

std::string marginComparisonText(const MarginComparison& comparison, std::size_t columns);
/// "rates", "lost", "onlyInOne", "shrink".
nlohmann::json marginComparisonJson(const MarginComparison& comparison);
/// A part of a page.
std::string marginComparisonMarkup(const MarginComparison& comparison);
std::string marginComparisonPage(const MarginComparison& comparison);

} // namespace diagnosis
