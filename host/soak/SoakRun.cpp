#include "host/soak/SoakRun.h"

#include "host/platform/InterruptAnswer.h"
#include "host/session/Recording.h"
#include "toolkit/Format.h"

#include <charconv>
#include <chrono>

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

/// The name that makes the receiver use the capture unit's own generator instead of a target. A recording with no test
/// pattern asked for makes it send a ramp.
constexpr const char* generatorName = "fpga";
constexpr std::uint64_t bitsOfAWord = 16;
constexpr const char* benchScenario = "self-test";
/// The attribute's name, with the blank at its end.
constexpr const char* dataPinsAttribute = "Trace Data Pin Size ";

std::optional<unsigned> numberOf(const std::string& text) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

class SoakRun {
public:
    SoakRun(const SessionOptions& given, SoakResult& filled)
        : options(given), result(filled), session(given, filled), line(given.quiet) {}

    void run(const SoakLength& length);

private:
    void show(const SoakLength& length);
    void calibrate();
    void playRound();
    void conclude(const std::optional<toolkit::Failure>& failure);

    const SessionOptions& options;
    SoakResult& result;
    Session session;
    ProgressLine line;
    ProgressLine silent{ProgressStyle::Quiet}; ///< a round's own phases are too short to be shown
};

void SoakRun::show(const SoakLength& length) {
    ProgressStep step;
    step.phase = "soaking";
    step.rate = toolkit::countText(result.rounds, "round") + ", " + toolkit::countText(result.words, "word") + ", " +
                toolkit::countText(result.errors, "error");
    if (length.rounds == 0) {
        step.expectedSeconds = length.seconds;
    }
    line.show(step);
}

void SoakRun::calibrate() {
    session.calibrate(silent);
    if (session.receiver().attribute("orvBufMode") != "stop") {
        if (isSet(result.properties, "orvBufMode")) {
            throw toolkit::Failure(toolkit::ExitCode::BadInput, wrapsByProperty);
        }
        throw toolkit::Failure(toolkit::ExitCode::BadInput,
                               options.settings + ": is_stop_on_full is false; set it to true, a round ends "
                                                  "when the unit's buffer is full");
    }
    result.dataPins = numberOf(session.receiver().attribute(dataPinsAttribute));
    if (!result.dataPins) {
        throw toolkit::Failure(toolkit::ExitCode::Failed, "the receiver does not report how many data pins it records");
    }
    if (result.calibration && result.calibration->rates.known()) {
        result.dataRate = result.calibration->dataRate;
        result.bitsPerSecond = result.calibration->rates.dataRate;
    }
}

void SoakRun::playRound() {
    calibrate();
    Receiver& receiver = session.receiver();
    RecordingPlan plan;
    plan.untilFull = true;
    const RecordingEnd end = runRecording(receiver.channel(), plan, silent);
    if (end.failed) {
        throw toolkit::Failure(toolkit::ExitCode::RecordingError, end.state);
    }
    const bool full = end.state.find("buffer full") != std::string::npos;
    GeneratorCheck check(result.dataPins.value(),
                         receiver.attribute("drmXmtr") == "pti" ? Framing::Packets : Framing::Words);
    const ReadBack back =
        readBack(receiver.channel(), silent, [&](std::span<const std::uint64_t> samples) { check.take(samples); });
    if (const auto fault = faultOf(end, back)) {
        throw toolkit::Failure(*fault);
    }
    if (full) {
        check.endOfFullBuffer();
    }
    result.addRound(check);
    if (full && check.wordsChecked() == 0) {
        throw toolkit::Failure(toolkit::ExitCode::FaultsFound,
                               "round " + std::to_string(result.rounds) +
                                   " filled the buffer without a word of the generator");
    }
}

/// Leaves what the rounds have shown beside the files of the last calibration.
void SoakRun::conclude(const std::optional<toolkit::Failure>& failure) {
    diagnosis::RunChecks& checks = result.checks;
    checks.code = failure && result.errors == 0 ? failure->code : toolkit::ExitCode::Done;
    checks.failure = failure && result.errors == 0 ? failure->what() : "";
    checks.words.clear();
    if (result.words != 0) {
        diagnosis::WordCheck& check = checks.words.emplace_back();
        check.pattern = "ramp";
        check.bits = result.words * bitsOfAWord;
        check.errors = result.errors;
    }
    try {
        session.writeChecks();
    } catch (const toolkit::Failure&) {
        if (!failure) {
            throw; // otherwise the first failure counts, and this one is likely the same full disk
        }
    }
}

void SoakRun::run(const SoakLength& length) {
    const InterruptAnswer answer("stopping after this round");
    session.checkInputs();
    session.prepare();
    session.open(line);
    const auto start = Clock::now();
    do {
        show(length);
        try {
            playRound();
        } catch (const toolkit::Failure& failure) {
            const toolkit::Failure explained = session.explained(failure);
            conclude(explained);
            throw explained;
        }
        result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
        result.interrupted = interrupted();
    } while (!result.interrupted &&
             (length.rounds == 0 ? result.seconds < length.seconds : result.rounds < length.rounds));
    const auto failure = verdictOf(result);
    conclude(failure);
    if (failure) {
        throw toolkit::Failure(*failure);
    }
}

} // namespace

SessionOptions generatorSession(SessionOptions given) {
    given.cpu = generatorName;
    if (given.settings.empty() && given.scenario.empty()) {
        given.scenario = benchScenario;
    }
    if (given.settings.empty()) {
        given.stopOnFull = true;
    }
    return given;
}

void soak(const SessionOptions& options, const SoakLength& length, SoakResult& result) {
    try {
        SoakRun(options, result).run(length);
    } catch (const toolkit::Failure&) {
        result.interrupted = interrupted();
        throw;
    }
}

} // namespace host
