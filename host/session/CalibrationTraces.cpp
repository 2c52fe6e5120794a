#include "host/session/CalibrationTraces.h"

#include "diagnosis/analysis/OwnFigures.h"
#include "diagnosis/analysis/Verdict.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/Text.h"

#include <cmath>

namespace host {

namespace {

namespace fs = std::filesystem;
using diagnosis::CalFile;
using diagnosis::FileGroup;

constexpr const char* noReason = "not known: the receiver's log is missing or cut off";
constexpr const char* calibrationReport = "calibrationReport";
constexpr double sameRate = 1e-3; ///< share; the log rounds to six digits

std::string endingOf(unsigned setting) {
    return ".freq" + std::to_string(setting);
}

/// Reads the files of one calibration, as far as they are needed.
class Reader {
public:
    Reader(const CalibrationTraces& given, SessionResult& filled) : traces(given), result(filled) {}

    std::optional<CalFile> report(const std::string& ending) const {
        const fs::path file = named(ending + ".cal.txt");
        std::optional<CalFile> read = readOne(file, diagnosis::readCalFile);
        std::error_code failed;
        if (fs::exists(file, failed)) {
            nameReport(file);
        }
        return read;
    }

    std::optional<CalFile> reportOf(const diagnosis::CalibrationAttempt& attempt) const {
        FileGroup group;
        group.setting = attempt.setting;
        group.cal = report(endingOf(attempt.setting));
        if (!group.cal) {
            return std::nullopt;
        }
        const bool slow = group.cal->rates.known() && group.cal->rates.belowAnalysis();
        if (slow) {
            const auto held = heldBy(attempt.setting);
            diagnosis::takeHeldValues(*group.cal, held ? &*held : nullptr);
        } else if (!attempt.kept) {
            group.burst = readOne(named(endingOf(attempt.setting) + ".cap.txt"), diagnosis::readBurst);
            if (!diagnosis::reachedMargins(group, attempt.reason)) {
                diagnosis::leaveOutFigures(*group.cal);
            }
        }
        return group.cal;
    }

private:
    fs::path named(const std::string& ending) const { return toolkit::filePath(traces.stem.string() + ending); }

    void nameReport(const fs::path& file) const {
        std::erase_if(result.files, [](const NamedFile& each) { return each.key == calibrationReport; });
        result.files.push_back({calibrationReport, "calibration report", file.string()});
    }

    /// A damaged file is no reason to lose the recording that it is about.
    template <class Read>
    auto readOne(const fs::path& file, Read read) const -> std::optional<decltype(read(file))> {
        std::error_code failed;
        if (!fs::exists(file, failed)) {
            return std::nullopt;
        }
        try {
            return read(file);
        } catch (const toolkit::Failure& failure) {
            result.troubles.emplace_back(failure.what());
            return std::nullopt;
        }
    }

    /// The last dump of this attempt or, without one, of an earlier one.
    std::optional<diagnosis::RegisterDump> heldBy(unsigned setting) const {
        std::vector<std::string> endings{""};
        for (const diagnosis::CalibrationAttempt& attempt : result.log.attempts) {
            endings.push_back(endingOf(attempt.setting));
            if (attempt.setting == setting) {
                break;
            }
        }
        for (auto ending = endings.rbegin(); ending != endings.rend(); ++ending) {
            if (auto dump = readOne(named(*ending + ".reg.txt"), diagnosis::readRegisters)) {
                return dump;
            }
        }
        return std::nullopt;
    }

    const CalibrationTraces& traces;
    SessionResult& result;
};

void addFrequencies(diagnosis::RunLog& log, const CalibrationTraces& traces) {
    for (std::size_t i = 0; i < traces.frequencies.size(); ++i) {
        diagnosis::FrequencySetting entry;
        entry.setting = static_cast<unsigned>(i);
        entry.hertz = traces.frequencies[i];
        log.frequencies.push_back(entry);
    }
}

/// The same as the log would give, from the attempts' files.
diagnosis::RunLog logOfFiles(const diagnosis::DiagnosticSet& set, const CalibrationTraces& traces) {
    diagnosis::RunLog log;
    addFrequencies(log, traces);
    for (const FileGroup& group : set.attempts) {
        diagnosis::CalibrationAttempt attempt;
        attempt.setting = group.setting.value_or(0);
        attempt.hertz = group.rates().exportFrequency;
        attempt.kept = traces.calibrated && &group == &set.attempts.back();
        if (!attempt.kept) {
            const diagnosis::Verdict verdict = diagnosis::judge(set, group);
            attempt.reason = verdict.outcome == diagnosis::Verdict::Outcome::Rejected && !verdict.receiverText.empty()
                                 ? verdict.receiverText
                                 : noReason;
        }
        if (attempt.setting < log.frequencies.size()) {
            diagnosis::FrequencySetting& entry = log.frequencies[attempt.setting];
            entry.verdict = attempt.kept ? diagnosis::FrequencySetting::Verdict::Chosen
                                         : diagnosis::FrequencySetting::Verdict::Rejected;
            entry.reason = attempt.reason;
            attempt.hertz = entry.hertz;
        }
        log.attempts.push_back(std::move(attempt));
    }
    return log;
}

void readFilesForLog(const CalibrationTraces& traces, SessionResult& result) {
    result.notes.emplace_back(traces.log.empty()
                                  ? "the receiver wrote no log, as with less than 5 MB of free space; results come "
                                    "from its other files, and what only the log has is not known"
                                  : "the receiver's log is cut off; results come from its other files, and what only "
                                    "the log has is not known");
    result.log = diagnosis::RunLog();
    addFrequencies(result.log, traces);
    try {
        result.log = logOfFiles(diagnosis::readDiagnostics(traces.stem), traces);
    } catch (const toolkit::Failure&) {
        return; // no files either: nothing is known, and nothing is claimed
    }
}

} // namespace

std::vector<double> frequenciesOf(const std::string& attribute) {
    std::vector<double> all;
    for (const std::string_view item : toolkit::splitAt(attribute, ',')) {
        const auto hertz = toolkit::fractionOf(item);
        if (!hertz || !std::isfinite(*hertz)) {
            break;
        }
        all.push_back(*hertz);
    }
    return all;
}

bool isComplete(const diagnosis::RunLog& log, const CalibrationTraces& traces) {
    if (traces.log.empty()) {
        return false;
    }
    if (!traces.calibrated || traces.givenValues) {
        return true;
    }
    const diagnosis::FrequencySetting* chosen = log.chosen();
    return chosen != nullptr && (!traces.hertz || std::abs(chosen->hertz - *traces.hertz) <= sameRate * *traces.hertz);
}

void takeTraces(const CalibrationTraces& traces, SessionResult& result) {
    result.givenValues = traces.givenValues;
    result.hertz = traces.hertz;
    if (!isComplete(result.log, traces) && !result.log.settingsReplaced) {
        readFilesForLog(traces, result);
    }
    const Reader reader(traces, result);
    for (const diagnosis::CalibrationAttempt& attempt : result.log.attempts) {
        result.attempts.push_back({attempt, reader.reportOf(attempt)});
        if (result.attempts.back().report) {
            result.calibration = result.attempts.back().report;
        }
    }
    if (result.attempts.empty()) {
        result.calibration = reader.report("");
    }
}

} // namespace host
