#pragma once

#include "diagnosis/files/BurstFile.h"
#include "diagnosis/files/CalFile.h"
#include "diagnosis/files/LogWords.h"
#include "diagnosis/files/PropertiesFile.h"
#include "diagnosis/files/RegisterFile.h"
#include "diagnosis/files/Verification.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace diagnosis {

/// The files under one stem: an attempt at a frequency setting, or what stands beside the attempts.
struct FileGroup {
    std::optional<unsigned> setting; ///< of an attempt, STEM.freq<n>; nothing for STEM itself
    std::optional<CalFile> cal;
    std::optional<Burst> burst;       ///< ".cap.txt"
    std::optional<Burst> failedBurst; ///< ".err.cap.txt": a margin failed during a recording
    std::optional<RegisterDump> registers;
    std::optional<Verification> verification;

    /// Pins with the clock, from whatever file tells; 0 when none does.
    std::size_t pins() const;
    /// The rates of the attempt, from whatever file tells.
    Rates rates() const;
};

/// Everything that a calibration and a recording left under one stem.
struct DiagnosticSet {
    std::filesystem::path folder;
    std::string name; ///< the stem without its folder
    FileGroup base;
    std::vector<FileGroup> attempts; ///< in the order of the tries, fast to slow
    std::optional<PropertiesFile> properties;
    std::optional<std::string> pinMap; ///< of the last calibration that succeeded, ".cache"
    std::optional<std::uintmax_t> recordedBytes;
    std::vector<std::string> files;    ///< names of all that were found, in their order
    std::vector<std::string> troubles; ///< files that could not be read: "FILE:LINE: WHAT"

    std::optional<LogWords> log; ///< of the run, when it lies beside these files

    std::string exportKind() const; ///< empty when no file tells
    /// The pattern that the proofs were made of, as far as that is settled: "tpiu" takes no other than this one.
    std::string provedWith() const;
    bool manual() const;       ///< calibrated with given values: nothing was measured
    double sampleRate() const; ///< of the unit, the best that any file tells
};

/// Reads what belongs to `place`: a folder that holds one recording's files, itself or in folders below; a stem; or
/// one of the files. A file that is damaged is left out and named in `troubles`. Throws Failure: BadInput when there
/// is nothing to read, Usage when the folder holds several recordings, which the text lists.
DiagnosticSet readDiagnostics(const std::filesystem::path& place);

} // namespace diagnosis
