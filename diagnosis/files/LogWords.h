#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace diagnosis {

/// What the receiver's log says of one calibration, where the diagnostic files say nothing: why it ended.
struct LogWords {
    std::string file;                       ///< name of the log
    std::map<unsigned, std::string> failed; ///< settings that were tried and dropped, with the reason
    std::map<unsigned, std::string> unused; ///< settings that could not be programmed or measured, with the reason
    std::string last;                       ///< what the configuration ended with; empty when it succeeded

    /// The first of these texts that is about the transmitter, without the words that it begins with; empty without one.
    std::string transmitterFailure() const;
};

/// Takes the last configuration of the log that loaded settings of the name `stem`; nothing without one.
std::optional<LogWords> parseLogWords(std::string_view text, const std::string& stem, const std::string& file);

/// Looks for the log in the folder of the diagnostic files and in the one above it, where a run leaves it. Of several
/// that name the stem the newest counts.
std::optional<LogWords> findLogWords(const std::filesystem::path& folder, const std::string& stem);

} // namespace diagnosis
