#pragma once

#include "diagnosis/analysis/DiagnosticSet.h"
#include "diagnosis/analysis/Verdict.h"

#include <optional>
#include <string>
#include <vector>

namespace diagnosis {

/// One thing that is wrong, or worth knowing, with what it rests on.
struct Finding {
    enum class Severity {
        Fault, ///< something is broken, or does not fit
        Note,  ///< the calibration got around it
    };
    /// For a script: "transmitter-failed", "clock-dead", "clock-too-fast", "too-many-bits", "clock-unusable",
    /// "clock-suspect", "settings-alike", "pins-noisy", "pins-silent", "pin-stuck", "pins-shorted", "pins-swapped",
    /// "pin-late", "pin-early", "pin-shifted", "pin-unreliable", "pin-garbled", "words-wrong",
    /// "duty-beyond-correction", "margin-too-small", "no-sampling-position", "margin-lost", "registers-differ".
    std::string kind;
    Severity severity = Severity::Fault;
    std::vector<std::size_t> pins;     ///< procs: 0 is the clock
    std::string text;                  ///< what it is, one sentence
    std::vector<std::string> evidence; ///< what it rests on, a line for each file
    std::string remedy;                ///< what to check
    std::optional<double> fittingRate; ///< Hz; of a margin that is too small, the clock at which it would do
};

/// What a set of diagnostic files tells about a board.
struct Diagnosis {
    std::optional<bool> calibrated;   ///< nothing when the files do not say
    std::vector<Verdict> verdicts;    ///< one for each attempt of the set
    std::vector<Finding> findings;    ///< faults first
    std::vector<std::string> limits;  ///< what these files cannot show, in sentences
    std::vector<std::string> missing; ///< kinds of files that would tell more, such as "burst (.cap.txt)"
    bool judged = true;               ///< false: nothing was measured, or the files do not tell how it ended

    bool hasFaults() const;
    /// "not calibrated", "calibrated at 50 MHz (setting 2)".
    std::string headline;
};

Diagnosis diagnose(const DiagnosticSet& set);

/// "data 3 (EMU2)", with what the files tell of the connector.
std::string pinTitle(const DiagnosticSet& set, std::size_t proc);
/// The margin in clock edges that the receiver's check of a burst was asked to keep during a recording; 1 when the
/// files do not say.
int lostMarginSetting(const DiagnosticSet& set);
/// "setting 3 (95 MHz)"; "the first measurement" for what is no attempt.
std::string attemptTitle(const FileGroup& attempt);

} // namespace diagnosis
