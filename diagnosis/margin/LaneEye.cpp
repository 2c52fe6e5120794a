#include "diagnosis/margin/LaneEye.h"

#include "diagnosis/margin/Counting.h"

#include <algorithm>
#include <cmath>

namespace diagnosis {

namespace {

constexpr double middleRate = 0.25;
constexpr double holeRate = 1e-3;
constexpr double elsewhere = 3.0; ///< samples between a wall and where the burst shows it

const LaneTap* tapAt(const LaneScan& scan, int offset) {
    const auto at = std::ranges::find_if(scan.taps, [=](const LaneTap& tap) { return tap.offset == offset; });
    return at == scan.taps.end() ? nullptr : &*at;
}

/// Taps without errors from the kept values outwards, and the first one that has some.
void findClean(LaneWall& wall, const LaneScan& scan, int step, double share) {
    for (int offset = step;; offset += step) {
        const LaneTap* tap = tapAt(scan, offset);
        if (tap == nullptr) {
            return;
        }
        if (tap->beyond || countOf(*tap, share).errors != 0) {
            wall.bad = offset;
            return;
        }
        ++wall.clean;
    }
}

/// A tap without errors further out than one with many.
bool hasHole(const LaneScan& scan, int step, double share) {
    bool wasBad = false;
    for (int offset = step; const LaneTap* tap = tapAt(scan, offset); offset += step) {
        if (tap->beyond) {
            return false;
        }
        const double rate = countOf(*tap, share).rate();
        if (wasBad && countOf(*tap, share).errors == 0) {
            return true;
        }
        wasBad = wasBad || rate > holeRate;
    }
    return false;
}

/// The burst shows the wall at another place: counts and burst do not describe the same eye.
bool isElsewhere(const LaneWall& wall, const ScanPlan& plan, std::size_t lane, bool isSetup) {
    const auto& expected = lane < plan.expected.size() ? plan.expected[lane] : std::nullopt;
    return expected && wall.middle && std::abs(*wall.middle - (isSetup ? expected->setup : expected->hold)) > elsewhere;
}

double deepestOf(const LaneScan& scan, int step, double share) {
    double deepest = 1.0;
    for (const LaneTap& tap : scan.taps) {
        const SlotCount count = countOf(tap, share);
        if (tap.offset * step > 0 && !tap.beyond && count.errors == 0) {
            deepest = std::min(deepest, rateBelow(0, count.opportunities));
        }
    }
    return deepest;
}

void claim(LaneWall& wall) {
    const WallFit& fit = *wall.fit;
    wall.at1e9 = ClaimedMargin{-fit.at(claimedRates[0]), fit.halfWidthAt(claimedRates[0])};
    wall.at1e12 = ClaimedMargin{-fit.at(claimedRates[1]), fit.halfWidthAt(claimedRates[1])};
}

LaneWall wallOf(const LaneScan& scan, const ScanPlan& plan, std::size_t lane, bool isSetup, bool isClosed) {
    const double share = plan.transitionShare;
    const int step = isSetup ? -1 : 1;
    LaneWall wall;
    findClean(wall, scan, step, share);
    wall.deepest = deepestOf(scan, step, share);
    const std::vector<WallTap> taps = wallTaps(scan, isSetup, share);
    if (isClosed) {
        wall.state = WallState::Closed;
        return wall;
    }
    const auto negated = [](std::optional<double> x) { return x ? std::optional(-*x) : x; };
    wall.margin = negated(crossingOf(taps, wallRate));
    wall.middle = negated(crossingOf(taps, middleRate));
    const bool reached = isSetup ? scan.setupReached : scan.holdReached;
    const int end = isSetup ? scan.lowest : scan.highest;
    if (!reached) {
        const bool atEnd = end == 0 || tapAt(scan, end) != nullptr;
        wall.state = atEnd ? WallState::Clipped : WallState::NotMeasured;
        wall.margin = wall.margin ? wall.margin : std::optional<double>(wall.clean);
        return wall;
    }
    if ((isSetup ? scan.setupMoved : scan.holdMoved) || hasHole(scan, step, share) ||
        isElsewhere(wall, plan, lane, isSetup)) {
        wall.state = WallState::Unstable;
        return wall;
    }
    wall.fit = fitWall(taps);
    wall.refusal = refusalOf(wall.fit, taps);
    wall.state = WallState::BoundOnly;
    if (wall.refusal == FitRefusal::None) {
        claim(wall);
        wall.state = wall.deepest <= claimedRates[1] ? WallState::Measured : WallState::Extrapolated;
    }
    return wall;
}

std::optional<double> sumOf(const std::optional<ClaimedMargin>& one, const std::optional<ClaimedMargin>& other) {
    return one && other ? std::optional(std::max(0.0, one->samples + other->samples)) : std::nullopt;
}

} // namespace

const char* wallStateName(WallState state) {
    switch (state) {
    case WallState::Measured:
        return "measured";
    case WallState::Extrapolated:
        return "extrapolated";
    case WallState::BoundOnly:
        return "bound-only";
    case WallState::Clipped:
        return "clipped";
    case WallState::Closed:
        return "closed";
    case WallState::Unstable:
        return "unstable";
    case WallState::NotMeasured:
        break;
    }
    return "not-measured";
}

std::optional<double> LaneEye::width() const {
    return setup.margin && hold.margin ? std::optional(*setup.margin + *hold.margin) : std::nullopt;
}

std::optional<double> LaneEye::widthAt1e9() const {
    return sumOf(setup.at1e9, hold.at1e9);
}

std::optional<double> LaneEye::widthAt1e12() const {
    return sumOf(setup.at1e12, hold.at1e12);
}

std::vector<WallTap> wallTaps(const LaneScan& scan, bool setupSide, double transitionShare) {
    std::vector<WallTap> taps;
    for (const LaneTap& tap : scan.taps) {
        if (setupSide ? tap.offset > 0 : tap.offset < 0) {
            continue;
        }
        const double x = setupSide ? tap.offset : -tap.offset;
        if (tap.beyond) {
            taps.push_back({x, 1, 1});
            continue;
        }
        const SlotCount count = countOf(tap, transitionShare);
        taps.push_back({x, count.errors, count.opportunities});
    }
    return taps;
}

LaneEye eyeOf(unsigned lane, const LaneScan& scan, const ScanPlan& plan) {
    LaneEye eye;
    eye.lane = lane;
    bool isClosed = false;
    if (const LaneTap* kept = tapAt(scan, 0)) {
        eye.keptBits = kept->bits;
        eye.keptErrors = kept->errors;
        isClosed = kept->beyond || countOf(*kept, plan.transitionShare).rate() > holeRate;
    }
    eye.setup = wallOf(scan, plan, lane, true, isClosed);
    eye.hold = wallOf(scan, plan, lane, false, isClosed);
    return eye;
}

} // namespace diagnosis
