#include "diagnosis/burst/Markup.h"
#include "diagnosis/comparison/Comparison.h"
#include "diagnosis/comparison/MarginComparison.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/Table.h"

namespace diagnosis {

namespace {

using nlohmann::json;

std::string wallText(const ScannedWall& wall) {
    return wall.margin ? (wall.isLeast() ? ">=" : "") + toolkit::fixedText(*wall.margin, 1) : std::string("-");
}

std::string changeText(const WallChange& wall) {
    const std::string both = wallText(wall.a) + " > " + wallText(wall.b);
    return wall.a.state == wall.b.state ? both : both + " (" + wall.a.state + " > " + wall.b.state + ")";
}

std::string widthText(const std::optional<double>& a, const std::optional<double>& b) {
    const auto one = [](const std::optional<double>& width) {
        return width ? toolkit::fixedText(*width, 1) : std::string("-");
    };
    return one(a) + " > " + one(b);
}

std::string shrinkText(const MarginShrink& shrink) {
    return "at " + toolkit::frequencyText(shrink.hertz) + " the " + (shrink.isSetup ? "setup" : "hold") +
           " margin of " + shrink.title + " shrank most, by " + (shrink.isBound ? "at least " : "") +
           toolkit::fixedText(shrink.samples, 1) + " samples (" +
           toolkit::fixedText(shrink.samples * 1e9 / shrink.sampleRate, 1) + " ns)";
}

/// All that is not in a table, a sentence each.
std::vector<std::string> sentencesOf(const MarginComparison& comparison) {
    std::vector<std::string> sentences;
    for (const double hertz : comparison.lost) {
        sentences.push_back("lost: " + toolkit::frequencyText(hertz) + " is sound in A and not in B");
    }
    for (const std::string& each : comparison.onlyInOne) {
        sentences.push_back(each);
    }
    if (comparison.shrink) {
        sentences.push_back(shrinkText(*comparison.shrink));
    } else if (!comparison.rates.empty()) {
        sentences.emplace_back("no margin shrank");
    }
    return sentences;
}

json scannedWallJson(const ScannedWall& wall) {
    return {{"state", wall.state}, {"samples", toolkit::orNull(wall.margin)}};
}

json wallChangeJson(const WallChange& wall) {
    return {{"a", scannedWallJson(wall.a)},
            {"b", scannedWallJson(wall.b)},
            {"change", toolkit::orNull(wall.change)},
            {"isBound", wall.isBound}};
}

json widthJson(const std::optional<double>& a, const std::optional<double>& b) {
    return {{"a", toolkit::orNull(a)}, {"b", toolkit::orNull(b)}};
}

} // namespace

std::string marginComparisonText(const MarginComparison& comparison, std::size_t columns) {
    std::string text;
    for (const RateMarginChange& rate : comparison.rates) {
        toolkit::Table table({"lane", ">setup", ">hold", ">width", ">1e-9"});
        for (const LaneMarginChange& lane : rate.lanes) {
            table.addRow({lane.title, changeText(lane.setup), changeText(lane.hold),
                          widthText(lane.widthA, lane.widthB), widthText(lane.width1e9A, lane.width1e9B)});
        }
        text += toolkit::frequencyText(rate.hertz) + ", margins by counting errors, in samples from A to B\n" +
                table.text(columns) + "\n";
    }
    for (const std::string& sentence : sentencesOf(comparison)) {
        text += toolkit::masked(sentence) + "\n";
    }
    return text;
}

json marginComparisonJson(const MarginComparison& comparison) {
    json rates = json::array();
    for (const RateMarginChange& rate : comparison.rates) {
        json lanes = json::array();
        for (const LaneMarginChange& lane : rate.lanes) {
            lanes.push_back({{"title", lane.title},
                             {"setup", wallChangeJson(lane.setup)},
                             {"hold", wallChangeJson(lane.hold)},
                             {"width", widthJson(lane.widthA, lane.widthB)},
                             {"widthAt1e-9", widthJson(lane.width1e9A, lane.width1e9B)}});
        }
        rates.push_back({{"hertz", rate.hertz}, {"lanes", lanes}});
    }
    json shrink;
    if (const auto& found = comparison.shrink) {
        shrink = {{"hertz", found->hertz},
                  {"title", found->title},
                  {"side", found->isSetup ? "setup" : "hold"},
                  {"samples", found->samples},
                  {"nanoseconds", found->samples * 1e9 / found->sampleRate},
                  {"isBound", found->isBound}};
    }
    return {{"rates", rates}, {"lost", comparison.lost}, {"onlyInOne", comparison.onlyInOne}, {"shrink", shrink}};
}

std::string marginComparisonMarkup(const MarginComparison& comparison) {
    using page::cell;
    using page::element;
    using page::escaped;
    std::string body = element("h2", "", "Margins by counting errors");
    for (const RateMarginChange& rate : comparison.rates) {
        std::string rows = "<tr><th>lane</th><th class=\"n\">setup, A &gt; B</th><th class=\"n\">hold</th>"
                           "<th class=\"n\">width</th><th class=\"n\">width at 1e-9</th></tr>";
        for (const LaneMarginChange& lane : rate.lanes) {
            rows += element("tr", "",
                            cell(escaped(lane.title), "pin") + cell(escaped(changeText(lane.setup)), "n") +
                                cell(escaped(changeText(lane.hold)), "n") +
                                cell(escaped(widthText(lane.widthA, lane.widthB)), "n") +
                                cell(escaped(widthText(lane.width1e9A, lane.width1e9B)), "n"));
        }
        body += element("h3", "", escaped(toolkit::frequencyText(rate.hertz))) +
                element("div", "scroll", element("table", "lanes", rows));
    }
    std::string items;
    for (const std::string& sentence : sentencesOf(comparison)) {
        items += element("li", "", escaped(sentence));
    }
    return body + element("ul", "", items);
}

std::string marginComparisonPage(const MarginComparison& comparison) {
    const std::string title = "Two margin scans";
    return comparisonPageOf(title, page::element("h1", "", title) + marginComparisonMarkup(comparison));
}

} // namespace diagnosis
