#include "host/scenario/ChannelSettingsFile.h"

#include "toolkit/OutputFiles.h"
#include "toolkit/Text.h"

#include <array>
#include <cctype>
#include <charconv>
#include <ostream>
#include <set>

namespace host {

namespace {

std::string condensed(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c != ' ') {
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    if (!result.empty() && result.back() == 'b') {
        result.pop_back();
    }
    if (!result.empty() && result.back() == 'i') {
        result.pop_back();
    }
    return result;
}

void addLine(std::string& text, const char* key, const std::string& value) {
    text.append("\t<").append(key).append(">").append(value).append("</").append(key).append(">\n");
}

std::string truth(bool value) {
    return value ? "true" : "false";
}

/// Without any of these the receiver overwrites the file with its defaults.
constexpr std::array neededKeys{"no_emu0",  "drm_type", "drm_key",         "is_sync",  "is_stop_on_full",
                                "num_pins", "pin_map",  "bufsize_current", "drm_xmtr", "start_port"};

} // namespace

std::string settingsFault(const std::string& text) {
    std::string missing;
    std::size_t count = 0;
    for (const char* key : neededKeys) {
        if (text.find(std::string("<") + key) != std::string::npos) {
            continue;
        }
        missing += (missing.empty() ? "<" : ", <") + std::string(key) + ">";
        ++count;
    }
    if (count == neededKeys.size()) {
        return "it is no channel settings file";
    }
    return count == 0 ? std::string() : "it lacks " + missing;
}

std::optional<unsigned> bufferIndexOf(const std::string& text) {
    for (unsigned index = 0; index < bufferSizes.size(); ++index) {
        if (condensed(text) == condensed(bufferSizes[index])) {
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
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<!-- This file defines the MPX Kite R2 STM receiver channel settings. -->\n"
                       "<CHANNEL-SETUP>\n";
    addLine(text, "RCVRNAME", "Kite R2 Trace");
    addLine(text, "no_emu0", truth(false));
    addLine(text, "no_emu1", truth(false));
    addLine(text, "drm_type", "");
    addLine(text, "drm_key", "");
    addLine(text, "num_pins", std::to_string(settings.dataPins));
    addLine(text, "pin_map", settings.pinMap);
    addLine(text, "is_stop_on_full", truth(settings.stopOnFull));
    addLine(text, "is_sync", truth(settings.followTarget));
    addLine(text, "bufsize_current", std::to_string(settings.bufferIndex));
    addLine(text, "drm_xmtr", settings.exportKind);
    addLine(text, "start_port", "0");
    text += "</CHANNEL-SETUP>\n";
    return text;
}

void writeChannelSettings(const ChannelSettings& settings, const std::filesystem::path& file) {
    toolkit::writeOutputFile(file, [&](std::ostream& out) { out << channelSettingsText(settings); });
}

} // namespace host
