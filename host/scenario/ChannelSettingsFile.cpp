#include "host/scenario/ChannelSettingsFile.h"

#include "toolkit/OutputFiles.h"
#include "toolkit/Text.h"
#include "toolkit/Units.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <ostream>
#include <set>

namespace host {

namespace {

/// In lower case, without blanks and without "B" or "iB" at the end.
std::string condensed(std::string text) {
    std::erase(text, ' ');
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    for (const char letter : {'b', 'i'}) {
        text.resize(text.size() - (text.ends_with(letter) ? 1 : 0));
    }
    return text;
}

constexpr double smallestBuffer = 256.0 * 1024.0;

/// Without any of these the receiver overwrites the file with its defaults.
constexpr std::array neededKeys{"no_emu0",  "drm_type", "drm_key",         "is_sync",  "is_stop_on_full",
                                "num_pins", "pin_map",  "bufsize_current", "drm_xmtr", "start_port"};

} // namespace

std::string settingsFault(const std::string& text) {
    std::vector<std::string> missing;
    for (const char* key : neededKeys) {
        if (text.find(std::string("<") + key) == std::string::npos) {
            missing.push_back(std::string("<") + key + ">");
        }
    }
    if (missing.size() == neededKeys.size()) {
        return "it is no channel settings file";
    }
    return missing.empty() ? std::string() : "it lacks " + toolkit::joined(missing, ", ");
}

std::optional<unsigned> bufferIndexOf(const std::string& text) {
    for (unsigned index = 0; index < bufferSizes.size(); ++index) {
        if (condensed(text) == condensed(bufferSizes[index])) {
            return index;
        }
        if (toolkit::bytesOf(text) == smallestBuffer * static_cast<double>(1U << index)) {
            return index;
        }
    }
    return std::nullopt;
}

std::optional<PinChoice> pinChoiceOf(const std::string& text) {
    constexpr unsigned lastPin = 5;
    std::set<unsigned> seen;
    unsigned number = 0;
    std::size_t count = 0;
    for (const std::string& item : toolkit::split(text + ",", ',')) {
        const auto [end, failed] = std::from_chars(item.data(), item.data() + item.size(), number);
        if (failed != std::errc() || end != item.data() + item.size()) {
            return std::nullopt;
        }
        seen.insert(number);
        ++count;
    }
    const bool list = count > 1;
    const unsigned dataPins = list ? static_cast<unsigned>(count) - 1 : number;
    if ((dataPins != 1 && dataPins != 2 && dataPins != 4) || seen.size() != count) {
        return std::nullopt;
    }
    if (list && *seen.rbegin() > lastPin) {
        return std::nullopt;
    }
    return PinChoice{dataPins, list ? text : std::string()};
}

std::string channelSettingsText(const ChannelSettings& settings) {
    return fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<!-- This file defines the MPX Kite R2 STM receiver channel settings. -->\n"
                       "<CHANNEL-SETUP>\n"
                       "\t<RCVRNAME>Kite R2 Trace</RCVRNAME>\n"
                       "\t<no_emu0>false</no_emu0>\n"
                       "\t<no_emu1>false</no_emu1>\n"
                       "\t<drm_type></drm_type>\n"
                       "\t<drm_key></drm_key>\n"
                       "\t<num_pins>{}</num_pins>\n"
                       "\t<pin_map>{}</pin_map>\n"
                       "\t<is_stop_on_full>{}</is_stop_on_full>\n"
                       "\t<is_sync>{}</is_sync>\n"
                       "\t<bufsize_current>{}</bufsize_current>\n"
                       "\t<drm_xmtr>{}</drm_xmtr>\n"
                       "\t<start_port>0</start_port>\n"
                       "</CHANNEL-SETUP>\n",
                       settings.dataPins, settings.pinMap, settings.stopOnFull, settings.followTarget,
                       settings.bufferIndex, settings.exportKind);
}

void writeChannelSettings(const ChannelSettings& settings, const std::filesystem::path& file) {
    toolkit::writeOutputFile(file, [&](std::ostream& out) { out << channelSettingsText(settings); });
}

} // namespace host
