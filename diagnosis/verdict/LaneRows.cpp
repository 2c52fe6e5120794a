#include "diagnosis/verdict/LaneRows.h"

#include "diagnosis/analysis/LaneMargins.h"
#include "diagnosis/doctor/Diagnosis.h"
#include "diagnosis/verdict/RunVerdict.h"
#include "diagnosis/verdict/VerdictRules.h"
#include "toolkit/Format.h"

#include <cmath>

namespace diagnosis {

namespace {

/// From the burst: limit and certainty follow from the jitter.
std::optional<JudgedLane> laneOfBurst(const Burst& burst, std::size_t pin, double errorRate) {
    const auto measured = measureLane(burst, pin);
    if (!measured) {
        return std::nullopt;
    }
    return JudgedLane{pin,
                      measured->setup,
                      measured->hold,
                      marginLimit(errorRate, measured->mostJitter),
                      deviationsAt(certainErrorRate) * measured->leastJitter - marginUncertainty,
                      measured->bit,
                      true};
}

/// From the report: smallest distances in whole samples, without a measure of the jitter that they have. Its hold margins
/// count the clock edge's own sample twice.
std::optional<JudgedLane> laneOfReport(const CalFile& cal, std::size_t pin) {
    const CalPin& lane = cal.pins[pin];
    if (!lane.setupMargin || !lane.holdMargin) {
        return std::nullopt;
    }
    const double bit = cal.rates.oversampling / 2.0;
    return JudgedLane{pin,
                      static_cast<double>(*lane.setupMargin),
                      static_cast<double>(*lane.holdMargin) - 2.0,
                      limitWithoutJitter * bit,
                      -1.0,
                      bit,
                      false};
}

std::string orDash(const std::optional<int>& value) {
    return value ? std::to_string(*value) : "-";
}

std::string marginsText(const LaneRow& row, double unit, int decimals) {
    if (!row.margins) {
        return "-";
    }
    return toolkit::setupHoldText(row.margins->setup * unit, row.margins->hold * unit, decimals);
}

} // namespace

std::optional<JudgedLane> judgedLane(const FileGroup& attempt, std::size_t pin, double errorRate) {
    if (attempt.burst && attempt.burst->taken() && pin < attempt.burst->pins.size()) {
        if (const auto lane = laneOfBurst(*attempt.burst, pin, errorRate)) {
            return lane;
        }
    }
    return attempt.cal && pin < attempt.cal->pins.size() ? laneOfReport(*attempt.cal, pin) : std::nullopt;
}

std::vector<LaneRow> laneRows(const DiagnosticSet& set, const FileGroup& attempt) {
    std::vector<LaneRow> rows;
    if (!attempt.cal) {
        return rows;
    }
    const double errorRate = verdict_rules::askedErrorRate(set);
    for (std::size_t proc = 0; proc < attempt.cal->pins.size(); ++proc) {
        const CalPin& pin = attempt.cal->pins[proc];
        LaneRow& row = rows.emplace_back();
        row.place = set.lane(proc);
        row.label = pinLabel(set, proc);
        row.title = pinTitle(set, proc);
        // An attempt that ended before its margins were measured has a burst without its own delays.
        if (proc != 0 && pin.setupMargin && pin.holdMargin) {
            row.margins = judgedLane(attempt, proc, errorRate);
        }
        row.sampleNanoseconds = 1e9 / set.sampleRate();
        row.delay = pin.delay;
        row.stretch = pin.stretch;
        row.filter = pin.filter;
        row.plateau = pin.plateau;
        row.debounce = pin.debounce;
        row.correlation = pin.correlationAtZero;
        if (attempt.burst && proc < attempt.burst->pins.size()) {
            row.duty = dutyOf(*attempt.burst, proc);
        }
    }
    return rows;
}

std::string marginsInSamples(const LaneRow& row) {
    return marginsText(row, 1.0, row.margins && row.margins->fromBurst ? 1 : 0);
}

std::string marginsInNanoseconds(const LaneRow& row) {
    return marginsText(row, row.sampleNanoseconds, 1);
}

std::vector<std::string> laneColumns() {
    namespace column = toolkit::lane_column;
    return {column::pin,   column::emu,     column::margins, column::nanoseconds, column::limit,
            column::delay, column::stretch, column::duty,    column::correlation, column::conditioning};
}

std::vector<std::string> laneCells(const LaneRow& row) {
    std::string correlation = "-";
    if (row.correlation && std::isfinite(*row.correlation)) {
        correlation = toolkit::fixedText(*row.correlation, 3);
    }
    return {row.label,
            row.place.emu ? std::to_string(*row.place.emu) : "-",
            marginsInSamples(row),
            marginsInNanoseconds(row),
            row.margins ? toolkit::fixedText(row.margins->limit, 1) : "-",
            orDash(row.delay),
            orDash(row.stretch),
            row.duty ? toolkit::fixedText(row.duty->high, 1) + " / " + toolkit::fixedText(row.duty->low, 1) : "-",
            correlation,
            orDash(row.filter) + " / " + orDash(row.plateau) + " / " + orDash(row.debounce)};
}

} // namespace diagnosis
