#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

// One wall of an eye, as a Gaussian tail fitted to counts of errors.

namespace diagnosis {

/// A count at one setting. `x` is in samples and grows into the eye.
struct WallTap {
    double x = 0.0;
    std::uint64_t errors = 0;
    std::uint64_t opportunities = 0; ///< places where a sample of the neighbouring slot is an error
};

/// Errors per opportunity at x: tail((x - position) / deviation), fitted by maximum likelihood. Bounded jitter, such as
/// that of the unit's own sampling grid, and edges that rise and fall at different times make the tail that is found too
/// wide: a margin that follows from it is then too small, never too large.
struct WallFit {
    double position = 0.0;   ///< x of the middle of the wall
    double deviation = 0.0;  ///< samples rms
    double deviance = 0.0;   ///< of the counts from the fit
    double fitChance = 1.0;  ///< that counts of such a wall deviate as much
    std::size_t taps = 0;    ///< used
    std::size_t counted = 0; ///< of those, with enough errors
    double deepest = 1.0;    ///< smallest rate that was counted

    /// Where this rate is reached, and the half width of its interval of 95 %.
    double at(double rate) const;
    double halfWidthAt(double rate) const;

    double intercept = 0.0, slope = 0.0; ///< of (x - position) / deviation
    double varIntercept = 0.0, varSlope = 0.0, covariance = 0.0;
};

/// The lowest rate that a claim is made for: the half width of its interval decides about the fit.
inline constexpr double lowestClaim = 1e-12;

enum class FitRefusal {
    None,
    FewTaps,    ///< fewer than three taps with ten errors or more
    NotATail,   ///< errors do not become fewer into the eye
    PoorFit,    ///< the counts are not those of a Gaussian tail
    WideRange,  ///< the interval of the position at lowestClaim is wider than half a sample to either side
    TooShallow, ///< no rate below 1e-4 was counted
};
/// Words for a table, such as "fewer than 3 taps with errors".
const char* refusalText(FitRefusal refusal);

/// Fits the taps whose rate is below a tenth, and the first one without errors. Nothing if no tail can be fitted.
std::optional<WallFit> fitWall(std::span<const WallTap> taps);
/// Why no claim may be made from the fit.
FitRefusal refusalOf(const std::optional<WallFit>& fit, std::span<const WallTap> taps);

/// Where the counts themselves cross a rate, interpolated between taps: certain to a sample. Nothing if no tap is above
/// it, or none below.
std::optional<double> crossingOf(std::span<const WallTap> taps, double rate);

} // namespace diagnosis
