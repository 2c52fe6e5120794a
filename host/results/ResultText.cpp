#include "host/results/ResultText.h"

#include "diagnosis/Diagnosis.h"
#include "toolkit/Format.h"
#include "toolkit/Masked.h"
#include "toolkit/Remedy.h"
#include "toolkit/Table.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace host {

namespace {

using diagnosis::CalFile;

/// The files of the attempt, as far as there are any: of the result alone there is the report.
diagnosis::DiagnosticSet setOf(const RecordResult& result, const CalFile& report) {
    diagnosis::DiagnosticSet set;
    set.names = result.names;
    set.pinMap = result.pinMap;
    set.base.cal = report;
    return set;
}

const diagnosis::FileGroup* groupOf(const RecordResult& result, std::optional<unsigned> setting) {
    if (!result.set) {
        return nullptr;
    }
    const auto& attempts = result.set->attempts;
    const auto found = setting            ? std::find_if(attempts.begin(), attempts.end(),
                                                         [&](const auto& group) { return group.setting == setting; })
                       : attempts.empty() ? attempts.end()
                                          : attempts.end() - 1;
    const diagnosis::FileGroup* group = found != attempts.end() ? &*found : setting ? nullptr : &result.set->base;
    return group != nullptr && group->cal ? group : nullptr;
}

/// The pins of the attempt at a setting; without one, of the attempt that counts.
std::string pinTable(const RecordResult& result, std::optional<unsigned> setting, const CalFile& report,
                     std::size_t columns) {
    const diagnosis::FileGroup* group = groupOf(result, setting);
    const diagnosis::DiagnosticSet alone = setOf(result, report);
    toolkit::Table table(diagnosis::laneColumns());
    for (const diagnosis::LaneRow& row :
         group != nullptr ? laneRows(*result.set, *group) : laneRows(alone, alone.base)) {
        table.addRow(diagnosis::laneCells(row));
    }
    return table.text(columns);
}

constexpr const char* legend =
    "Lengths are in samples of the capture unit unless noted. Setup margin: the data are stable before the clock edge; "
    "hold margin: after it. A smaller one than the limit is thin. The correlation is with the first data pin, 1 when "
    "both change together.\n";

/// Settings count from 0, so that their number would look like the last one's.
std::string rangeText(const std::vector<diagnosis::FrequencySetting>& settings) {
    if (settings.size() < 2) {
        return {};
    }
    return " (of " + std::to_string(settings.front().setting) + " to " + std::to_string(settings.back().setting) + ")";
}

std::string earlierName(const EarlierCalibration& earlier) {
    return toolkit::masked(earlier.place + (earlier.date.empty() ? "" : " of " + earlier.date));
}

void addReused(std::ostringstream& out, const RecordResult& result) {
    out << "calibration " << earlierName(*result.earlier) << " used again";
    if (result.hertz) {
        out << " at " << toolkit::frequencyText(*result.hertz) << ", setting " << result.earlier->setting;
    }
    out << fmt::format(", in {:.1f} s\n", result.calibrationSeconds.value_or(0.0));
    for (const std::string& note : result.earlier->notes) {
        out << "  " << toolkit::masked(note) << "\n";
    }
}

void addNotReused(std::ostringstream& out, const RecordResult& result) {
    if (!result.earlier || result.earlier->reused) {
        return;
    }
    out << "calibration " << earlierName(*result.earlier) << " not used again:\n";
    for (const std::string& reason : result.earlier->reasons) {
        out << "  " << toolkit::masked(reason) << "\n";
    }
}

void addTuning(std::ostringstream& out, const RecordResult& result) {
    if (!result.tuned) {
        return;
    }
    if (!result.tuned->needed) {
        out << "nothing to tune: the receiver's calibration is sound\n";
        return;
    }
    out << "the receiver's calibration is " << toolkit::masked(result.tuned->before)
        << "\norvtrace searched values by itself, by bursts and known words; the receiver is unchanged\n";
    for (const TuneResult::Setting& each : result.tuned->settings) {
        out << "  setting " << each.setting << ", " << toolkit::frequencyText(each.hertz) << ": "
            << (each.outcome == "nothing" ? "no values" : each.outcome + " values")
            << "\n    the receiver: " << toolkit::masked(each.refusal.empty() ? "kept it" : each.refusal)
            << "\n    in its way: " << toolkit::masked(each.rule) << "\n";
        for (const std::string& step : each.steps) {
            out << "    " << toolkit::masked(step) << "\n";
        }
    }
    out << (result.tuned->kept ? "" : "nothing better was found, the receiver's own values stay\n");
}

bool isTuned(const RecordResult& result) {
    return result.tuned && result.tuned->kept;
}

void addVerdict(std::ostringstream& out, const RecordResult& result) {
    if (!result.calibrated) {
        out << "not calibrated\n";
        return;
    }
    if (result.earlier && result.earlier->reused) {
        addReused(out, result);
        return;
    }
    if (isTuned(result)) {
        out << "tuned at " << toolkit::frequencyText(result.hertz.value_or(0.0)) << ", setting " << *result.tuned->kept
            << ", with values of orvtrace's own\n";
        return;
    }
    out << "calibrated";
    if (const diagnosis::FrequencySetting* chosen = result.log.chosen()) {
        out << " at " << toolkit::frequencyText(chosen->hertz) << ", setting " << chosen->setting
            << rangeText(result.log.frequencies);
    } else if (result.givenValues) {
        out << " with fixed values, no frequency was measured";
    } else if (result.hertz) {
        out << " at " << toolkit::frequencyText(*result.hertz) << ", its setting is not known";
    } else {
        out << ", at which frequency is not known";
    }
    if (result.calibration && result.calibration->rates.known()) {
        out << ", data rate " << toolkit::masked(result.calibration->dataRate);
    }
    out << fmt::format(", in {:.1f} s\n", result.calibrationSeconds.value_or(0.0));
}

void addRejected(std::ostringstream& out, const RecordResult& result) {
    for (const diagnosis::FrequencySetting& entry : result.log.frequencies) {
        if (entry.verdict == diagnosis::FrequencySetting::Verdict::Rejected) {
            out << "  rejected: setting " << entry.setting << ", "
                << (entry.hertz > 0.0 ? toolkit::frequencyText(entry.hertz) : std::string("no frequency")) << ": "
                << toolkit::masked(diagnosis::plainReason(entry.reason)) << "\n";
        }
    }
}

void addRecordings(std::ostringstream& out, const RecordResult& result) {
    for (std::size_t i = 0; i < result.recordings.size(); ++i) {
        const RecordingResult& recording = result.recordings[i];
        out << (i == 0 ? "\n" : "");
        if (result.recordings.size() > 1) {
            out << i + 1 << ": ";
        }
        out << "recorded " << toolkit::sizeText(recording.samples * 8) << " (" << recording.samples << " samples)"
            << fmt::format(" in {:.2f} s{}: {}, CRC-32 {:08x}\n", recording.seconds,
                           recording.wrapped ? ", the buffer wrapped" : "", toolkit::masked(recording.state),
                           recording.checksum);
    }
}

void addWords(std::ostringstream& out, const RecordResult& result) {
    for (std::size_t i = 0; i < result.checks.words.size(); ++i) {
        out << (i == 0 ? "\n" : "") << toolkit::masked(wordsText(result, result.checks.words[i])) << "\n";
    }
}

std::string lanesText(const SessionResult& result, const diagnosis::WordCheck& check) {
    std::vector<std::string> lanes;
    for (const diagnosis::LaneErrors& lane : check.lanes) {
        std::string text = fmt::format("{}: {}", result.names.label(result.lane(lane.lane + 1)), lane.errors);
        if (lane.early + lane.late != 0) {
            text += fmt::format(" ({} early, {} late)", lane.early, lane.late);
        }
        lanes.push_back(text);
    }
    return lanes.empty() ? std::string() : "; " + toolkit::joined(lanes, ", ");
}

/// Where the files are, and what the user can do with the run next.
void addFiles(std::ostringstream& out, const RecordResult& result, std::size_t columns) {
    if (!result.files.empty()) {
        toolkit::Table table(2, "  ");
        for (const NamedFile& file : result.files) {
            table.addRow({file.label, file.path});
        }
        out << "\nfiles\n" << table.text(columns);
    }
    if (const std::string page = result.file("report"); !page.empty()) {
        out << "\nnext: open " << toolkit::masked(page) << " in a browser\n";
    } else if (result.calibration && !result.doctorTakes.empty()) {
        out << "\nnext: orvtrace report " << toolkit::masked(toolkit::quoted(result.doctorTakes))
            << " makes a page about the calibration\n";
    }
}

std::string samplesText(const diagnosis::Rates& rates) {
    return rates.known() ? fmt::format(", {:.2f} samples a clock period", rates.oversampling) : std::string();
}

/// How the receiver uses its vote about the data's edges. Their real position does not follow from it.
std::string positionText(const std::string& position) {
    return position == "edge"     ? ", clock taken half a period later"
           : position == "center" ? ", clock taken as it comes"
                                  : "";
}

std::string headline(const RecordResult& result) {
    return toolkit::masked(result.scenario.empty() ? "cpu " + result.cpu
                                                   : "scenario " + result.scenario + ", cpu " + result.cpu) +
           "\n" + propertiesText(result.properties);
}

/// A calibration that ended before its first attempt has computed nothing for any pin.
bool hasPins(const RecordResult& result) {
    return result.calibration && (result.calibrated || !result.attempts.empty());
}

bool measured(const RecordResult& result) {
    return result.calibrated || !result.recordings.empty() || !result.log.frequencies.empty();
}

std::string legendOf(const diagnosis::Rates& rates) {
    if (rates.known() && rates.belowAnalysis()) {
        return "Below 10.1 MHz nothing is measured: the unit keeps its default settings. The values "
               "are those that its registers hold, not those of the calibration report.\n";
    }
    return legend;
}

} // namespace

std::string wordsText(const SessionResult& result, const diagnosis::WordCheck& check) {
    using When = diagnosis::WordCheck::When;
    std::string text = check.when == When::Before  ? "known words before the recording: "
                       : check.when == When::After ? "known words after the recording: "
                                                   : "known words: ";
    if (check.bits == 0 && check.errors == 0) {
        return text + "none compared, " + check.failure;
    }
    text += fmt::format("{} compared, {}", toolkit::countText(check.bits, "bit"),
                        check.errors == 0 ? "none wrong" : toolkit::countText(check.errors, "error")) +
            lanesText(result, check) + fmt::format("; error rate below {:.2g}, with 95 % confidence", check.bound());
    return check.failure.empty() ? text : text + "; " + check.failure;
}

std::vector<unsigned> emuPinsOf(const std::string& pinMap) {
    std::vector<unsigned> pins;
    for (const std::string& item : toolkit::split(pinMap, ',')) {
        unsigned pin = 0;
        if (std::sscanf(item.c_str(), "%u", &pin) != 1) {
            return {};
        }
        pins.push_back(pin);
    }
    return pins;
}

std::vector<PinPlace> placesOf(const std::string& pinMap) {
    const std::vector<unsigned> pins = emuPinsOf(pinMap);
    std::vector<PinPlace> places(pins.size());
    for (std::size_t i = 1; i < pins.size(); ++i) {
        places[i] = PinPlace{pins[pins.size() - i], static_cast<unsigned>(pins.size() - i - 1)};
    }
    if (!pins.empty()) {
        places.front().emu = pins.front();
    }
    return places;
}

std::string resultText(const RecordResult& result, std::size_t columns) {
    if (!measured(result)) {
        return {};
    }
    std::ostringstream out;
    out << headline(result);
    addNotReused(out, result);
    addTuning(out, result);
    addVerdict(out, result);
    addRejected(out, result);
    if (hasPins(result)) {
        out << "\n" << pinTable(result, {}, *result.calibration, columns);
        out << legendOf(result.calibration->rates);
    }
    addWords(out, result);
    addRecordings(out, result);
    addFiles(out, result, columns);
    return out.str();
}

std::string attemptsText(const RecordResult& result, std::size_t columns) {
    if (!measured(result)) {
        return {};
    }
    std::ostringstream out;
    out << headline(result);
    for (const AttemptResult& entry : result.attempts) {
        const diagnosis::CalibrationAttempt& attempt = entry.attempt;
        out << "\nsetting " << attempt.setting << ", " << toolkit::frequencyText(attempt.hertz)
            << (entry.report ? samplesText(entry.report->rates) : "") << positionText(attempt.position) << "\n"
            << (entry.report ? pinTable(result, attempt.setting, *entry.report, columns) : "")
            << (attempt.kept ? "accepted" : "rejected: " + toolkit::masked(diagnosis::plainReason(attempt.reason)))
            << "\n";
    }
    if (result.attempts.empty() && hasPins(result)) {
        out << "\n" << pinTable(result, {}, *result.calibration, columns);
    }
    if (hasPins(result)) {
        out << "\n" << legendOf(result.calibration->rates);
    }
    out << "\n";
    addVerdict(out, result);
    for (const diagnosis::FrequencySetting& entry : result.log.frequencies) {
        if (entry.verdict == diagnosis::FrequencySetting::Verdict::Measured) {
            out << "  not tried: setting " << entry.setting << ", " << toolkit::frequencyText(entry.hertz) << "\n";
        }
    }
    addWords(out, result);
    addFiles(out, result, columns);
    return out.str();
}

} // namespace host
