#include "host/results/ResultText.h"

#include "toolkit/Format.h"
#include "toolkit/Masked.h"
#include "toolkit/Remedy.h"
#include "toolkit/Text.h"

#include <cmath>
#include <cstdio>
#include <sstream>

namespace host {

namespace {

using diagnosis::CalFile;
using diagnosis::CalPin;

template <class Number>
std::string orDash(const std::optional<Number>& value) {
    if (!value) {
        return "-";
    }
    if constexpr (std::is_floating_point_v<Number>) {
        // A pin that never changes correlates with nothing.
        return std::isfinite(*value) ? toolkit::print("%.3f", static_cast<double>(*value)) : std::string("-");
    } else {
        return std::to_string(*value);
    }
}

std::string marginText(const CalPin& pin) {
    if (!pin.holdMargin && !pin.setupMargin) {
        return "-";
    }
    return toolkit::print("-%s +%s", orDash(pin.holdMargin).c_str(), orDash(pin.setupMargin).c_str());
}

void addPins(std::ostringstream& out, const CalFile& report, std::vector<PinPlace> places) {
    places.resize(report.pins.size());
    out << toolkit::print("%-8s %3s %3s %6s %8s %12s %12s\n", "pin", "emu", "bit", "delay", "stretch", "margin",
                          "correlation");
    for (std::size_t i = 0; i < report.pins.size(); ++i) {
        const CalPin& pin = report.pins[i];
        const PinPlace& place = places[i];
        out << toolkit::print("%-8s %3s %3s %6s %8s %12s %12s\n", toolkit::masked(pin.name).c_str(),
                              orDash(place.emu).c_str(), orDash(place.bit).c_str(), orDash(pin.delay).c_str(),
                              orDash(pin.stretch).c_str(), marginText(pin).c_str(),
                              orDash(pin.correlationAtZero).c_str());
    }
}

constexpr const char* legend = "Lengths are in samples of the capture unit. The margin is the room behind (-) and\n"
                               "ahead of (+) the clock's edge; the correlation is with the first data pin, 1\n"
                               "when both change together.\n";

/// Settings count from 0, so that their number would look like the last one's.
std::string rangeText(const std::vector<diagnosis::FrequencySetting>& settings) {
    if (settings.size() < 2) {
        return {};
    }
    return " (of " + std::to_string(settings.front().setting) + " to " + std::to_string(settings.back().setting) + ")";
}

void addVerdict(std::ostringstream& out, const RecordResult& result) {
    if (!result.calibrated) {
        out << "not calibrated\n";
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
    out << toolkit::print(", in %.1f s\n", result.calibrationSeconds);
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
            << toolkit::print(" in %.2f s", recording.seconds) << (recording.wrapped ? ", the buffer wrapped" : "")
            << ": " << toolkit::masked(recording.state) << toolkit::print(", CRC-32 %08x\n", recording.checksum);
    }
}

void addFiles(std::ostringstream& out, const RecordResult& result) {
    if (result.files.empty()) {
        return;
    }
    out << "\nfiles\n";
    for (const auto& [what, where] : result.files) {
        out << toolkit::print("  %-20s ", what.c_str()) << toolkit::masked(where) << "\n";
    }
}

/// What can be done with the run now: the page is there already, or can be made.
void addNext(std::ostringstream& out, const RecordResult& result) {
    for (const auto& [what, where] : result.files) {
        if (what == "report") {
            out << "\nnext: open " << toolkit::masked(where) << " in a browser\n";
            return;
        }
    }
    if (result.calibration && !result.doctorTakes.empty()) {
        out << "\nnext: orvtrace report " << toolkit::masked(toolkit::quoted(result.doctorTakes))
            << " makes a page about the calibration\n";
    }
}

std::string samplesText(const diagnosis::Rates& rates) {
    return rates.known() ? toolkit::print(", %.2f samples a clock period", rates.oversampling) : std::string();
}

/// What the receiver makes of its vote about the data's edges. How they really lie does not follow from it.
std::string positionText(const std::string& position) {
    if (position == "edge") {
        return ", clock taken half a period later";
    }
    if (position == "center") {
        return ", clock taken as it comes";
    }
    return {};
}

std::string headline(const RecordResult& result) {
    return toolkit::masked(result.scenario.empty() ? "cpu " + result.cpu
                                                   : "scenario " + result.scenario + ", cpu " + result.cpu) +
           "\n";
}

/// A calibration that ended ahead of its first attempt has computed nothing for any pin.
bool hasPins(const RecordResult& result) {
    return result.calibration && (result.calibrated || !result.attempts.empty());
}

std::string legendOf(const diagnosis::Rates& rates) {
    if (rates.known() && rates.belowAnalysis()) {
        return "Below 10.1 MHz nothing is measured: the unit keeps its default settings. The values\n"
               "are those that its registers hold, not those of the calibration report.\n";
    }
    return legend;
}

} // namespace

std::vector<PinPlace> placesOf(const std::string& pinMap) {
    std::vector<unsigned> pins;
    for (const std::string& item : toolkit::split(pinMap, ',')) {
        unsigned pin = 0;
        if (std::sscanf(item.c_str(), "%u", &pin) != 1) {
            return {};
        }
        pins.push_back(pin);
    }
    std::vector<PinPlace> places;
    if (pins.empty()) {
        return places;
    }
    places.push_back(PinPlace{pins.front(), std::nullopt});
    for (std::size_t i = pins.size() - 1; i > 0; --i) {
        places.push_back(PinPlace{pins[i], static_cast<unsigned>(i - 1)});
    }
    return places;
}

std::string resultText(const RecordResult& result) {
    std::ostringstream out;
    out << headline(result);
    addVerdict(out, result);
    addRejected(out, result);
    if (hasPins(result)) {
        out << "\n";
        addPins(out, *result.calibration, placesOf(result.pinMap));
        out << legendOf(result.calibration->rates);
    }
    addRecordings(out, result);
    addFiles(out, result);
    addNext(out, result);
    return out.str();
}

std::string attemptsText(const RecordResult& result) {
    std::ostringstream out;
    out << headline(result);
    for (const AttemptResult& entry : result.attempts) {
        const diagnosis::CalibrationAttempt& attempt = entry.attempt;
        out << "\nsetting " << attempt.setting << ", " << toolkit::frequencyText(attempt.hertz);
        if (entry.report) {
            out << samplesText(entry.report->rates);
        }
        out << positionText(attempt.position);
        out << "\n";
        if (entry.report) {
            addPins(out, *entry.report, placesOf(result.pinMap));
        }
        out << (attempt.kept ? std::string("kept")
                             : "dropped: " + toolkit::masked(diagnosis::plainReason(attempt.reason)))
            << "\n";
    }
    if (result.attempts.empty() && hasPins(result)) {
        out << "\n";
        addPins(out, *result.calibration, placesOf(result.pinMap));
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
    addFiles(out, result);
    addNext(out, result);
    return out.str();
}

} // namespace host
