#include "diagnosis/burst/Markup.h"
#include "diagnosis/burst/Svg.h"
#include "diagnosis/comparison/Comparison.h"
#include "diagnosis/report/Style.h"
#include "toolkit/Format.h"

#include <algorithm>

namespace diagnosis {

namespace {

using page::cell;
using page::element;
using page::escaped;

/// Margins of a lane around the clock edge, A above B, on one scale.
std::string picture(const KeptPin& before, const KeptPin& after, double reach) {
    constexpr double width = 320.0;
    constexpr double height = 34.0;
    constexpr double middle = width / 2.0;
    constexpr double bar = 12.0;
    page::Svg svg(width, height, "margins of " + after.title + " in A and in B", "bar");
    const double scale = (middle - 4.0) / std::max(reach, 1.0);
    double top = 3.0;
    for (const KeptPin* pin : {&before, &after}) {
        if (pin->margins) {
            const double left = std::min(0.0, -pin->margins->setup) * scale;
            const double right = std::max(0.0, pin->margins->hold) * scale;
            const bool open = pin->margins->setup > 0.0 && pin->margins->hold > 0.0;
            svg.rect(middle + left, top, right - left, bar, open ? "fill-good" : "fill-bad");
        }
        top += bar + 4.0;
    }
    svg.line(middle, 0.0, middle, height, "sampling");
    return svg.markup();
}

std::string marginNumbers(const KeptPin& pin) {
    return pin.margins ? toolkit::fixedText(pin.margins->setup, 1) + " / " + toolkit::fixedText(pin.margins->hold, 1)
                       : std::string("-");
}

std::string valueNumbers(const KeptPin& pin) {
    const auto one = [](const std::optional<int>& value) { return value ? std::to_string(*value) : std::string("-"); };
    return one(pin.delay) + " / " + one(pin.stretch);
}

std::string movedText(const Comparison& comparison, const LaneChange& lane) {
    if (!lane.moved) {
        return "-";
    }
    return lengthText(comparison.b, std::abs(*lane.moved)) + (*lane.moved < 0.0 ? " earlier" : " later");
}

double reachOf(const Comparison& comparison) {
    double reach = 0.0;
    for (const KeptCalibration* each : {&comparison.a, &comparison.b}) {
        for (const KeptPin& pin : each->pins) {
            if (pin.margins) {
                reach = std::max({reach, pin.margins->setup, pin.margins->hold});
            }
        }
    }
    return reach;
}

std::string pageTableOf(const Comparison& comparison) {
    std::string rows = "<tr><th>pin</th><th class=\"n\">A: delay / stretch</th><th class=\"n\">B</th>"
                       "<th class=\"n\">A: setup / hold</th><th class=\"n\">B</th><th class=\"pic\">A above B</th>"
                       "<th>moved</th></tr>";
    const double reach = reachOf(comparison);
    for (std::size_t proc = 0; proc < std::min(comparison.a.pins.size(), comparison.b.pins.size()); ++proc) {
        const KeptPin& before = comparison.a.pins[proc];
        const KeptPin& after = comparison.b.pins[proc];
        const bool isClock = proc == 0;
        rows += element("tr", "",
                        cell(escaped(after.title), "pin") + cell(valueNumbers(before), "n") +
                            cell(valueNumbers(after), "n") + cell(isClock ? "" : marginNumbers(before), "n") +
                            cell(isClock ? "" : marginNumbers(after), "n") +
                            cell(isClock ? "" : picture(before, after, reach)) +
                            cell(isClock ? "" : escaped(movedText(comparison, comparison.lanes[proc - 1]))));
    }
    return element("div", "scroll", element("table", "lanes", rows));
}

std::string pageHeadOf(const char* letter, const KeptCalibration& kept) {
    const std::string date = kept.date.empty() ? "" : ", " + kept.date;
    return element("h3", "", std::string(letter) + ": " + escaped(kept.place + date)) +
           element("p", "", escaped(verdictLine(kept.verdict)));
}

std::string conclusionOf(const Comparison& comparison) {
    if (comparison.equal) {
        return element("div", "finding none",
                       element("h3", "", "Equal within " + lengthText(comparison.b, comparison.tolerance)));
    }
    std::string items;
    for (const std::string& difference : comparison.differences) {
        items += element("li", "", escaped(difference));
    }
    return element("div", "finding", element("h3", "", "Different") + element("ul", "", items));
}

} // namespace

std::string comparisonPage(const Comparison& comparison, const std::string& further) {
    const std::string title = comparison.equal ? "Two calibrations: equal" : "Two calibrations: different";
    std::string body = element("h1", "", title) + pageHeadOf("A", comparison.a) + pageHeadOf("B", comparison.b) +
                       conclusionOf(comparison);
    body +=
        element("h2", "", "Pins") + pageTableOf(comparison) +
        element(
            "p", "legend",
            "Lengths in samples of the unit. In the picture A is above B, and the line is the clock edge: data stable "
            "before it (setup) to the left, after it (hold) to the right. Moved: with delays and stretches taken out.");
    return comparisonPageOf(title, body + further);
}

std::string comparisonPageOf(const std::string& title, const std::string& body) {
    const std::string footer = element("footer", "", "Made by orvtrace from the diagnostic files alone.");
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
           "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">"
           "<meta name=\"color-scheme\" content=\"light dark\"><link rel=\"icon\" href=\"data:,\"><title>" +
           escaped(title) + "</title><style>" + page::styleSheet() + "</style></head><body><main>" + body + footer +
           "</main></body></html>\n";
}

} // namespace diagnosis
