#include "diagnosis/comparison/MarginComparison.h"

#include "diagnosis/comparison/KeptCalibration.h"
#include "toolkit/ExitCode.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"

#include <algorithm>

namespace diagnosis {

namespace {

using nlohmann::json;

[[noreturn]] void notAResult(const std::string& file, const std::string& what) {
    throw toolkit::Failure(toolkit::ExitCode::BadInput, file + ": no result of orvtrace margin --json: " + what);
}

/// Reads members of the kinds that a result has.
class ResultReader {
public:
    explicit ResultReader(const std::string& named) : file(named) {}

    const json& member(const json& object, const char* key) const {
        if (!object.is_object() || !object.contains(key)) {
            notAResult(file, "\"" + std::string(key) + "\" is missing");
        }
        return object.at(key);
    }
    double number(const json& object, const char* key) const {
        const json& value = member(object, key);
        if (!value.is_number()) {
            notAResult(file, "\"" + std::string(key) + "\" is no number");
        }
        return value.get<double>();
    }
    std::optional<double> numberOrNull(const json& object, const char* key) const {
        return member(object, key).is_null() ? std::nullopt : std::optional(number(object, key));
    }
    std::string textOrNull(const json& object, const char* key) const {
        const json& value = member(object, key);
        if (!value.is_string() && !value.is_null()) {
            notAResult(file, "\"" + std::string(key) + "\" is no text");
        }
        return value.is_null() ? std::string() : value.get<std::string>();
    }
    const json& list(const json& object, const char* key) const {
        const json& value = member(object, key);
        if (!value.is_array()) {
            notAResult(file, "\"" + std::string(key) + "\" is no list");
        }
        return value;
    }
    ScannedWall wall(const json& lane, const char* key) const {
        const json& object = member(lane, key);
        return {textOrNull(object, "state"), numberOrNull(object, "marginSamples")};
    }

private:
    const std::string& file;
};

ScannedRate scannedRateOf(const json& object, const ResultReader& read) {
    ScannedRate rate;
    rate.hertz = read.number(object, "hertz");
    rate.sampleRate = read.number(object, "sampleRate");
    rate.refusal = read.textOrNull(object, "refusal");
    for (const json& each : read.list(object, "lanes")) {
        rate.hasErrors = rate.hasErrors || read.number(each, "errors") > 0.0;
        rate.lanes.push_back({read.textOrNull(each, "title"), read.wall(each, "setup"), read.wall(each, "hold"),
                              read.numberOrNull(each, "widthSamples"), read.numberOrNull(each, "widthAt1e-9")});
    }
    return rate;
}

const ScannedRate* rateNear(const ScannedMargins& margins, double hertz) {
    const auto found =
        std::ranges::find_if(margins, [=](const ScannedRate& rate) { return isSameRate(rate.hertz, hertz); });
    return found == margins.end() ? nullptr : &*found;
}

void takeMarginShrink(MarginComparison& comparison, const RateMarginChange& rate, const LaneMarginChange& lane) {
    for (const bool isSetup : {true, false}) {
        const WallChange& wall = isSetup ? lane.setup : lane.hold;
        if (wall.change && *wall.change < 0.0 && (!comparison.shrink || -*wall.change > comparison.shrink->samples)) {
            comparison.shrink =
                MarginShrink{rate.hertz, rate.sampleRate, lane.title, isSetup, -*wall.change, wall.isBound};
        }
    }
}

void compareRate(MarginComparison& comparison, const ScannedRate& a, const ScannedRate& b) {
    RateMarginChange rate{b.hertz, b.sampleRate, {}};
    for (const ScannedLane& after : b.lanes) {
        const auto before = std::ranges::find(a.lanes, after.title, &ScannedLane::title);
        if (before == a.lanes.end()) {
            comparison.onlyInOne.push_back(after.title + " is only in B at " + toolkit::frequencyText(b.hertz));
            continue;
        }
        rate.lanes.push_back({after.title, wallChange(before->setup, after.setup), wallChange(before->hold, after.hold),
                              before->width, after.width, before->widthAt1e9, after.widthAt1e9});
        takeMarginShrink(comparison, rate, rate.lanes.back());
    }
    comparison.rates.push_back(std::move(rate));
}

} // namespace

ScannedMargins parseScannedMargins(std::string_view text, const std::string& file) {
    const json parsed = json::parse(text, nullptr, toolkit::noExceptions);
    if (parsed.is_discarded()) {
        notAResult(file, "it is no JSON");
    }
    const ResultReader read(file);
    ScannedMargins margins;
    for (const json& rate : read.list(parsed, "rates")) {
        margins.push_back(scannedRateOf(rate, read));
    }
    return margins;
}

std::filesystem::path scannedMarginsAt(const std::filesystem::path& place) {
    constexpr std::string_view ending = ".margin.json";
    std::error_code failed;
    if (std::filesystem::is_regular_file(place, failed)) {
        return place.extension() == ".json" ? place : std::filesystem::path();
    }
    std::filesystem::path beside = place;
    beside += ending;
    if (std::filesystem::is_regular_file(beside, failed)) {
        return beside;
    }
    for (const std::filesystem::path& folder : {place, place / ".VX-trace" / "data"}) {
        for (const auto& entry : std::filesystem::directory_iterator(folder, failed)) {
            if (entry.path().filename().string().ends_with(ending)) {
                return entry.path();
            }
        }
    }
    return {};
}

WallChange wallChange(const ScannedWall& a, const ScannedWall& b) {
    WallChange wall{a, b, std::nullopt, a.isLeast() || b.isLeast()};
    if (!a.margin || !b.margin || (a.isLeast() && b.isLeast())) {
        return wall;
    }
    const double change = *b.margin - *a.margin;
    const bool isKnown = !wall.isBound || (a.isLeast() ? change < 0.0 : change > 0.0);
    wall.change = isKnown ? std::optional(change) : std::nullopt;
    return wall;
}

MarginComparison compareMargins(const ScannedMargins& a, const ScannedMargins& b) {
    MarginComparison comparison;
    for (const ScannedRate& before : a) {
        const ScannedRate* after = rateNear(b, before.hertz);
        const std::string name = toolkit::frequencyText(before.hertz);
        if (after == nullptr) {
            comparison.onlyInOne.push_back(name + " is only in A");
            continue;
        }
        if (before.isSound() && !after->isSound()) {
            comparison.lost.push_back(after->hertz);
            continue;
        }
        if (!before.lanes.empty() && !after->lanes.empty()) {
            compareRate(comparison, before, *after);
        } else if (!after->lanes.empty()) {
            comparison.onlyInOne.push_back(name + " was scanned in B only");
        }
    }
    for (const ScannedRate& after : b) {
        if (rateNear(a, after.hertz) == nullptr) {
            comparison.onlyInOne.push_back(toolkit::frequencyText(after.hertz) + " is only in B");
        }
    }
    return comparison;
}

bool isWorse(const MarginComparison& comparison, double allowed) {
    return !comparison.lost.empty() || (comparison.shrink && comparison.shrink->samples > allowed);
}

} // namespace diagnosis
