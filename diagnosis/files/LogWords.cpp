#include "diagnosis/files/LogWords.h"

#include "diagnosis/files/Text.h"
#include "toolkit/ExitCode.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace diagnosis {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t largestLog = std::size_t{1} << 26;
constexpr std::size_t mostLogs = 50;
constexpr std::string_view loading = "loading settings from ";
constexpr std::string_view transmitter = "transmitter failure";

/// What stands behind a mark; nothing for a line without it.
std::optional<std::string_view> behind(std::string_view line, std::string_view mark) {
    const std::size_t at = line.find(mark);
    return at == std::string_view::npos ? std::nullopt : std::optional(line.substr(at + mark.size()));
}

/// "eXMTR:(11) : transmitter failure" without the name and the number of its class.
std::string plain(std::string_view text) {
    const std::size_t close = text.find(") : ");
    const bool classed = text.starts_with('e') && close != std::string_view::npos && close < text.find(' ');
    return std::string(classed ? text.substr(close + 4) : text);
}

/// The settings' file has the stem for its name, on whatever system the log was written.
bool loads(std::string_view path, std::string_view stem) {
    const std::size_t slash = path.find_last_of("/\\");
    const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    return name.substr(0, name.rfind('.')) == stem;
}

void takeLine(LogWords& words, std::string_view line) {
    const auto take = [](std::map<unsigned, std::string>& into, std::string_view rest, std::string_view mark) {
        const auto setting = numberOf<unsigned>(rest.substr(0, std::min(rest.find(' '), rest.size())));
        const auto reason = behind(rest, mark);
        if (setting && reason) {
            into[*setting] = plain(*reason);
        }
    };
    if (const auto rest = behind(line, ") setting ")) {
        take(words.unused, *rest, " not used : ");
    }
    if (const auto rest = behind(line, ") failed freq")) {
        take(words.failed, *rest, " : ");
    }
    if (const auto rest = behind(line, "SetConfiguration std exception : ")) {
        words.last = plain(*rest);
    }
}

} // namespace

std::string LogWords::transmitterFailure() const {
    std::vector<std::string> texts{last};
    for (const auto* reasons : {&failed, &unused}) {
        for (const auto& [setting, reason] : *reasons) {
            texts.push_back(reason);
        }
    }
    for (const std::string& text : texts) {
        if (text.starts_with(transmitter)) {
            return text.size() > transmitter.size() + 3 ? text.substr(transmitter.size() + 3) : text;
        }
    }
    return {};
}

std::optional<LogWords> parseLogWords(std::string_view text, const std::string& stem, const std::string& file) {
    std::optional<LogWords> words;
    for (const TextLine& line : textLines(text)) {
        if (const auto path = behind(line.text, loading)) {
            words.reset();
            if (loads(*path, stem)) {
                words.emplace();
                words->file = file;
            }
        } else if (words) {
            takeLine(*words, line.text);
        }
    }
    return words;
}

std::optional<LogWords> findLogWords(const fs::path& folder, const std::string& stem) {
    std::vector<std::pair<fs::file_time_type, fs::path>> logs;
    std::error_code failed;
    for (const fs::path& place : {folder, folder / ".."}) {
        for (fs::directory_iterator at(place, failed); !failed && at != fs::directory_iterator();
             at.increment(failed)) {
            const std::string name = at->path().filename().string();
            // Of a log that is longer only the beginning would be read, and what counts stands at the end.
            if (name.starts_with("vx_trace_log") && name.ends_with(".txt") && at->is_regular_file(failed) &&
                at->file_size(failed) <= largestLog) {
                logs.emplace_back(at->last_write_time(failed), at->path());
            }
        }
    }
    std::sort(logs.rbegin(), logs.rend());
    logs.resize(std::min(logs.size(), mostLogs));
    for (const auto& [time, path] : logs) {
        try {
            if (auto words = parseLogWords(readBytes(path, largestLog), stem, path.filename().string())) {
                return words;
            }
        } catch (const toolkit::Failure&) {
            continue; // a log that cannot be read is none
        }
    }
    return std::nullopt;
}

} // namespace diagnosis
