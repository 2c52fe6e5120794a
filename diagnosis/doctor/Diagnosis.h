#pragma once

#include "diagnosis/analysis/DiagnosticSet.h"
#include "diagnosis/analysis/Verdict.h"
#include "diagnosis/doctor/FindingTable.h"

#include <optional>
#include <string>
#include <vector>

namespace diagnosis {

/// One thing that is wrong, or worth knowing, with its evidence.
struct Finding {
    enum class Severity {
        Fault, ///< something is broken, or does not fit
        Note,  ///< worth knowing, or avoided by the calibration
    };
    FindingKind kind{};
    Severity severity = Severity::Fault;
    std::vector<std::size_t> pins;     ///< procs: 0 is the clock
    std::string text;                  ///< what it is, one sentence
    std::vector<std::string> evidence; ///< a line for each file
    std::string remedy;                ///< what to check
    std::optional<double> fittingRate; ///< Hz; of a margin that is too small, the clock at which it fits
};

/// What a set of diagnostic files says about a board.
struct Diagnosis {
    std::optional<bool> calibrated;   ///< nothing when the files do not say
    std::vector<Verdict> verdicts;    ///< one for each attempt of the set
    std::vector<Finding> findings;    ///< faults first
    std::vector<std::string> limits;  ///< what these files cannot show, in sentences
    std::vector<std::string> missing; ///< kinds of files that would show more, such as "burst (.cap.txt)"
    bool judged = true;               ///< false: nothing was measured, or the files do not show how it ended
    std::string headline;             ///< "not calibrated", "calibrated at 50 MHz (setting 2)"

    bool hasFaults() const;
};

Diagnosis diagnose(const DiagnosticSet& set);

/// "D1 (EMU2)", with what the files say of the connector (see LaneNames).
std::string pinTitle(const DiagnosticSet& set, std::size_t proc);
/// "D1".
std::string pinLabel(const DiagnosticSet& set, std::size_t proc);
/// "both data pins", "all 4 data pins".
std::string allPinsTitle(std::size_t dataPins);
/// "setting 3 (95 MHz)"; "the first measurement" for what is no attempt.
std::string attemptTitle(const FileGroup& attempt);
/// The margin, in clock edges, that the receiver's check of a burst had to find during a recording; 1 when the files
/// do not say.
int requiredMarginEdges(const DiagnosticSet& set);

} // namespace diagnosis
