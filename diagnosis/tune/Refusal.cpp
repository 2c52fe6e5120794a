#include "diagnosis/tune/Refusal.h"

#include "diagnosis/analysis/Verdict.h"
#include "toolkit/Format.h"
#include "toolkit/Text.h"

#include <algorithm>

namespace diagnosis::tune {

namespace {

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

/// A lane whose delay differs from the reference's by about half a period has been taken for the neighbouring bit's: the
/// pattern looks the same there.
bool hasHalfPeriodPeak(const FileGroup& attempt) {
    if (!attempt.cal || attempt.cal->pins.size() < 3 || !attempt.cal->rates.known()) {
        return false;
    }
    const double half = attempt.cal->rates.oversampling / 2.0;
    const auto& reference = attempt.cal->pins[1].delay;
    return std::any_of(attempt.cal->pins.begin() + 2, attempt.cal->pins.end(), [&](const CalPin& pin) {
        return pin.delay && reference && std::abs(std::abs(*pin.delay - *reference) - half) < half / 3.0;
    });
}

bool isAtRangeEnd(const FileGroup& attempt) {
    return attempt.cal && std::any_of(attempt.cal->pins.begin(), attempt.cal->pins.end(),
                                      [](const CalPin& pin) { return pin.delay == limits::highestDelay; });
}

std::string marginText(const FileGroup& attempt) {
    const auto margin = clockMarginOf(attempt);
    if (!margin) {
        return "its rule of a third of a clock period: the smallest setup and hold margin do not add up to it";
    }
    return "its rule of a third of a clock period: setup and hold margin add up to " + std::to_string(margin->sum()) +
           " samples, and it wants " + std::to_string(margin->need);
}

} // namespace

std::string ruleInTheWay(const DiagnosticSet& set, const std::string& reason) {
    const FileGroup none;
    const FileGroup& attempt = set.attempts.empty() ? none : set.attempts.back();
    if (attempt.rates().belowAnalysis()) {
        return "it measures nothing below 10.1 MHz and keeps its default values";
    }
    std::string text;
    if (contains(reason, "clock margin too low")) {
        text = marginText(attempt);
    } else if (contains(reason, "unable to detect sampling position")) {
        text = "its vote about the sampling position: data edges are neither three times as often near clock edges as "
               "between them, nor the other way round";
    } else if (reason.empty() || contains(reason, "pattern test") || contains(reason, "invalid ")) {
        text = "its centring: the clock goes into the middle of the first data pin's eye, in whole samples, with a "
               "stretch from the share of ones in the burst";
    } else {
        return reason;
    }
    if (hasHalfPeriodPeak(attempt)) {
        text += "; a lane was matched at half a clock period from its place, where the pattern looks the same";
    }
    if (isAtRangeEnd(attempt)) {
        text += "; a delay is at the end of its range of 31 samples";
    }
    return text;
}

} // namespace diagnosis::tune
