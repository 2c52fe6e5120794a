#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the receiver's log says of one configuration. Reasons are verbatim, such as "eCALIBRATE(12) : ...".

namespace diagnosis {

/// One frequency setting of the transmitter, as far as the log names it.
struct FrequencySetting {
    enum class Verdict {
        Measured, ///< usable, but not tried
        Chosen,   ///< the calibration ended with it
        Rejected, ///< tried, or measured, and found unusable
    };
    unsigned setting = 0;
    double hertz = 0.0;
    Verdict verdict = Verdict::Measured;
    std::string reason;   ///< of a rejected one
    bool failed = false;  ///< it was tried, and the attempt was given up
    std::string unused{}; ///< why it could not be programmed or measured; empty for any other
};

/// One attempt of an automatic calibration.
struct CalibrationAttempt {
    unsigned setting = 0;
    double hertz = 0.0;
    std::string position; ///< "center" or "edge": where data edges are; empty when that was not found
    bool kept = false;    ///< the calibration ended with it
    std::string reason;   ///< why it was given up
};

struct RunLog {
    std::string file;                          ///< name of the log; empty for a text
    std::string stem;                          ///< name of the settings file without its ending
    std::vector<FrequencySetting> frequencies; ///< slow to fast
    std::vector<CalibrationAttempt> attempts;  ///< in the order made
    /// Why the settings file was overwritten with defaults; nothing when it was good.
    std::optional<std::string> settingsReplaced;
    std::string failure; ///< how the configuration failed; empty when it succeeded

    const FrequencySetting* chosen() const;
    /// Why the attempt at a setting was given up, without the reason's class; nothing without such an attempt.
    std::optional<std::string> failedReason(unsigned setting) const;
    /// Settings that could not be used, then those whose attempts failed: "setting 2: REASON", without classes.
    std::vector<std::string> failures() const;
    /// The first reason that is about the transmitter, without the words that it begins with; empty without one.
    std::string transmitterFailure() const;
};

/// Reads the last configuration in a log's text: everything after the last line that starts a new one.
/// `calibrated`: it succeeded. Without success no setting is the chosen one.
RunLog parseRunLog(std::string_view text, bool calibrated);

/// Searches the folder of the diagnostic files and the one above it, where a run leaves its log. Of several logs whose
/// last configuration loaded settings of the name `stem` the newest counts.
std::optional<RunLog> findRunLog(const std::filesystem::path& folder, const std::string& stem);

/// A reason without the class at its start: "eXMTR:(11) : transmitter failure" becomes "transmitter failure".
std::string plainReason(std::string_view reason);

} // namespace diagnosis
