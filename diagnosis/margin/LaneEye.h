#pragma once

#include "diagnosis/margin/EyeScan.h"
#include "diagnosis/margin/WallFit.h"

#include <optional>
#include <string>
#include <vector>

// The eye of a lane, from the counts of a scan.

namespace diagnosis {

enum class WallState {
    Measured,     ///< counted down to the lowest rate that is reported
    Extrapolated, ///< the counts fit a Gaussian tail, which goes on below them
    BoundOnly,    ///< between two taps; lower rates are not known
    Clipped,      ///< the range of delays ends before it: the margin is at least this
    Closed,       ///< the lane has errors at the kept values
    Unstable,     ///< it moved during the scan, has a hole, or is far from where the burst shows it
    NotMeasured,  ///< the scan ended before
};
/// "measured", "extrapolated", "bound-only" and so on.
const char* wallStateName(WallState state);

/// Rates that walls are reported at: where bits begin to be wrong, and what is claimed beyond the counts.
inline constexpr double wallRate = 1e-3;
inline constexpr double claimedRates[] = {1e-9, 1e-12};

/// A margin that a fit claims, and its half width with 95 % confidence.
struct ClaimedMargin {
    double samples = 0.0;
    double halfWidth = 0.0;
};

/// Margins are distances in samples from the kept values, in the direction of the wall.
struct LaneWall {
    WallState state = WallState::NotMeasured;
    std::optional<double> margin; ///< where one opportunity in a thousand is wrong; the least for a clipped wall
    std::optional<double> middle; ///< where one in four is: the mean of the data's changes, which a burst shows
    int clean = 0;                ///< taps without an error, from the kept values outwards
    std::optional<int> bad;       ///< offset of the first tap past them that has errors
    std::optional<WallFit> fit;   ///< also one that claims nothing
    FitRefusal refusal = FitRefusal::FewTaps;
    std::optional<ClaimedMargin> at1e9, at1e12;
    double deepest = 1.0; ///< errors per opportunity that a tap without errors excludes with 95 % confidence
};

struct LaneEye {
    unsigned lane = 0;
    std::uint64_t keptBits = 0, keptErrors = 0;
    LaneWall setup, hold;

    /// Between the walls at wallRate; nothing if one is not known.
    std::optional<double> width() const;
    std::optional<double> widthAt1e9() const;
    std::optional<double> widthAt1e12() const;
    /// Taps without an error.
    int cleanTaps() const { return keptErrors != 0 ? 0 : setup.clean + hold.clean + 1; }
    /// Whether one of the walls is cut off by the range of delays.
    bool isCut() const { return setup.state == WallState::Clipped || hold.state == WallState::Clipped; }
};

/// The taps of one side as a fit takes them: x grows into the eye, 0 at the kept values.
std::vector<WallTap> wallTaps(const LaneScan& scan, bool setupSide, double transitionShare);

LaneEye eyeOf(unsigned lane, const LaneScan& scan, const ScanPlan& plan);

} // namespace diagnosis
