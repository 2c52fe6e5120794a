#pragma once

#include "diagnosis/analysis/LaneMargins.h"
#include "diagnosis/verdict/RunVerdict.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace diagnosis {

/// What a calibration kept for one sampled pin, and what its last burst shows there.
struct KeptPin {
    std::string title; ///< "data 3 (EMU2)"
    std::optional<int> delay, stretch, filter, debounce, plateau;
    std::optional<LaneMargins> margins; ///< of a data pin whose burst shows enough changes
    /// When the data change, in samples after the clock edge, with delays and stretches taken out: the board's own. Half a
    /// clock period more is the same.
    std::optional<double> arrival;
    std::optional<double> lateFall; ///< of falls against rises, in samples, with the stretch taken out
};

/// A calibration that was kept, from its files.
struct KeptCalibration {
    std::string place; ///< as the user named it
    std::string date;  ///< "2026-03-05 14:07 UTC", of its last file; empty when not known
    bool calibrated = false;
    bool given = false; ///< set with given values
    std::string exportKind;
    std::string pinMap;                  ///< "0,1,2,3,4"; empty when not known
    std::optional<unsigned> setting;     ///< of the target's frequency
    std::optional<double> hertz;         ///< of the trace clock
    double sampleRate = usualSampleRate; ///< of the unit
    std::vector<KeptPin> pins{};         ///< the clock first
    RunVerdict verdict{};
    std::vector<std::string> troubles{}; ///< unreadable files

    /// Every pin has all five values.
    bool hasValues() const;
    double nanoseconds(double samples) const { return samples * 1e9 / sampleRate; }
};

/// The receiver's own two counts of one clock differ by less.
bool isSameRate(double hertz, double other);

/// `place` is only named.
KeptCalibration keptCalibrationOf(const DiagnosticSet& set, const std::string& place);

/// As readDiagnostics(). Throws Failure.
KeptCalibration readKeptCalibration(const std::filesystem::path& place);

/// What the pins of a burst show, with the values that they had in it.
std::vector<KeptPin> pinsOfBurst(const DiagnosticSet& set, const Burst& burst);

/// The way from one arrival to another, the shorter one around half a clock period of so many samples.
double movedBy(double from, double to, double half);

} // namespace diagnosis
