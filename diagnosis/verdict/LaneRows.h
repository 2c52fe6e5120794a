#pragma once

#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/DiagnosticSet.h"

#include <optional>
#include <string>
#include <vector>

// The pins of an attempt as every table shows them: on the terminal and on the page, the same figures in the same order.

namespace diagnosis {

/// Margins of a lane and what they are held against, in samples.
struct JudgedLane {
    std::size_t pin = 0; ///< proc
    double setup = 0.0, hold = 0.0;
    double limit = 0.0;   ///< below it the verdict is thin
    double certain = 0.0; ///< below it bits are wrong for certain
    double bit = 0.0;     ///< half a clock period
    bool fromBurst = false;

    double smaller() const { return setup < hold ? setup : hold; }
    bool isThin() const { return smaller() < limit; }
};

/// From the burst, otherwise from the report, whose margins are whole samples without a measure of their jitter. Nothing
/// if neither has them.
std::optional<JudgedLane> judgedLane(const FileGroup& attempt, std::size_t pin, double errorRate);

struct LaneRow {
    toolkit::LanePlace place;
    std::string label, title;          ///< as LaneNames have them
    std::optional<JudgedLane> margins; ///< nothing for the clock, and where the report has none
    double sampleNanoseconds = 0.0;
    std::optional<int> delay, stretch, filter, plateau, debounce;
    std::optional<Duty> duty;
    std::optional<double> correlation; ///< at lag 0; not a number for a stuck pin
};

/// The pins of an attempt's report, the clock first; none without a report.
std::vector<LaneRow> laneRows(const DiagnosticSet& set, const FileGroup& attempt);

/// Titles of the columns; one that begins with '>' is right-aligned.
std::vector<std::string> laneColumns();
/// The cells of a row, one for each column.
std::vector<std::string> laneCells(const LaneRow& row);

/// Setup and hold margin in samples, such as "6.2 / 5.4", and the same in nanoseconds; "-" without any.
std::string marginsInSamples(const LaneRow& row);
std::string marginsInNanoseconds(const LaneRow& row);

} // namespace diagnosis
