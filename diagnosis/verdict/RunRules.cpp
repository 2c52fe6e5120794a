#include "diagnosis/doctor/DiagnosisText.h"
#include "diagnosis/verdict/VerdictRules.h"
#include "toolkit/Format.h"

#include <algorithm>

// Calibration, words, recordings and the run's own end.

namespace diagnosis::verdict_rules {

namespace {

using toolkit::ExitCode;

std::string endOf(const DiagnosticSet& set, const Diagnosis& diagnosis) {
    if (!diagnosis.verdicts.empty() && !diagnosis.verdicts.back().receiverText.empty()) {
        return diagnosis.verdicts.back().receiverText;
    }
    if (set.log && !set.log->failure.empty()) {
        return plainReason(set.log->failure);
    }
    return diagnosis.verdicts.empty() ? "no setting could be used" : diagnosis.verdicts.back().words;
}

/// "D1 (EMU2)" of a lane that counts from 0.
std::string laneTitle(const DiagnosticSet& set, unsigned lane) {
    return pinTitle(set, lane + 1);
}

std::string wrongWords(const DiagnosticSet& set, const WordCheck& check) {
    std::string text = toolkit::countText(check.errors, "bit") + " of " + std::to_string(check.bits) +
                       (check.errors == 1 ? " is wrong" : " are wrong");
    std::vector<LaneErrors> lanes;
    for (const LaneErrors& lane : check.lanes) {
        if (lane.errors != 0) {
            lanes.push_back(lane);
        }
    }
    if (!lanes.empty()) {
        const auto worst = std::max_element(
            lanes.begin(), lanes.end(), [](const LaneErrors& a, const LaneErrors& b) { return a.errors < b.errors; });
        text += (lanes.size() == 1 ? ", on " : ", most on ") + laneTitle(set, worst->lane);
        // Half of the bits may be of a pattern whose lanes alternate, where both neighbours are alike.
        const auto mostly = [&](std::uint64_t one, std::uint64_t other) {
            return one > worst->errors / 4 && one > 3 * other;
        };
        if (mostly(worst->early, worst->late)) {
            text += ", with the next slot's bit";
        } else if (mostly(worst->late, worst->early)) {
            text += ", with the preceding slot's bit";
        }
    }
    return text + (check.when == WordCheck::When::After ? ", after the recording" : "");
}

void judgeWordCheck(Judgement& judged, const WordCheck& check) {
    const char* name = check.when == WordCheck::When::After ? "words-after" : "words";
    if (check.bits == 0) {
        judged.show(name, false, check.failure.empty() ? "no word was compared" : check.failure);
        judged.unknowns.push_back({"words-not-compared", check.failure.empty()
                                                             ? "no word was compared"
                                                             : "no word was compared: " + check.failure});
        return;
    }
    const double bound = check.bound();
    judged.show(name, true,
                std::to_string(check.bits) + " bits of the pattern " + check.pattern + " compared, " +
                    toolkit::countText(check.errors, "error") + ": below " + rateText(bound) + " errors per bit");
    if (check.errors != 0) {
        judged.faults.push_back({"words-wrong", wrongWords(judged.set, check)});
    } else if (!check.failure.empty()) {
        judged.unknowns.push_back({"words-not-compared", "the comparison of words did not end: " + check.failure});
    } else if (check.askedErrorRate > 0.0 && bound > check.askedErrorRate * 1.001) {
        judged.thins.push_back(
            {"words-few", "only " + std::to_string(check.bits) + " bits were compared, which shows " + rateText(bound) +
                              " errors per bit of the " + rateText(check.askedErrorRate) + " asked for"});
    }
}

/// The receiver compares the words of its verification, except for "tpiu".
std::uint64_t bitsOfVerification(const Judgement& judged) {
    const FileGroup* attempt = judged.attempt();
    const bool compared = attempt != nullptr && attempt->verification && judged.set.exportKind() != "tpiu" &&
                          judged.diagnosis.calibrated.value_or(false) && !judged.set.manual();
    return compared ? attempt->verification->words.size() * 16U : 0U;
}

void showErrorRate(RunVerdict& verdict, std::uint64_t bits, std::uint64_t errors) {
    if (bits != 0) {
        verdict.errorRate = ErrorRate{bits, errors, errorRateBound(bits, errors)};
    }
}

/// A recording alone: its stream can be sound, and still nothing is known of the margins that it was sampled with.
void judgeWithoutCalibration(Judgement& judged) {
    const StreamCheck* stream = judged.loneStream();
    if (stream == nullptr) {
        judged.unknowns.push_back({"calibration-missing", "there are no files of a calibration"});
        judged.show("calibration", false, "run orvtrace calibrate, or name the folder of the run");
        return;
    }
    const bool known = stream->verdict != StreamVerdict::Unknown;
    judged.unknowns.push_back(
        {"stream-only", "only the recorded stream was judged" +
                            (known ? ", and is " + std::string(streamVerdictName(stream->verdict)) : std::string()) +
                            "; for the rest give --run DIR, the folder of its run"});
    judged.show("calibration", false, "name the folder of the run with --run");
}

} // namespace

double askedErrorRate(const DiagnosticSet& set) {
    double asked = usualErrorRate;
    if (set.checks) {
        for (const WordCheck& check : set.checks->words) {
            if (check.askedErrorRate > 0.0) {
                asked = std::min(asked, check.askedErrorRate);
            }
        }
    }
    return asked;
}

void judgeCalibration(Judgement& judged) {
    const DiagnosticSet& set = judged.set;
    const Diagnosis& diagnosis = judged.diagnosis;
    for (const Finding& finding : diagnosis.findings) {
        if (finding.severity == Finding::Severity::Fault) {
            judged.faults.push_back({slugOf(finding.kind), finding.text});
        }
    }
    if (!judged.hasCalibration()) {
        judgeWithoutCalibration(judged);
        return;
    }
    if (!diagnosis.calibrated) {
        judged.unknowns.push_back({"end-not-known", whatIsMissing(diagnosis)});
        judged.show("calibration", false, "add the receiver's log, or calibrate again");
    } else if (!*diagnosis.calibrated) {
        if (judged.faults.empty()) {
            judged.faults.push_back({"not-calibrated", "the calibration was refused: " + endOf(set, diagnosis)});
        }
        judged.show("calibration", true, diagnosis.headline);
    } else {
        judged.show("calibration", true, diagnosis.headline);
    }
    if (!set.troubles.empty()) {
        judged.unknowns.push_back({"files-damaged", "a file is damaged and was left out: " + set.troubles.front()});
    }
}

void judgeWords(Judgement& judged) {
    std::uint64_t bits = 0;
    std::uint64_t errors = 0;
    if (judged.set.checks) {
        for (const WordCheck& check : judged.set.checks->words) {
            judgeWordCheck(judged, check);
            bits += check.bits;
            errors += check.errors;
        }
    }
    if (bits != 0) {
        showErrorRate(judged.verdict, bits, errors);
        return;
    }
    if (judged.set.checks && !judged.set.checks->words.empty()) {
        return;
    }
    if (const std::uint64_t verified = bitsOfVerification(judged); verified != 0) {
        showErrorRate(judged.verdict, verified, 0);
        judged.show("words", true,
                    std::to_string(verified) + " bits of the receiver's verification, all as sent: below " +
                        rateText(errorRateBound(verified, 0)) + " errors per bit");
        return;
    }
    if (const StreamCheck* stream = judged.loneStream(); stream != nullptr && stream->wordsCompared != 0) {
        judged.show("words", true,
                    toolkit::countText(stream->wordsCompared, "word") + " of the pattern " + stream->form.pattern +
                        " compared, " + std::to_string(stream->wrongWords) + " wrong");
        return;
    }
    if (judged.diagnosis.calibrated.value_or(true)) {
        judged.unknowns.push_back({"words-not-compared", judged.set.exportKind() == "tpiu"
                                                             ? "no words were compared: for tpiu the receiver's "
                                                               "verification does not look at them"
                                                             : "no words were compared"});
    }
    judged.show("words", false, "run orvtrace verify, or calibrate --verify");
}

void judgeRecordings(Judgement& judged) {
    if (!judged.set.checks) {
        return;
    }
    for (const auto& recording : judged.set.checks->recordings) {
        if (!recording.failure.empty()) {
            judged.faults.push_back({"recording-failed", recording.failure});
        }
        const bool damaged = recording.stream && recording.stream->verdict == StreamVerdict::Damaged;
        if (damaged && recording.stream->firstDamage) {
            const Damage& first = *recording.stream->firstDamage;
            judged.faults.push_back({std::string(damageKindName(first.kind)),
                                     "the recorded stream is damaged from sample " +
                                         std::to_string(first.place.sample) +
                                         " on: " + std::string(damageKindName(first.kind)) +
                                         (first.lane ? ", " + laneTitle(judged.set, *first.lane) : "")});
        } else if (damaged) {
            judged.faults.push_back({"stream-damaged", "the recorded stream is damaged"});
        } else if (recording.samples < recording.announcedSamples) {
            judged.faults.push_back({"missing-samples", std::to_string(recording.announcedSamples - recording.samples) +
                                                            " of " + std::to_string(recording.announcedSamples) +
                                                            " samples are missing"});
        }
        if (recording.stream) {
            const bool known = recording.stream->verdict != StreamVerdict::Unknown;
            judged.show("stream", known,
                        known ? "the recorded stream is " + std::string(streamVerdictName(recording.stream->verdict)) +
                                    ", " + toolkit::countText(recording.stream->words, "word") + " of payload"
                              : recording.stream->reason);
        }
    }
}

void judgeEnd(Judgement& judged) {
    if (!judged.set.checks || judged.set.checks->code == ExitCode::Done) {
        return;
    }
    const std::string text = judged.set.checks->failure;
    switch (judged.set.checks->code) {
    case ExitCode::FaultsFound:
        // Of what was found, which has reasons of its own.
        if (judged.faults.empty()) {
            judged.faults.push_back({"faults-found", text.empty() ? "the run found faults" : text});
        }
        return;
    case ExitCode::CalibrationRefused:
    case ExitCode::RecordingError:
        if (std::any_of(judged.faults.begin(), judged.faults.end(),
                        [&](const RunVerdict::Reason& reason) { return reason.text == text; })) {
            return; // the recording's own
        }
        judged.faults.push_back({"receiver-failed", text.empty() ? "the receiver failed" : text});
        return;
    default:
        judged.unknowns.push_back({"run-not-ended", text.empty() ? "the run did not come to its end" : text});
    }
}

} // namespace diagnosis::verdict_rules
