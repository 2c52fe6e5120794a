#include "diagnosis/margin/Counting.h"
#include "diagnosis/margin/MarginScan.h"
#include "toolkit/JsonText.h"

namespace diagnosis {

namespace {

using nlohmann::json;
using toolkit::orNull;

json claimJson(const std::optional<ClaimedMargin>& claim) {
    return claim ? json{{"samples", claim->samples}, {"halfWidth", claim->halfWidth}} : json();
}

json fitJson(const LaneWall& wall) {
    if (!wall.fit) {
        return nullptr;
    }
    const WallFit& fit = *wall.fit;
    return {{"middle", -fit.position},  {"deviation", fit.deviation}, {"taps", fit.taps},
            {"deviance", fit.deviance}, {"chance", fit.fitChance},    {"deepest", fit.deepest}};
}

json wallJson(const RateScan& rate, const LaneWall& wall) {
    json out{{"state", wallStateName(wall.state)},
             {"marginSamples", orNull(wall.margin)},
             {"marginPicoseconds", wall.margin ? json(rate.picoseconds(*wall.margin)) : json()},
             {"marginPercentOfBit", wall.margin ? json(rate.percentOfBit(*wall.margin)) : json()},
             {"middleSamples", orNull(wall.middle)},
             {"cleanTaps", wall.clean},
             {"firstBadOffset", orNull(wall.bad)},
             {"excludedRate", wall.deepest},
             {"fit", fitJson(wall)},
             {"refusal", wall.refusal == FitRefusal::None ? json() : json(refusalText(wall.refusal))},
             {"at1e-9", claimJson(wall.at1e9)},
             {"at1e-12", claimJson(wall.at1e12)}};
    return out;
}

/// Every point with its counts, so that they can be judged again without the unit.
json pointsJson(const RateScan& rate, const LaneScan& lane) {
    json points = json::array();
    for (const LaneTap& tap : lane.taps) {
        const SlotCount count = countOf(tap, rate.plan.transitionShare);
        points.push_back({{"offset", tap.offset},
                          {"bits", tap.bits},
                          {"errors", tap.errors},
                          {"early", tap.early},
                          {"late", tap.late},
                          {"opportunities", count.opportunities},
                          {"wrong", count.errors},
                          {"nextSlot", tap.nextSlot},
                          {"beyond", tap.beyond}});
    }
    return points;
}

json burstJson(const std::optional<LaneMargins>& burst) {
    return burst ? json{{"setup", burst->setup}, {"hold", burst->hold}, {"jitter", burst->jitter}} : json();
}

json laneJson(const RateScan& rate, std::size_t index) {
    const LaneEye& eye = rate.eyes[index];
    const std::string disagreement = disagreementOf(rate, index);
    return {{"lane", index},
            {"title", rate.titles[index]},
            {"delay", rate.plan.kept.lanes[index]},
            {"bits", eye.keptBits},
            {"errors", eye.keptErrors},
            {"errorRateBelow", rateBelow(eye.keptErrors, eye.keptBits)},
            {"setup", wallJson(rate, eye.setup)},
            {"hold", wallJson(rate, eye.hold)},
            {"cleanTaps", eye.cleanTaps()},
            {"isCut", eye.isCut()},
            {"widthSamples", orNull(eye.width())},
            {"widthAt1e-9", orNull(eye.widthAt1e9())},
            {"widthAt1e-12", orNull(eye.widthAt1e12())},
            {"burst", burstJson(rate.bursts[index])},
            {"disagreement", orNull(disagreement)},
            {"points", pointsJson(rate, rate.scan.lanes[index])}};
}

json nextJson(const RateScan& rate) {
    if (!rate.next) {
        return nullptr;
    }
    json move;
    if (const auto& found = rate.next->move) {
        move = {{"lane", found->lane},
                {"samples", found->samples},
                {"nanoseconds", found->samples * 1e9 / found->sampleRate},
                {"hertz", found->hertz},
                {"marginSamples", found->margin},
                {"marginPicoseconds", found->margin * 1e12 / found->sampleRate}};
    }
    return {{"limit", rate.next->limit}, {"tuned", rate.next->tuned}, {"move", move}};
}

json rateJson(const RateScan& rate) {
    json lanes = json::array();
    for (std::size_t i = 0; i < rate.eyes.size(); ++i) {
        lanes.push_back(laneJson(rate, i));
    }
    return {{"setting", rate.setting},
            {"hertz", rate.hertz},
            {"kept", rate.kept},
            {"refusal", orNull(rate.refusal)},
            {"isFastest", rate.isFastest},
            {"next", nextJson(rate)},
            {"sampleRate", rate.sampleRate},
            {"bitSamples", rate.plan.bitSamples},
            {"pattern", orNull(rate.pattern)},
            {"clockDelay", rate.plan.kept.clock},
            {"stretches", rate.stretches},
            {"startSeconds", rate.startSeconds},
            {"seconds", rate.seconds},
            {"recordings", rate.scan.recordings},
            {"interrupted", rate.scan.interrupted},
            {"lanes", lanes}};
}

} // namespace

json marginJson(const MarginScan& scan) {
    json rates = json::array();
    for (const RateScan& rate : scan) {
        rates.push_back(rateJson(rate));
    }
    return rates;
}

} // namespace diagnosis
