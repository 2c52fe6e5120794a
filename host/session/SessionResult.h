#pragma once

#include "diagnosis/files/CalFile.h"
#include "diagnosis/files/ChecksFile.h"
#include "diagnosis/files/RunLog.h"
#include "diagnosis/verdict/RunVerdict.h"
#include "host/session/RunProperties.h"
#include "toolkit/ExitCode.h"
#include "toolkit/LaneNames.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace host {

/// One attempt of a calibration and its report.
struct AttemptResult {
    diagnosis::CalibrationAttempt attempt;
    std::optional<diagnosis::CalFile> report; ///< nothing when the attempt ended before its first measurement
};

/// A file or folder of a run.
struct NamedFile {
    std::string key;   ///< in JSON, such as "traceData"
    std::string label; ///< in text, such as "trace data file"
    std::string path;
};

/// Key of bare copies, of which there may be several.
inline constexpr const char* rawCopies = "raw";

/// The result of a session, as far as it came.
struct SessionResult {
    toolkit::ExitCode code = toolkit::ExitCode::Done;
    std::string failure; ///< the line for the user when `code` is not Done
    std::string where;   ///< place in the receiver's sources; may be empty

    std::string scenario; ///< empty without the bench
    std::string cpu;
    std::string pinMap;
    toolkit::LaneNames names;            ///< that the user gave the pins
    std::vector<SetProperty> properties; ///< of the channel, that no settings file has

    bool calibrated = false;
    std::optional<double> calibrationSeconds; ///< nothing before the first calibration ended
    bool givenValues = false;                 ///< calibrated with given values: no frequency was measured
    std::optional<double> hertz;              ///< the trace clock that the receiver states
    diagnosis::RunLog log;                    ///< from the log or, without one, from the files
    std::vector<AttemptResult> attempts;
    std::optional<diagnosis::CalFile> calibration; ///< of the attempt that was kept, otherwise of the last one

    /// Beyond the receiver's own checks. Its code and failure are set when the work is done.
    diagnosis::RunChecks checks;
    std::optional<diagnosis::RunVerdict> verdict; ///< when all has ended
    std::optional<diagnosis::DiagnosticSet> set;  ///< the files that it was decided from; nothing if there are none

    std::vector<NamedFile> files;
    std::string doctorTakes; ///< argument of `orvtrace doctor` and `report` for this run; empty before any calibration
    std::vector<std::string> notes;    ///< remarks on these results for the user
    std::vector<std::string> troubles; ///< unreadable diagnostic files: "FILE:LINE: WHAT"

    /// A sampled pin, by the pin map.
    toolkit::LanePlace lane(std::size_t proc) const;
    /// Empty without a file of this key.
    std::string file(const std::string& key) const;
    /// The failure for a result that has one.
    void fail(const toolkit::Failure& why);
};

/// The part that all sessions have for a script: the head of the object, "scenario", "properties",
/// "labels", "files", "notes", "damaged", "verdict".
nlohmann::json sessionJson(const SessionResult& result);

} // namespace host
