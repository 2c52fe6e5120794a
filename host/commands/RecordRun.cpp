#include "host/commands/RecordRun.h"

#include "host/calibration/Reuse.h"
#include "host/calibration/Tuning.h"
#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "host/platform/InterruptAnswer.h"
#include "host/session/CheckedReadBack.h"
#include "host/session/RecordingOutputs.h"
#include "toolkit/FilePath.h"

namespace host {

namespace {

using diagnosis::WordCheck;
using Vx::Qrs::Trace::CChannelDriver;

/// One run of the command, from its inputs to its result.
class RecordRun {
public:
    RecordRun(const RecordOptions& given, RecordResult& filled)
        : options(given), result(filled), session(given.session, filled), outputs(given.save, given.raw, given.repeat),
          line(given.session.quiet) {}

    void run();

private:
    bool calibratesOnly() const { return options.repeat == 0; }
    void calibrateAndRecord();
    void calibrateAndVerify();
    std::optional<double> verifiedRate(const std::string& exportKind) const;
    void readEarlier();
    void requireFreeValues() const;
    bool reuseEarlier();
    void calibrateAndTune();
    void requireEndingBuffer();
    void verify(WordCheck::When when);
    void record(unsigned number);
    /// The work has ended, with a failure or without one.
    void conclude(const std::optional<toolkit::Failure>& failure);
    std::optional<toolkit::Failure> interruption() const;
    std::optional<toolkit::Failure> fault() const;
    void keep(CChannelDriver& channel, unsigned number, const ReadBack& back,
              const std::optional<toolkit::Failure>& fault);

    const RecordOptions& options;
    RecordResult& result;
    std::optional<diagnosis::KeptCalibration> kept; ///< of an earlier run
    PatternTransmitter transmitter;                 ///< the receiver holds it as long as the session lasts
    Session session;
    RecordingOutputs outputs;
    ProgressLine line;
};

/// A brief verification follows every calibration whose own one looks at no words.
std::optional<double> RecordRun::verifiedRate(const std::string& exportKind) const {
    if (options.verify) {
        return options.errorRate;
    }
    return exportKind == "tpiu" && !options.noVerify ? std::optional(briefErrorRate) : std::nullopt;
}

void RecordRun::verify(WordCheck::When when) {
    const VerifiedChannel target = verifiedChannel(session, result);
    const std::optional<double> rate = verifiedRate(target.exportKind);
    if (!rate) {
        return;
    }
    WordCheck& check = result.checks.words.emplace_back();
    check.when = when;
    check.askedErrorRate = *rate;
    verifyWords(target, transmitter, check, line);
}

void RecordRun::record(unsigned number) {
    CChannelDriver& channel = session.receiver().channel();
    if (options.repeat > 1) {
        line.setPrefix(std::to_string(number) + " of " + std::to_string(options.repeat) + ": ");
    }
    RecordingPlan plan;
    plan.seconds = options.seconds;
    plan.untilFull = options.untilFull;
    if (options.triggerFile) {
        plan.triggerFile = toolkit::filePath(session.fileStem().string() + ".trg.txt");
    }
    const RecordingEnd end = runRecording(channel, plan, line);
    session.leftovers().keep(verifiedChannel(session, result).file);
    RecordingResult& recording = result.recordings.emplace_back();
    recording.state = end.state;
    recording.seconds = end.seconds;
    recording.wrapped = session.receiver().attribute("Buffer Wrapped") == "1";
    if (number == 1) {
        result.files.push_back({"samples", "samples", session.fileStem().string() + ".bin"});
    }
    const auto take = [&](std::span<const std::uint64_t> samples) {
        recording.checksum = checksumOf(recording.checksum, samples);
        recording.samples += samples.size();
    };
    diagnosis::RecordingCheck& check = result.checks.recordings.emplace_back();
    ReadBack back;
    check.stream = readBackChecked(channel, line, traceForm(verifiedChannel(session, result)), take, back);
    check.announcedSamples = back.announced;
    check.samples = back.samples;
    const std::optional<toolkit::Failure> fault = faultOf(end, back);
    check.failure = fault ? fault->what() : "";
    keep(channel, number, back, fault);
}

/// Writes the samples that came in any case. The recording's own fault comes first in the text.
void RecordRun::keep(CChannelDriver& channel, unsigned number, const ReadBack& back,
                     const std::optional<toolkit::Failure>& fault) {
    const InterruptAnswer answer("stopping when what was captured is saved");
    try {
        outputs.write(channel, number, back, result);
    } catch (const toolkit::Failure& failure) {
        if (fault) {
            throw toolkit::Failure(fault->code, std::string(fault->what()) + "; " + failure.what());
        }
        throw;
    }
    if (fault) {
        throw toolkit::Failure(*fault);
    }
}

/// Read first: a run may replace the one that it comes from.
void RecordRun::readEarlier() {
    if (options.calibration.empty()) {
        return;
    }
    kept = diagnosis::readKeptCalibration(toolkit::filePath(options.calibration));
    if (const std::string obstacle = reuseObstacle(*kept); !obstacle.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput, options.calibration + " cannot be used again: " + obstacle);
    }
    result.earlier = EarlierCalibration{options.calibration, kept->date, kept->setting.value_or(0), false, {}, {}};
}

/// What an earlier calibration sets cannot be the user's, too.
void RecordRun::requireFreeValues() const {
    for (const char* name : {"calMode", "delays", "stretches", "plateaus", "debounces", "filters", "frequencyLimit"}) {
        if (kept && isSet(session.userProperties(), name)) {
            throw toolkit::Failure(toolkit::ExitCode::Usage,
                                   std::string("--calibration does not go with the property ") + name +
                                       ", which it sets itself");
        }
    }
}

void RecordRun::run() {
    readEarlier();
    session.checkInputs();
    requireFreeValues();
    for (const std::filesystem::path& file : outputs.files()) {
        session.testOutput(file);
    }
    session.prepare();
    session.open(line, [this](Vx::Qrs::Trace::IXmtrLibrary& library) {
        transmitter.attach(library);
        return &transmitter;
    });
    if (interrupted()) {
        throw toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted before the calibration");
    }
    calibrateAndRecord();
    const std::optional<toolkit::Failure> end = interruption();
    conclude(end);
    if (calibratesOnly()) {
        leaveReport(session, result);
    }
    if (const auto failure = end ? end : fault()) {
        throw toolkit::Failure(*failure);
    }
}

std::optional<toolkit::Failure> RecordRun::interruption() const {
    if (!interrupted()) {
        return std::nullopt;
    }
    return toolkit::Failure(toolkit::ExitCode::Interrupted,
                            calibratesOnly()            ? "interrupted, after the calibration had ended"
                            : result.recordings.empty() ? "interrupted before the recording"
                                                        : "interrupted; what was captured is kept");
}

/// What the verification with known words found, or that a requested one could not be made.
std::optional<toolkit::Failure> RecordRun::fault() const {
    for (const WordCheck& check : result.checks.words) {
        if (check.errors != 0) {
            return toolkit::Failure(toolkit::ExitCode::FaultsFound, wordsText(result, check));
        }
    }
    for (const WordCheck& check : result.checks.words) {
        if (calibratesOnly() && options.verify && !check.failure.empty()) {
            return toolkit::Failure(toolkit::ExitCode::Failed, wordsText(result, check));
        }
    }
    return std::nullopt;
}

void RecordRun::conclude(const std::optional<toolkit::Failure>& failure) {
    result.checks.code = failure ? failure->code : toolkit::ExitCode::Done;
    result.checks.failure = failure ? failure->what() : "";
    try {
        session.writeChecks();
    } catch (const toolkit::Failure&) {
        if (!failure) {
            throw; // otherwise the first failure counts, and this one is likely the same full disk
        }
    }
}

/// With the values of an earlier calibration if they still fit, otherwise anew. True if words were compared, too.
bool RecordRun::reuseEarlier() {
    EarlierCalibration& earlier = *result.earlier;
    ChosenValues values(session, result, transmitter, line);
    const ReuseAnswer answer = reuse(*kept, values, transmitter, result, WordCheck::When::Before,
                                     options.verify ? std::optional(options.errorRate) : std::nullopt);
    earlier.reused = answer.reused;
    earlier.reasons = answer.reasons;
    earlier.notes = answer.notes;
    if (!answer.reused && options.session.strict) {
        throw toolkit::Failure(toolkit::ExitCode::FaultsFound,
                               earlier.place + " cannot be used again: " + answer.reasons.front());
    }
    return answer.reused;
}

void RecordRun::requireEndingBuffer() {
    if (options.untilFull && session.receiver().attribute("orvBufMode") == "wrap") {
        throw toolkit::Failure(toolkit::ExitCode::BadInput, wrapsByProperty);
    }
}

TuneResult tuneResultOf(const TuneAnswer& answer) {
    using Kind = diagnosis::tune::Found::Kind;
    TuneResult result{answer.needed, answer.before, {}, {}};
    for (const TunedSetting& each : answer.settings) {
        const Kind kind = each.found.kind;
        result.settings.push_back({each.setting, each.hertz, each.refusal, each.rule,
                                   kind == Kind::Sound  ? "sound"
                                   : kind == Kind::Thin ? "thin"
                                                        : "nothing",
                                   each.found.steps});
    }
    if (answer.kept) {
        result.kept = answer.settings[*answer.kept].setting;
    }
    return result;
}

/// The receiver's calibration first. What its own verification leaves open, known words decide.
void RecordRun::calibrateAndTune() {
    const WordCheck::When when = calibratesOnly() ? WordCheck::When::Alone : WordCheck::When::Before;
    ChosenValues values(session, result, transmitter, line);
    std::optional<toolkit::Failure> refusal;
    try {
        session.calibrate(line);
        requireEndingBuffer();
        result.checks.words.push_back(values.compareWords(when, options.errorRate));
    } catch (const toolkit::Failure& failure) {
        if (failure.code != toolkit::ExitCode::CalibrationRefused || result.log.frequencies.empty()) {
            throw;
        }
        refusal.emplace(failure);
    }
    if (interrupted()) {
        return;
    }
    try {
        result.tuned = tuneResultOf(tune(values, session, result, when, options.errorRate, refusal, line));
    } catch (const toolkit::Failure&) {
        // A search that ends early finds nothing, which is no fault of the board's.
        if (interrupted()) {
            throw toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted during the search for values");
        }
        throw;
    }
}

void RecordRun::calibrateAndVerify() {
    if (kept && reuseEarlier()) {
        return;
    }
    if (options.tune) {
        calibrateAndTune();
        return;
    }
    session.calibrate(line);
    requireEndingBuffer();
    if (!interrupted()) {
        verify(calibratesOnly() ? WordCheck::When::Alone : WordCheck::When::Before);
    }
}

void RecordRun::calibrateAndRecord() {
    try {
        calibrateAndVerify();
        for (unsigned number = 1; number <= options.repeat && !interrupted(); ++number) {
            record(number);
        }
        if (options.verify && !calibratesOnly() && !interrupted()) {
            line.setPrefix("");
            verify(WordCheck::When::After);
        }
    } catch (const toolkit::Failure& failure) {
        const toolkit::Failure explained = session.explained(failure);
        conclude(explained);
        const bool refused = !result.calibrated && explained.code == toolkit::ExitCode::CalibrationRefused;
        // A refused calibration is the main use of a page about it.
        if (calibratesOnly() ? explained.code == failure.code : refused) {
            leaveReport(session, result);
        }
        throw explained;
    }
}

} // namespace

void runRecord(const RecordOptions& options, RecordResult& result) {
    RecordRun(options, result).run();
}

} // namespace host
