#include "host/calibration/Tuning.h"

#include "diagnosis/Diagnosis.h"
#include "diagnosis/tune/Refusal.h"
#include "host/calibration/SessionBoard.h"
#include "toolkit/Format.h"

#include <algorithm>

namespace host {

namespace {

using diagnosis::tune::Found;
using Pattern = PatternTransmitter::Pattern;

/// One search for values after a calibration.
class TuneRun {
public:
    TuneRun(ChosenValues& used, Session& driven, SessionResult& filled, ProgressLine& shown)
        : values(used), session(driven), result(filled), line(shown) {}

    TuneAnswer run(diagnosis::WordCheck::When when, double errorRate, const std::optional<toolkit::Failure>& refusal);

private:
    std::string howItEnded(const std::optional<toolkit::Failure>& refusal) const;
    std::vector<diagnosis::FrequencySetting> settingsToTry() const;
    TunedSetting tried(const diagnosis::FrequencySetting& each, double errorRate);
    void keep(const TunedSetting& best, diagnosis::WordCheck::When when, double errorRate);
    void backToTheReceivers(const diagnosis::RunChecks& checks);

    ChosenValues& values;
    Session& session;
    SessionResult& result;
    ProgressLine& line;
};

/// Empty for a sound one.
std::string TuneRun::howItEnded(const std::optional<toolkit::Failure>& refusal) const {
    if (refusal) {
        return "refused: " + diagnosis::plainReason(refusal->what());
    }
    diagnosis::DiagnosticSet set = diagnosis::readDiagnostics(session.fileStem());
    set.checks = result.checks;
    const diagnosis::RunVerdict verdict = diagnosis::judgeRun(set, diagnosis::diagnose(set));
    if (verdict.kind == diagnosis::RunVerdict::Kind::Sound) {
        return {};
    }
    return std::string(diagnosis::verdictName(verdict.kind)) +
           (verdict.reasons.empty() ? std::string() : ": " + verdict.reasons.front().text);
}

/// Those with a rate, fast to slow, as far as a limit of the user's allows.
std::vector<diagnosis::FrequencySetting> TuneRun::settingsToTry() const {
    double limit = 0.0;
    for (const SetProperty& property : session.userProperties()) {
        if (property.name == "frequencyLimit") {
            limit = toolkit::fractionOf(property.value).value_or(0.0);
        }
    }
    const double lanes = result.calibration ? static_cast<double>(result.calibration->pins.size()) - 1.0 : 1.0;
    std::vector<diagnosis::FrequencySetting> settings;
    for (const diagnosis::FrequencySetting& each : result.log.frequencies) {
        const bool recordable = each.hertz > 0.0 && each.hertz <= diagnosis::limits::highestClock &&
                                2.0 * each.hertz * lanes <= diagnosis::limits::highestDataRate;
        if (recordable && each.unused.empty() && (limit <= 0.0 || each.hertz < limit)) {
            settings.push_back(each);
        }
    }
    std::reverse(settings.begin(), settings.end());
    return settings;
}

TunedSetting TuneRun::tried(const diagnosis::FrequencySetting& each, double errorRate) {
    TunedSetting tuned;
    tuned.setting = each.setting;
    line.setPrefix("tuning " + toolkit::frequencyText(each.hertz) + ": ");
    values.measureRate(each.setting);
    tuned.hertz = result.hertz.value_or(each.hertz);
    tuned.refusal = values.refusal();
    const diagnosis::DiagnosticSet set = diagnosis::readDiagnostics(session.fileStem());
    tuned.rule = diagnosis::tune::ruleInTheWay(set, tuned.refusal);
    const std::size_t pins = result.calibration ? result.calibration->pins.size() : 0;
    if (pins < 2 || diagnosis::patternsFor(pins - 1).empty()) {
        throw toolkit::Failure(toolkit::ExitCode::Failed, "no test pattern is known for " + std::to_string(pins) +
                                                              " pins, so that no values can "
                                                              "be searched");
    }
    diagnosis::tune::Task task;
    task.lanes = pins - 1;
    task.half = set.sampleRate() / (2.0 * tuned.hertz);
    task.pattern = diagnosis::tune::patternOfBursts(task.lanes);
    task.wordsErrorRate = errorRate;
    task.errorRate = std::min(errorRate, diagnosis::usualErrorRate);
    SessionBoard board(values);
    tuned.found = diagnosis::tune::search(board, task);
    return tuned;
}

/// Leaves the unit with the values, the files with the burst that shows them, and the checks with the words.
void TuneRun::keep(const TunedSetting& best, diagnosis::WordCheck::When when, double errorRate) {
    line.setPrefix("keeping " + toolkit::frequencyText(best.hertz) + ": ");
    values.measureRate(best.setting);
    values.set(pinValuesOf(best.found.choice.values), Pattern::F0);
    result.checks.words.push_back(values.compareWords(when, errorRate));
    result.checks.given = diagnosis::GivenSetting{"tune", "", best.setting};
}

void TuneRun::backToTheReceivers(const diagnosis::RunChecks& checks) {
    values.leave();
    session.calibrate(line);
    result.checks = checks;
}

TuneAnswer TuneRun::run(diagnosis::WordCheck::When when, double errorRate,
                        const std::optional<toolkit::Failure>& refusal) {
    TuneAnswer answer;
    answer.before = howItEnded(refusal);
    answer.needed = !answer.before.empty();
    if (!answer.needed) {
        return answer;
    }
    const diagnosis::RunChecks checks = result.checks;
    const std::vector<diagnosis::FrequencySetting> settings = settingsToTry();
    if (settings.empty() && refusal) {
        throw toolkit::Failure(*refusal);
    }
    for (const diagnosis::FrequencySetting& each : settings) {
        answer.settings.push_back(tried(each, errorRate));
        const Found& found = answer.settings.back().found;
        if (found.kind != Found::Kind::Nothing &&
            (!answer.kept || diagnosis::tune::isBetter(found, answer.settings[*answer.kept].found))) {
            answer.kept = answer.settings.size() - 1;
        }
        if (found.kind == Found::Kind::Sound) {
            break;
        }
    }
    // Thin values are no reason to give up a calibration of the receiver that is no worse.
    const bool better = answer.kept && (refusal || answer.before.starts_with("fault") ||
                                        answer.settings[*answer.kept].found.kind == Found::Kind::Sound);
    if (better) {
        keep(answer.settings[*answer.kept], when, errorRate);
    } else {
        answer.kept.reset();
        if (refusal) {
            throw toolkit::Failure(*refusal);
        }
        backToTheReceivers(checks);
    }
    line.setPrefix("");
    return answer;
}

} // namespace

TuneAnswer tune(ChosenValues& values, Session& session, SessionResult& result, diagnosis::WordCheck::When when,
                double errorRate, const std::optional<toolkit::Failure>& refusal, ProgressLine& line) {
    return TuneRun(values, session, result, line).run(when, errorRate, refusal);
}

} // namespace host
