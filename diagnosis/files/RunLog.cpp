#include "diagnosis/files/RunLog.h"

#include "toolkit/ExitCode.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <utility>

namespace diagnosis {

namespace {

namespace fs = std::filesystem;
using toolkit::numberOf;
using toolkit::textAfter;

constexpr std::size_t largestLog = std::size_t{1} << 26;
constexpr std::size_t mostLogs = 50;
constexpr std::string_view transmitter = "transmitter failure";

/// The characters up to the next blank.
std::string_view firstWord(std::string_view text) {
    return text.substr(0, text.find(' '));
}

/// The settings file's name without folder and ending, on whatever system the log was written.
std::string_view stemOf(std::string_view path) {
    const std::size_t slash = path.find_last_of("/\\");
    const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    return name.substr(0, name.rfind('.'));
}

/// A setting and its rate, "2 (1.00000e+08)".
struct NumberedRate {
    unsigned setting = 0;
    double hertz = 0.0;
};
std::optional<NumberedRate> numberedRate(std::string_view text) {
    const auto setting = numberOf<unsigned>(firstWord(text));
    const auto rate = textAfter(text, "(");
    const auto hertz = rate ? toolkit::fractionOf(rate->substr(0, rate->find(')'))) : std::nullopt;
    if (!setting || !hertz) {
        return std::nullopt;
    }
    return NumberedRate{*setting, *hertz};
}

/// Follows one configuration line by line.
class LogReader {
public:
    void take(std::string_view line) {
        if (const auto path = textAfter(line, "loading settings from ")) {
            log = RunLog();
            log.stem = stemOf(*path);
            tried.reset();
        }
        if (const auto rest = textAfter(line, "overwriting file with defaults")) {
            log.settingsReplaced = rest->starts_with(" : ") ? std::string(rest->substr(3)) : "unknown reason";
        }
        if (const auto rest = textAfter(line, " setting ")) {
            takeSetting(*rest);
        }
        if (const auto rest = textAfter(line, "exception programming transmitter to frequency setting ")) {
            if (const auto setting = numberOf<unsigned>(firstWord(*rest))) {
                reject(*setting, "cannot be programmed or measured");
            }
        }
        if (const auto rest = textAfter(line, " sampling position "); rest && !log.attempts.empty()) {
            const std::string_view word = firstWord(*rest);
            log.attempts.back().position = word == "center" || word == "edge" ? word : std::string_view();
        }
        if (const auto rest = textAfter(line, "trying freq")) {
            takeTry(*rest);
        }
        if (const auto rest = textAfter(line, "failed freq")) {
            takeFailure(*rest);
        }
        if (const auto rest = textAfter(line, "SetConfiguration std exception : ")) {
            log.failure = *rest;
        }
    }

    RunLog finished(bool calibrated) {
        if (calibrated && tried) {
            entryOf(*tried).verdict = FrequencySetting::Verdict::Chosen;
            log.attempts.back().kept = true;
        }
        std::sort(log.frequencies.begin(), log.frequencies.end(),
                  [](const FrequencySetting& a, const FrequencySetting& b) { return a.setting < b.setting; });
        return std::move(log);
    }

private:
    FrequencySetting& entryOf(unsigned setting) {
        const auto known = std::find_if(log.frequencies.begin(), log.frequencies.end(),
                                        [=](const FrequencySetting& entry) { return entry.setting == setting; });
        if (known != log.frequencies.end()) {
            return *known;
        }
        log.frequencies.emplace_back().setting = setting;
        return log.frequencies.back();
    }

    void reject(unsigned setting, std::string_view reason) {
        FrequencySetting& entry = entryOf(setting);
        entry.verdict = FrequencySetting::Verdict::Rejected;
        entry.reason = reason;
    }

    void takeSetting(std::string_view rest) {
        const auto setting = numberOf<unsigned>(firstWord(rest));
        if (!setting) {
            return;
        }
        if (const auto rate = textAfter(rest, " measured at ")) {
            entryOf(*setting).hertz = toolkit::fractionOf(firstWord(*rate)).value_or(0.0);
        } else if (textAfter(rest, " exceeds frequency limits")) {
            reject(*setting, "exceeds frequency limits");
        } else if (const auto reason = textAfter(rest, " not used : ")) {
            entryOf(*setting).unused = *reason;
        }
    }

    void takeTry(std::string_view rest) {
        if (const auto attempt = numberedRate(rest)) {
            entryOf(attempt->setting).hertz = attempt->hertz;
            tried = attempt->setting;
            log.attempts.push_back({attempt->setting, attempt->hertz, {}, false, {}});
        }
    }

    void takeFailure(std::string_view rest) {
        const auto attempt = numberedRate(rest);
        const auto reason = textAfter(rest, ") : ");
        if (!attempt || !reason) {
            return;
        }
        reject(attempt->setting, *reason);
        entryOf(attempt->setting).failed = true;
        if (!log.attempts.empty()) {
            log.attempts.back().reason = *reason;
        }
        tried.reset();
    }

    RunLog log;
    std::optional<unsigned> tried; ///< the setting whose attempt has not ended yet
};

/// Logs in a folder and the one above it, the newest first.
std::vector<fs::path> logsNear(const fs::path& folder) {
    std::vector<std::pair<fs::file_time_type, fs::path>> logs;
    std::error_code failed;
    for (const fs::path& place : {folder, folder / ".."}) {
        for (fs::directory_iterator at(place, failed); !failed && at != fs::directory_iterator();
             at.increment(failed)) {
            const std::string name = at->path().filename().string();
            // Only the start of a longer log would be read, and what counts is at its end.
            if (name.starts_with("vx_trace_log") && name.ends_with(".txt") && at->is_regular_file(failed) &&
                at->file_size(failed) <= largestLog) {
                logs.emplace_back(at->last_write_time(failed), at->path());
            }
        }
    }
    std::sort(logs.rbegin(), logs.rend());
    logs.resize(std::min(logs.size(), mostLogs));
    std::vector<fs::path> paths;
    for (auto& [time, path] : logs) {
        paths.push_back(std::move(path));
    }
    return paths;
}

} // namespace

const FrequencySetting* RunLog::chosen() const {
    const auto found = std::find_if(frequencies.begin(), frequencies.end(), [](const FrequencySetting& entry) {
        return entry.verdict == FrequencySetting::Verdict::Chosen;
    });
    return found == frequencies.end() ? nullptr : &*found;
}

std::optional<std::string> RunLog::failedReason(unsigned setting) const {
    const auto found = std::find_if(frequencies.begin(), frequencies.end(), [=](const FrequencySetting& entry) {
        return entry.setting == setting && entry.failed;
    });
    return found == frequencies.end() ? std::nullopt : std::optional(plainReason(found->reason));
}

std::vector<std::string> RunLog::failures() const {
    std::vector<std::string> lines;
    const auto add = [&](const FrequencySetting& entry, const std::string& reason) {
        lines.push_back("setting " + std::to_string(entry.setting) + ": " + plainReason(reason));
    };
    for (const FrequencySetting& entry : frequencies) {
        if (!entry.unused.empty()) {
            add(entry, entry.unused);
        }
    }
    for (const FrequencySetting& entry : frequencies) {
        if (entry.failed) {
            add(entry, entry.reason);
        }
    }
    return lines;
}

std::string RunLog::transmitterFailure() const {
    std::vector<std::string> texts{plainReason(failure)};
    for (const FrequencySetting& entry : frequencies) {
        texts.push_back(entry.failed ? plainReason(entry.reason) : std::string());
    }
    for (const FrequencySetting& entry : frequencies) {
        texts.push_back(plainReason(entry.unused));
    }
    for (const std::string& text : texts) {
        if (text.starts_with(transmitter)) {
            return text.size() > transmitter.size() + 3 ? text.substr(transmitter.size() + 3) : text;
        }
    }
    return {};
}

RunLog parseRunLog(std::string_view text, bool calibrated) {
    LogReader reader;
    for (const toolkit::TextLine& line : toolkit::textLines(text)) {
        reader.take(line.text);
    }
    return reader.finished(calibrated);
}

std::optional<RunLog> findRunLog(const fs::path& folder, const std::string& stem) {
    for (const fs::path& path : logsNear(folder)) {
        try {
            RunLog log = parseRunLog(toolkit::readText(path, 0, largestLog), false);
            if (log.stem == stem) {
                log.file = path.filename().string();
                return log;
            }
        } catch (const toolkit::Failure&) {
            continue; // a log that cannot be read is ignored
        }
    }
    return std::nullopt;
}

std::string plainReason(std::string_view reason) {
    const std::size_t close = reason.find(") : ");
    const bool classed = reason.starts_with('e') && close != std::string_view::npos && close < reason.find(' ');
    return std::string(classed ? reason.substr(close + 4) : reason);
}

} // namespace diagnosis
