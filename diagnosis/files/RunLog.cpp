#include "diagnosis/files/RunLog.h"

#include "toolkit/TextFile.h"

#include <algorithm>
#include <cstdio>

namespace diagnosis {

namespace {

constexpr int nothing = -1; // no setting is under trial

FrequencySetting& entryOf(RunLog& log, unsigned setting) {
    const auto known = std::find_if(log.frequencies.begin(), log.frequencies.end(),
                                    [=](const FrequencySetting& entry) { return entry.setting == setting; });
    if (known != log.frequencies.end()) {
        return *known;
    }
    FrequencySetting entry;
    entry.setting = setting;
    log.frequencies.push_back(entry);
    return log.frequencies.back();
}

/// The text behind a mark, or nothing.
const char* behind(const std::string& line, const char* mark) {
    const std::size_t at = line.find(mark);
    return at == std::string::npos ? nullptr : line.c_str() + at + std::string(mark).size();
}

void reject(FrequencySetting& entry, std::string reason) {
    entry.verdict = FrequencySetting::Verdict::Rejected;
    entry.reason = std::move(reason);
}

void takeLine(RunLog& log, const std::string& line, int& tried) {
    unsigned setting = 0;
    double hertz = 0.0;
    int used = 0;
    if (const char* rest = behind(line, " setting ")) {
        if (std::sscanf(rest, "%u measured at %lf", &setting, &hertz) == 2) {
            entryOf(log, setting).hertz = hertz;
        } else if (std::sscanf(rest, "%u exceeds frequency limits%n", &setting, &used) == 1 && used > 0) {
            reject(entryOf(log, setting), "exceeds frequency limits");
        }
    }
    if (const char* rest = behind(line, "exception programming transmitter to frequency setting ")) {
        if (std::sscanf(rest, "%u", &setting) == 1) {
            reject(entryOf(log, setting), "cannot be programmed or measured");
        }
    }
    if (const char* rest = behind(line, " sampling position "); rest != nullptr && !log.attempts.empty()) {
        const std::string text = rest;
        const std::string word = text.substr(0, text.find(' '));
        log.attempts.back().position = word == "center" || word == "edge" ? word : std::string();
    }
    if (const char* rest = behind(line, "trying freq")) {
        if (std::sscanf(rest, "%u (%lf)", &setting, &hertz) == 2) {
            entryOf(log, setting).hertz = hertz;
            tried = static_cast<int>(setting);
            log.attempts.push_back({setting, hertz, {}, false, {}});
        }
    }
    if (const char* rest = behind(line, "failed freq")) {
        used = 0;
        if (std::sscanf(rest, "%u (%lf) : %n", &setting, &hertz, &used) == 2 && used > 0) {
            reject(entryOf(log, setting), rest + used);
            if (!log.attempts.empty()) {
                log.attempts.back().reason = rest + used;
            }
            tried = nothing;
        }
    }
}

} // namespace

const FrequencySetting* RunLog::chosen() const {
    const auto found = std::find_if(frequencies.begin(), frequencies.end(), [](const FrequencySetting& entry) {
        return entry.verdict == FrequencySetting::Verdict::Chosen;
    });
    return found == frequencies.end() ? nullptr : &*found;
}

RunLog parseRunLog(const std::string& text, bool calibrated) {
    RunLog log;
    int tried = nothing;
    for (const std::string& line : toolkit::splitLines(text)) {
        if (line.find("loading settings from ") != std::string::npos) {
            log = RunLog();
            tried = nothing;
        }
        if (const char* reason = behind(line, "overwriting file with defaults")) {
            const std::string rest = reason;
            log.settingsReplaced = rest.rfind(" : ", 0) == 0 ? rest.substr(3) : std::string("unknown reason");
        }
        takeLine(log, line, tried);
    }
    if (calibrated && tried != nothing) {
        entryOf(log, static_cast<unsigned>(tried)).verdict = FrequencySetting::Verdict::Chosen;
        log.attempts.back().kept = true;
    }
    std::sort(log.frequencies.begin(), log.frequencies.end(),
              [](const FrequencySetting& a, const FrequencySetting& b) { return a.setting < b.setting; });
    return log;
}

} // namespace diagnosis
