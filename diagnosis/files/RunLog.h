#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// What the receiver's log tells about one configuration.

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
    std::string reason; ///< of a rejected one
};

/// One attempt of an automatic calibration.
struct CalibrationAttempt {
    unsigned setting = 0;
    double hertz = 0.0;
    std::string position; ///< "center" or "edge": where data edges lie; empty when that was not found out
    bool kept = false;    ///< the calibration ended with it
    std::string reason;   ///< why it was dropped
};

struct RunLog {
    std::vector<FrequencySetting> frequencies; ///< slow to fast
    std::vector<CalibrationAttempt> attempts;  ///< in the order made
    /// Why the settings file was overwritten with defaults; nothing when it was good.
    std::optional<std::string> settingsReplaced;
    const FrequencySetting* chosen() const;
};

/// Reads the last configuration in a log's text: everything behind the last line that starts a new one.
/// `calibrated` tells whether it succeeded: without success no setting is the chosen one.
RunLog parseRunLog(const std::string& text, bool calibrated);

} // namespace diagnosis
