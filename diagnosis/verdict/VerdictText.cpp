#include "diagnosis/verdict/RunVerdict.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace diagnosis {

namespace {

using nlohmann::json;

std::string marginText(const WorstMargin& worst) {
    return std::string(worst.isSetup ? "setup" : "hold") + " margin of " + worst.title + " " +
           toolkit::fixedText(worst.samples, 1) + " samples (" + toolkit::fixedText(worst.nanoseconds, 1) + " ns, " +
           toolkit::fixedText(worst.percentOfBit, 0) + " % of the bit), limit " +
           toolkit::fixedText(worst.limitSamples, 1);
}

json marginJson(const WorstMargin& worst) {
    return {{"pin", toolkit::pinKey(worst.pin)},        {"title", worst.title},
            {"side", worst.isSetup ? "setup" : "hold"}, {"samples", worst.samples},
            {"nanoseconds", worst.nanoseconds},         {"percentOfBit", worst.percentOfBit},
            {"limitSamples", worst.limitSamples}};
}

} // namespace

std::string rateText(double errorRate) {
    if (!(errorRate > 0.0)) {
        return "0";
    }
    // Rounded first, so that it is no 10e-10; the standard formats write two or three digits of the exponent.
    double exponent = std::floor(std::log10(errorRate));
    double digits = std::round(errorRate / std::pow(10.0, exponent) * 10.0) / 10.0;
    if (digits >= 10.0) {
        digits /= 10.0;
        exponent += 1.0;
    }
    return toolkit::numberText(digits, 1) + "e" + std::to_string(static_cast<int>(exponent));
}

const char* verdictName(RunVerdict::Kind kind) {
    switch (kind) {
    case RunVerdict::Kind::Sound:
        return "sound";
    case RunVerdict::Kind::Thin:
        return "thin";
    case RunVerdict::Kind::Fault:
        return "fault";
    case RunVerdict::Kind::Unknown:
        break;
    }
    return "unknown";
}

std::string verdictLine(const RunVerdict& verdict) {
    std::string text = std::string("verdict: ") + verdictName(verdict.kind);
    if (verdict.hertz) {
        text += ", " + toolkit::frequencyText(*verdict.hertz);
    }
    if (verdict.bitsPerSecond) {
        text += ", " + toolkit::numberText(*verdict.bitsPerSecond / 1e6, 1) + " Mbit/s";
    }
    if (verdict.worstMargin) {
        text += ", " + marginText(*verdict.worstMargin);
    }
    if (verdict.errorRate && verdict.errorRate->errors == 0) {
        text += ", below " + rateText(verdict.errorRate->bound) + " errors per bit";
    }
    return verdict.reasons.empty() ? text : text + ": " + verdict.reasons.front().text;
}

json verdictJson(const RunVerdict& verdict) {
    json reasons = json::array();
    for (const RunVerdict::Reason& reason : verdict.reasons) {
        reasons.push_back({{"slug", reason.slug}, {"text", reason.text}});
    }
    json evidence = json::array();
    for (const Evidence& piece : verdict.evidence) {
        evidence.push_back({{"name", piece.name}, {"isThere", piece.isThere}, {"text", piece.text}});
    }
    const auto& rate = verdict.errorRate;
    return {
        {"kind", verdictName(verdict.kind)},
        {"reasons", reasons},
        {"evidence", evidence},
        {"hertz", toolkit::orNull(verdict.hertz)},
        {"bitsPerSecond", toolkit::orNull(verdict.bitsPerSecond)},
        {"worstMargin", verdict.worstMargin ? marginJson(*verdict.worstMargin) : json()},
        {"errorRate", rate ? json{{"bits", rate->bits}, {"errors", rate->errors}, {"bound", rate->bound}} : json()}};
}

} // namespace diagnosis
