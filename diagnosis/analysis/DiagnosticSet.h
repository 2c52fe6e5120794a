#pragma once

#include "diagnosis/files/BurstFile.h"
#include "diagnosis/files/CalFile.h"
#include "diagnosis/files/ChecksFile.h"
#include "diagnosis/files/PropertiesFile.h"
#include "diagnosis/files/RegisterFile.h"
#include "diagnosis/files/RunLog.h"
#include "diagnosis/files/Verification.h"
#include "toolkit/LaneNames.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace diagnosis {

/// The files of one attempt at a frequency setting, or those of the whole calibration.
struct FileGroup {
    std::optional<unsigned> setting; ///< of an attempt, STEM.freq<n>; nothing for STEM
    std::optional<CalFile> cal;
    std::optional<Burst> burst;       ///< ".cap.txt"
    std::optional<Burst> failedBurst; ///< ".err.cap.txt": a margin failed during a recording
    std::optional<RegisterDump> registers;
    std::optional<Verification> verification;

    /// Number of pins with the clock, from any file that has it; 0 when none has.
    std::size_t pins() const;
    /// The rates of the attempt, from any file that has them.
    Rates rates() const;
};

/// Everything that a calibration and a recording left under one stem.
struct DiagnosticSet {
    std::filesystem::path folder;
    std::string name; ///< the stem without its folder
    FileGroup base;
    std::vector<FileGroup> attempts; ///< in the order made, fast to slow
    std::optional<PropertiesFile> properties;
    std::optional<std::string> pinMap; ///< of the last calibration that succeeded, ".cache"
    std::optional<std::uintmax_t> recordedBytes;
    std::optional<RunChecks> checks;   ///< what the host has checked of the run, ".checks.json"
    std::vector<std::string> files;    ///< names of all that were found, sorted
    std::vector<std::string> troubles; ///< files that could not be read: "FILE:LINE: WHAT"

    toolkit::LaneNames names; ///< of the pins; by default those that the run was given

    std::optional<RunLog> log; ///< of the run; in the folder of these files or in the one above

    std::string exportKind() const; ///< empty when no file has it
    /// The pattern of the verifications where one is known, as for "tpiu" or by a property; otherwise empty.
    std::string verificationPattern() const;
    bool manual() const;          ///< calibrated with given values: nothing was measured
    std::size_t dataPins() const; ///< of the run; 0 when no file has them
    /// A sampled pin, with what the files say of the connector.
    toolkit::LanePlace lane(std::size_t proc) const;
    double sampleRate() const; ///< of the unit, from the file that shows it most exactly
};

/// Reads the files of one run. `place` is a folder that holds them, itself or in folders below; their stem; or one of
/// them. A damaged file is left out and named in `troubles`. Throws Failure: BadInput when there is nothing to read,
/// Usage when the folder holds several runs, which the text lists.
DiagnosticSet readDiagnostics(const std::filesystem::path& place);

} // namespace diagnosis
