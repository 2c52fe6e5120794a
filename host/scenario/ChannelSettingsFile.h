#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>

namespace host {

/// A user's choices for a channel. The receiver reads them from a small XML file.
struct ChannelSettings {
    unsigned dataPins = 4;          ///< 1, 2 or 4
    std::string pinMap;             ///< EMU pins, clock first, separated by ","; empty: the receiver looks for one
    std::string exportKind = "pti"; ///< "pti", "tpiu", "tpiulite"
    unsigned bufferIndex = 0;       ///< index into bufferSizes
    bool stopOnFull = true;         ///< false: the buffer wraps
    bool followTarget = true;       ///< the recording follows the target's run and halt
};

/// Names of the capture unit's buffer sizes, 256 KiB times two to the power of the index.
inline constexpr std::array bufferSizes{"256 KiB", "512 KiB", "1 MiB",  "2 MiB",  "4 MiB",
                                        "8 MiB",   "16 MiB",  "32 MiB", "64 MiB", "128 MiB"};

/// Index of a size given as "4M", "4 MB", "4MiB", "256k" or in bytes, in any case; nothing when there is no such size.
std::optional<unsigned> bufferIndexOf(const std::string& text);

/// The requested trace pins.
struct PinChoice {
    unsigned dataPins = 0;
    std::string pinMap; ///< empty: the receiver looks for pins
};

/// "4", or a list of EMU pins with the clock first such as "0,1,2"; nothing unless that gives 1, 2 or 4 data pins, all
/// different and within 0 to 5.
std::optional<PinChoice> pinChoiceOf(const std::string& text);

/// Why the receiver could not use a settings file with this text; empty when it has every key that is needed. Values are
/// left to the receiver.
std::string settingsFault(const std::string& text);

/// The text of a settings file, in the form that the receiver writes itself.
std::string channelSettingsText(const ChannelSettings& settings);

/// Throws Failure (OutputUnwritable).
void writeChannelSettings(const ChannelSettings& settings, const std::filesystem::path& file);

} // namespace host
