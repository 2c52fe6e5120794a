#include "diagnosis/margin/WallFit.h"

#include "diagnosis/analysis/LaneMargins.h"
#include "diagnosis/margin/Counting.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace diagnosis {

namespace {

constexpr double highestFitted = 0.1;
constexpr std::uint64_t enoughErrors = 10;
constexpr std::size_t fewestTaps = 3;
constexpr double leastFitChance = 0.01;
constexpr double widestHalf = 0.5;
constexpr double deepEnough = 1e-4;
constexpr double twoSided95 = 1.96;
constexpr int mostSteps = 60;

double tailOf(double q) {
    return 0.5 * std::erfc(q / std::numbers::sqrt2);
}

double densityOf(double q) {
    return std::exp(-0.5 * q * q) / std::sqrt(2.0 * std::numbers::pi);
}

double rateOf(const WallTap& tap) {
    return tap.opportunities == 0 ? 0.0 : static_cast<double>(tap.errors) / static_cast<double>(tap.opportunities);
}

/// The taps to fit, from the wall into the eye.
std::vector<WallTap> chosenOf(std::span<const WallTap> taps) {
    std::vector<WallTap> sorted(taps.begin(), taps.end());
    std::sort(sorted.begin(), sorted.end(), [](const WallTap& a, const WallTap& b) { return a.x < b.x; });
    std::vector<WallTap> chosen;
    for (const WallTap& tap : sorted) {
        if (tap.opportunities == 0 || rateOf(tap) >= highestFitted) {
            continue;
        }
        if (tap.errors == 0 && chosen.empty()) {
            break; // the wall is between two taps
        }
        chosen.push_back(tap);
        if (tap.errors == 0) {
            break;
        }
    }
    return chosen;
}

/// Sums of a weighted straight line.
struct Sums {
    double w = 0.0, x = 0.0, y = 0.0, xx = 0.0, xy = 0.0;
    void add(double weight, double at, double value) {
        w += weight;
        x += weight * at;
        y += weight * value;
        xx += weight * at * at;
        xy += weight * at * value;
    }
    double determinant() const { return w * xx - x * x; }
};

/// A line through the taps with errors, to begin with.
Sums firstSums(const std::vector<WallTap>& taps) {
    Sums sums;
    for (const WallTap& tap : taps) {
        if (tap.errors != 0) {
            sums.add(static_cast<double>(tap.errors), tap.x, deviationsAt(rateOf(tap)));
        }
    }
    return sums;
}

Sums nextSums(const std::vector<WallTap>& taps, double a, double b) {
    Sums sums;
    for (const WallTap& tap : taps) {
        const double q = std::clamp(a + b * tap.x, -8.0, 30.0);
        const double p = std::max(tailOf(q), 1e-300);
        const double slope = densityOf(q);
        const double weight = static_cast<double>(tap.opportunities) * slope * slope / (p * (1.0 - p));
        if (slope > 0.0 && weight > 0.0) {
            sums.add(weight, tap.x, q - (rateOf(tap) - p) / slope);
        }
    }
    return sums;
}

double logLikelihood(const std::vector<WallTap>& taps, double a, double b) {
    double sum = 0.0;
    for (const WallTap& tap : taps) {
        const double p = std::max(tailOf(a + b * tap.x), 1e-300);
        const auto n = static_cast<double>(tap.opportunities);
        const auto k = static_cast<double>(tap.errors);
        sum += k * std::log(p) + (n - k) * std::log1p(-std::min(p, 1.0 - 1e-16));
    }
    return sum;
}

double devianceOf(const std::vector<WallTap>& taps, double a, double b) {
    double sum = 0.0;
    for (const WallTap& tap : taps) {
        const double mean = static_cast<double>(tap.opportunities) * tailOf(a + b * tap.x);
        const auto k = static_cast<double>(tap.errors);
        sum += (k > 0.0 ? k * std::log(k / mean) : 0.0) - (k - mean);
    }
    return 2.0 * std::max(0.0, sum);
}

} // namespace

double WallFit::at(double rate) const {
    return position + deviationsAt(rate) * deviation;
}

double WallFit::halfWidthAt(double rate) const {
    const double q = deviationsAt(rate);
    const double byIntercept = -1.0 / slope;
    const double bySlope = -(q - intercept) / (slope * slope);
    const double variance = byIntercept * byIntercept * varIntercept + bySlope * bySlope * varSlope +
                            2.0 * byIntercept * bySlope * covariance;
    return twoSided95 * std::sqrt(std::max(0.0, variance));
}

const char* refusalText(FitRefusal refusal) {
    switch (refusal) {
    case FitRefusal::FewTaps:
        return "fewer than 3 taps with errors";
    case FitRefusal::NotATail:
        return "errors do not become fewer into the eye";
    case FitRefusal::PoorFit:
        return "the counts are not those of a Gaussian tail";
    case FitRefusal::WideRange:
        return "uncertain by more than half a sample";
    case FitRefusal::TooShallow:
        return "no rate below 1e-4 was counted";
    case FitRefusal::None:
        break;
    }
    return "";
}

std::optional<WallFit> fitWall(std::span<const WallTap> taps) {
    const std::vector<WallTap> chosen = chosenOf(taps);
    const Sums first = firstSums(chosen);
    if (chosen.size() < 2 || first.determinant() <= 0.0) {
        return std::nullopt;
    }
    double b = (first.w * first.xy - first.x * first.y) / first.determinant();
    double a = (first.y - b * first.x) / first.w;
    double best = logLikelihood(chosen, a, b);
    Sums sums = first;
    for (int step = 0; step < mostSteps; ++step) {
        sums = nextSums(chosen, a, b);
        if (sums.determinant() <= 0.0) {
            return std::nullopt;
        }
        double nextB = (sums.w * sums.xy - sums.x * sums.y) / sums.determinant();
        double nextA = (sums.y - nextB * sums.x) / sums.w;
        double likelihood = logLikelihood(chosen, nextA, nextB);
        for (int half = 0; half < 30 && !(likelihood >= best); ++half) { // a full step may go too far
            nextA = (nextA + a) / 2.0;
            nextB = (nextB + b) / 2.0;
            likelihood = logLikelihood(chosen, nextA, nextB);
        }
        const bool settled = std::abs(likelihood - best) < 1e-9;
        a = nextA;
        b = nextB;
        best = likelihood;
        if (settled) {
            break;
        }
    }
    sums = nextSums(chosen, a, b);
    if (!(b > 0.0) || sums.determinant() <= 0.0) {
        return std::nullopt;
    }
    WallFit fit;
    fit.intercept = a;
    fit.slope = b;
    fit.deviation = 1.0 / b;
    fit.position = -a / b;
    fit.varIntercept = sums.xx / sums.determinant();
    fit.varSlope = sums.w / sums.determinant();
    fit.covariance = -sums.x / sums.determinant();
    fit.deviance = devianceOf(chosen, a, b);
    fit.taps = chosen.size();
    fit.fitChance = chiSquareTail(fit.deviance, static_cast<unsigned>(chosen.size()) - 2);
    for (const WallTap& tap : chosen) {
        fit.counted += tap.errors >= enoughErrors ? 1 : 0;
        fit.deepest = tap.errors != 0 ? std::min(fit.deepest, rateOf(tap)) : fit.deepest;
    }
    return fit;
}

FitRefusal refusalOf(const std::optional<WallFit>& fit, std::span<const WallTap> taps) {
    const std::vector<WallTap> chosen = chosenOf(taps);
    const auto counted = std::ranges::count_if(chosen, [](const WallTap& tap) { return tap.errors >= enoughErrors; });
    if (static_cast<std::size_t>(counted) < fewestTaps) {
        return FitRefusal::FewTaps;
    }
    if (!fit) {
        return FitRefusal::NotATail;
    }
    if (fit->fitChance < leastFitChance) {
        return FitRefusal::PoorFit;
    }
    if (fit->deepest > deepEnough) {
        return FitRefusal::TooShallow;
    }
    return fit->halfWidthAt(lowestClaim) > widestHalf ? FitRefusal::WideRange : FitRefusal::None;
}

std::optional<double> crossingOf(std::span<const WallTap> taps, double rate) {
    // A tap without errors has the rate that one half would have: below it, but by no more than was counted.
    const auto shown = [](const WallTap& tap) {
        const double least = 0.5 / std::max(1.0, static_cast<double>(tap.opportunities));
        return deviationsAt(std::clamp(rateOf(tap), least, 0.5));
    };
    std::vector<WallTap> sorted(taps.begin(), taps.end());
    std::erase_if(sorted, [](const WallTap& tap) { return tap.opportunities == 0; });
    std::sort(sorted.begin(), sorted.end(), [](const WallTap& a, const WallTap& b) { return a.x < b.x; });
    for (std::size_t i = sorted.size(); i-- > 1;) { // from the eye outwards
        const WallTap& outer = sorted[i - 1];
        const WallTap& inner = sorted[i];
        if (rateOf(outer) > rate && rateOf(inner) <= rate) {
            const double from = shown(outer);
            const double to = shown(inner);
            const double wanted = deviationsAt(std::min(rate, 0.5));
            const double part = to > from ? std::clamp((wanted - from) / (to - from), 0.0, 1.0) : 0.5;
            return outer.x + part * (inner.x - outer.x);
        }
    }
    return std::nullopt;
}

} // namespace diagnosis
