#include "diagnosis/burst/Markup.h"
#include "diagnosis/burst/Svg.h"
#include "diagnosis/margin/Counting.h"
#include "diagnosis/margin/MarginPictures.h"
#include "diagnosis/margin/MarginScan.h"
#include "diagnosis/report/Style.h"
#include "toolkit/Format.h"

namespace diagnosis {

namespace {

using page::cell;
using page::element;
using page::escaped;

std::string marginCells(const RateScan& rate, const LaneWall& wall) {
    const bool isKnown = wall.margin && wall.state != WallState::Closed;
    const std::string least = wall.state == WallState::Clipped ? "at least " : "";
    return cell(isKnown ? least + toolkit::fixedText(*wall.margin, 1) : "-", "n") +
           cell(isKnown ? toolkit::fixedText(rate.picoseconds(*wall.margin), 0) : "-", "n") +
           cell(isKnown ? toolkit::fixedText(rate.percentOfBit(*wall.margin), 0) : "-", "n") +
           cell(wallStateName(wall.state));
}

std::string qualityOf(const LaneWall& wall, const char* name) {
    if (wall.state == WallState::Extrapolated || wall.state == WallState::Measured) {
        return std::string(name) + ": " + std::to_string(wall.fit->counted) + " taps, chance " +
               toolkit::numberText(wall.fit->fitChance, 2) + ", jitter " + toolkit::fixedText(wall.fit->deviation, 2);
    }
    if (wall.state == WallState::BoundOnly) {
        return std::string(name) + ": " + refusalText(wall.refusal);
    }
    return std::string(name) + ": " + wallStateName(wall.state);
}

std::string laneRow(const RateScan& rate, std::size_t index) {
    const LaneEye& eye = rate.eyes[index];
    const auto& burst = rate.bursts[index];
    const std::string own =
        burst ? toolkit::fixedText(burst->setup, 1) + " / " + toolkit::fixedText(burst->hold, 1) : "-";
    return element("tr", "",
                   cell(escaped(rate.titles[index]), "pin") + marginCells(rate, eye.setup) +
                       marginCells(rate, eye.hold) + cell(std::to_string(eye.cleanTaps()), "n") +
                       cell(samplesText(eye.widthAt1e9()), "n") + cell(samplesText(eye.widthAt1e12()), "n") +
                       cell(own, "n"));
}

/// Below the table, which has too many columns for texts.
std::string laneNotes(const RateScan& rate, std::size_t index) {
    const LaneEye& eye = rate.eyes[index];
    const std::string disagreement = disagreementOf(rate, index);
    const std::string notes = rate.titles[index] + ": " + qualityOf(eye.setup, "setup") + "; " +
                              qualityOf(eye.hold, "hold") + (disagreement.empty() ? "" : "; differs: " + disagreement);
    return element("p", "legend", escaped(notes));
}

std::string laneTable(const RateScan& rate) {
    std::string head;
    for (const char* title :
         {"lane", ">setup margin, samples", ">ps", ">% of bit", "wall", ">hold margin, samples", ">ps", ">% of bit",
          "wall", ">delays without an error", ">eye at 1e-9", ">at 1e-12", ">setup / hold in the burst"}) {
        const bool isNumber = *title == '>';
        head += element("th", isNumber ? "n" : "", isNumber ? title + 1 : title);
    }
    std::string rows = element("tr", "", head);
    std::string notes;
    for (std::size_t i = 0; i < rate.eyes.size(); ++i) {
        rows += laneRow(rate, i);
        notes += laneNotes(rate, i);
    }
    return element("div", "scroll", element("table", "lanes", rows)) + notes;
}

std::string rateSection(const RateScan& rate) {
    std::string section = element("h2", "", escaped(toolkit::frequencyText(rate.hertz)));
    if (!rate.isScanned()) {
        return section + element("p", "", escaped("Not scanned: " + rate.refusal));
    }
    std::string pictures;
    for (std::size_t i = 0; i < rate.eyes.size(); ++i) {
        pictures += bathtubPicture(rate, i);
    }
    return section +
           element("p", "sub",
                   escaped(toolkit::fixedText(rate.plan.bitSamples, 1) + " samples in a bit, pattern " + rate.pattern +
                           ", " + toolkit::countText(rate.scan.recordings, "recording") + " in " +
                           toolkit::fixedText(rate.seconds, 1) + " s, " + "begun " +
                           toolkit::fixedText(rate.startSeconds, 0) + " s after the start" +
                           (rate.scan.interrupted ? ", interrupted" : ""))) +
           laneTable(rate) + element("div", "eyes wide", pictures);
}

constexpr const char* legend =
    "A margin is the distance from the kept sampling point (purple) to the wall, where one bit in a thousand of "
    "those that differ from their neighbour is wrong. Filled circles are counted rates, open triangles the rates that "
    "a delay "
    "without errors excludes with 95 % confidence, a cross is a delay past the wall. The line is the fitted tail, "
    "dashed "
    "where it goes on below the counts; it assumes Gaussian tails. Where no tail is claimed, the wall is known to a "
    "sample only (bound-only). At a dotted line the range of delays ends before the wall (clipped): the margin is at "
    "least the stated one.";

} // namespace

std::string marginPage(const MarginScan& scan, const std::string& name) {
    std::string answer;
    const std::string text = marginAnswer(scan);
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = text.find('\n', from);
        answer += element("p", "", escaped(text.substr(from, end - from)));
        from = end + 1;
    }
    std::string body =
        element("h1", "", escaped("Margins of " + name)) + answer + element("div", "scroll", shmooPicture(scan));
    for (auto rate = scan.rbegin(); rate != scan.rend(); ++rate) {
        body += rateSection(*rate);
    }
    body += element("p", "legend", legend) + element("footer", "", "Made by orvtrace from counted errors.");
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
           "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">"
           "<meta name=\"color-scheme\" content=\"light dark\"><link rel=\"icon\" href=\"data:,\"><title>" +
           escaped("Margins of " + name) + "</title><style>" + page::styleSheet() +
           ".eyes.wide{grid-template-columns:repeat(auto-fit,minmax(min(380px,100%),1fr))}"
           ".eyes.wide>svg{max-width:560px}svg.shmoo{flex:none}</style></head><body><main>" +
           body + "</main></body></html>\n";
}

} // namespace diagnosis
