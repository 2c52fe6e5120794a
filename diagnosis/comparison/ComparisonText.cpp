#include "diagnosis/comparison/Comparison.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/Table.h"

namespace diagnosis {

namespace {

using nlohmann::json;

std::string signedText(const std::optional<double>& value) {
    if (!value) {
        return "-";
    }
    const std::string text = toolkit::fixedText(*value, 1);
    return text == "-0.0" ? "0.0" : *value > 0.0 && text != "0.0" ? "+" + text : text;
}

std::string pairText(const std::optional<int>& before, const std::optional<int>& after) {
    const auto one = [](const std::optional<int>& value) { return value ? std::to_string(*value) : "-"; };
    return before == after ? one(after) : one(before) + " > " + one(after);
}

std::string marginText(const KeptPin& before, const KeptPin& after, double LaneMargins::* margin) {
    const auto one = [&](const KeptPin& pin) {
        return pin.margins ? toolkit::fixedText((*pin.margins).*margin, 1) : std::string("-");
    };
    return one(before) + " > " + one(after);
}

std::string headOf(const char* letter, const KeptCalibration& kept) {
    std::string text = std::string(letter) + ": " + toolkit::masked(kept.place);
    if (!kept.date.empty()) {
        text += ", " + kept.date;
    }
    if (kept.setting && kept.calibrated) {
        text += ", setting " + std::to_string(*kept.setting);
    }
    return text + "\n   " + toolkit::masked(verdictLine(kept.verdict)) + "\n";
}

std::string tableOf(const Comparison& comparison, std::size_t columns) {
    toolkit::Table table({"pin", ">delay", ">stretch", ">setup", ">hold", ">moved"});
    const std::vector<KeptPin>& before = comparison.a.pins;
    const std::vector<KeptPin>& after = comparison.b.pins;
    for (std::size_t proc = 0; proc < std::min(before.size(), after.size()); ++proc) {
        const bool isClock = proc == 0;
        table.addRow({after[proc].title, pairText(before[proc].delay, after[proc].delay),
                      pairText(before[proc].stretch, after[proc].stretch),
                      isClock ? "-" : marginText(before[proc], after[proc], &LaneMargins::setup),
                      isClock ? "-" : marginText(before[proc], after[proc], &LaneMargins::hold),
                      isClock ? "-" : signedText(comparison.lanes[proc - 1].moved)});
    }
    return table.text(columns);
}

bool knowsMargins(const Comparison& comparison) {
    return comparison.a.calibrated && comparison.b.calibrated && !comparison.lanes.empty() &&
           comparison.lanes.front().setupChange && !lacksMargins(comparison);
}

json pinJson(std::size_t proc, const KeptPin& pin) {
    const auto& margins = pin.margins;
    return {{"pin", toolkit::pinKey(proc)},
            {"title", pin.title},
            {"delay", toolkit::orNull(pin.delay)},
            {"stretch", toolkit::orNull(pin.stretch)},
            {"filter", toolkit::orNull(pin.filter)},
            {"debounce", toolkit::orNull(pin.debounce)},
            {"plateau", toolkit::orNull(pin.plateau)},
            {"setupMargin", margins ? json(margins->setup) : json()},
            {"holdMargin", margins ? json(margins->hold) : json()},
            {"jitter", margins ? json(margins->jitter) : json()},
            {"arrival", toolkit::orNull(pin.arrival)}};
}

json keptJson(const KeptCalibration& kept) {
    json pins = json::array();
    for (std::size_t proc = 0; proc < kept.pins.size(); ++proc) {
        pins.push_back(pinJson(proc, kept.pins[proc]));
    }
    return {{"place", kept.place},
            {"date", toolkit::orNull(kept.date)},
            {"calibrated", kept.calibrated},
            {"givenValues", kept.given},
            {"exportKind", toolkit::orNull(kept.exportKind)},
            {"pinMap", toolkit::orNull(kept.pinMap)},
            {"setting", toolkit::orNull(kept.setting)},
            {"hertz", toolkit::orNull(kept.hertz)},
            {"sampleRate", kept.sampleRate},
            {"pins", pins},
            {"verdict", verdictJson(kept.verdict)}};
}

} // namespace

std::string comparisonText(const Comparison& comparison, std::size_t columns) {
    std::string text = headOf("A", comparison.a) + headOf("B", comparison.b) + "\n" + tableOf(comparison, columns);
    text += "Lengths are in samples, from A to B. Margins: data stable before the clock edge (setup)\n"
            "and after it (hold). Moved: later or earlier with delays and stretches taken out.\n\n";
    if (comparison.equal) {
        text += "equal within " + lengthText(comparison.b, comparison.tolerance) + "\n";
    }
    for (const std::string& difference : comparison.differences) {
        text += "different: " + toolkit::masked(difference) + "\n";
    }
    if (comparison.shrink) {
        const Shrink& shrink = *comparison.shrink;
        text += std::string("the ") + (shrink.isSetup ? "setup" : "hold") + " margin of " + shrink.title +
                " shrank most, by " + lengthText(comparison.b, shrink.samples) + "\n";
    } else if (knowsMargins(comparison)) {
        text += "no margin shrank\n";
    }
    return text;
}

json comparisonJson(const Comparison& comparison) {
    json lanes = json::array();
    for (const LaneChange& lane : comparison.lanes) {
        lanes.push_back({{"pin", toolkit::pinKey(lane.pin)},
                         {"title", lane.title},
                         {"setupChange", toolkit::orNull(lane.setupChange)},
                         {"holdChange", toolkit::orNull(lane.holdChange)},
                         {"fallLater", toolkit::orNull(lane.fallLater)},
                         {"moved", toolkit::orNull(lane.moved)}});
    }
    json shrink;
    if (comparison.shrink) {
        shrink = {{"pin", toolkit::pinKey(comparison.shrink->pin)},
                  {"title", comparison.shrink->title},
                  {"side", comparison.shrink->isSetup ? "setup" : "hold"},
                  {"samples", comparison.shrink->samples},
                  {"nanoseconds", comparison.b.nanoseconds(comparison.shrink->samples)}};
    }
    return {{"a", keptJson(comparison.a)},
            {"b", keptJson(comparison.b)},
            {"sameRate", comparison.sameRate},
            {"lanes", lanes},
            {"shrink", shrink},
            {"tolerance", comparison.tolerance},
            {"equal", comparison.equal},
            {"differences", comparison.differences}};
}

} // namespace diagnosis
