#include <algorithm>
#include <chrono>
#include <iostream>
#include <sstream>

#include <CLI/CLI.hpp>

#include "host/basics/Format.h"
#include "host/basics/JsonText.h"
#include "host/basics/Remedy.h"
#include "host/commands/Commands.h"
#include "host/commands/SessionFlags.h"
#include "host/session/Recording.h"
#include "host/soak/GeneratorCheck.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

/// The name that makes the receiver use the capture unit's own generator instead of a target. A recording with no test
/// pattern asked for makes it send a ramp.
constexpr const char* generatorName = "fpga";
constexpr const char* benchScenario = "self-test";

struct RoundError {
    unsigned round = 0; ///< from 1
    WordError error;
};

struct SoakResult : SessionResult {
    ExitCode code = ExitCode::Done;
    std::string failure;
    std::string where;
    unsigned rounds = 0; ///< recorded and checked
    unsigned dataPins = 0;
    std::uint64_t words = 0;
    std::uint64_t errors = 0;
    std::vector<RoundError> firstErrors;
    double seconds = 0.0;

    double wordsPerSecond() const { return seconds > 0.0 ? static_cast<double>(words) / seconds : 0.0; }
};

std::string hexWord(std::uint16_t word) {
    return print("0x%04x", static_cast<unsigned>(word));
}

std::string soakText(const SoakResult& result) {
    std::ostringstream out;
    out << (result.scenario.empty() ? std::string("the capture unit's own generator")
                                    : "the simulated unit's own generator, scenario " + result.scenario);
    out << ", " << countText(result.dataPins, "data pin");
    if (result.calibration)
        out << ", " << result.calibration->dataRate;
    out << "\n"
        << countText(result.rounds, "round") << ", each calibrated and recorded anew"
        << print(", in %.1f s\n", result.seconds) << countText(result.words, "word") << " checked, "
        << countText(result.errors, "error")
        << print("; %.2f million words a second over all\n", result.wordsPerSecond() / 1e6);
    if (!result.firstErrors.empty())
        out << "\n" << print("%6s %8s %5s %10s %9s %7s\n", "round", "packet", "word", "byte", "expected", "got");
    for (const RoundError& entry : result.firstErrors) {
        const WordError& error = entry.error;
        out << print("%6u %8s %5u %10s %9s %7s\n", entry.round, std::to_string(error.packet).c_str(), error.word,
                     std::to_string(error.byte()).c_str(), error.expected ? hexWord(*error.expected).c_str() : "-",
                     hexWord(error.got).c_str());
    }
    return out.str();
}

std::string soakJson(const SoakResult& result) {
    nlohmann::json errors = nlohmann::json::array();
    for (const RoundError& entry : result.firstErrors) {
        nlohmann::json item{{"round", entry.round},
                            {"packet", entry.error.packet},
                            {"word", entry.error.word},
                            {"byte", entry.error.byte()},
                            {"got", entry.error.got}};
        item["expected"] = entry.error.expected ? nlohmann::json(*entry.error.expected) : nlohmann::json();
        errors.push_back(item);
    }
    nlohmann::json out{{"outcome", exitCodeName(result.code)},
                       {"exitCode", static_cast<int>(result.code)},
                       {"scenario", result.scenario},
                       {"pins", result.dataPins},
                       {"rounds", result.rounds},
                       {"seconds", result.seconds},
                       {"words", result.words},
                       {"wordsPerSecond", result.wordsPerSecond()},
                       {"errors", result.errors},
                       {"firstErrors", errors}};
    if (!result.failure.empty())
        out["error"] = {
            {"text", result.failure}, {"where", result.where}, {"remedy", remedyOf(result.code, result.failure)}};
    if (result.calibration)
        out["dataRate"] = result.calibration->dataRate;
    for (const auto& [what, where] : result.files)
        out["files"][what] = where;
    return jsonText(out);
}

/// `orvtrace soak`.
class SoakCommand : public Command {
public:
    SoakCommand() : Command("soak", "Check the unit against its own generator, again and again") {}

    void setUp(CLI::App& app) override {
        app.footer("Without --settings the simulated unit is checked, scenario self-test.\n"
                   "Example: orvtrace soak --seconds 60");
        app.add_option("--seconds", seconds, "How long (10); the last round is finished")
            ->option_text("S")
            ->check(CLI::Range(0.0, 1e7));
        addScenario(app, options);
        addSettings(app, options);
        addPins(app, options);
        addBuffer(app, options);
        addRunFlags(app, options);
        addJson(app);
    }

    ExitCode run() override;

private:
    void soak(SoakResult& result);
    void playRound(Session& session, SoakResult& result);

    SessionOptions options;
    double seconds = 10.0;
};

void SoakCommand::playRound(Session& session, SoakResult& result) {
    ProgressLine silent(ProgressStyle::Quiet);
    session.calibrate(silent);
    Receiver& receiver = session.receiver();
    if (receiver.attribute("orvBufMode") != "stop")
        throw Failure(ExitCode::BadInput, options.settings + ": is_stop_on_full is false; set it to true, a round ends "
                                                             "when the unit's buffer is full");
    RecordingPlan plan;
    plan.untilFull = true;
    const RecordingEnd end = runRecording(receiver.channel(), plan, silent);
    if (end.failed)
        throw Failure(ExitCode::RecordingError, end.state);
    result.dataPins = static_cast<unsigned>(result.calibration ? result.calibration->pins.size() - 1 : 0);
    GeneratorCheck check(result.dataPins, receiver.attribute("drmXmtr") == "pti" ? Framing::Packets : Framing::Words);
    readBack(receiver.channel(), silent, false, [&](std::span<const std::uint64_t> samples) { check.take(samples); });
    ++result.rounds;
    result.words += check.wordsChecked();
    result.errors += check.errorCount();
    for (const WordError& error : check.firstErrors()) {
        if (result.firstErrors.size() < GeneratorCheck::errorsKept)
            result.firstErrors.push_back({result.rounds, error});
    }
}

void SoakCommand::soak(SoakResult& result) {
    Session session(options, result);
    session.checkInputs();
    session.prepare();
    session.open();
    ProgressLine line(options.quiet);
    const auto start = Clock::now();
    do {
        line.show({"soaking",
                   countText(result.rounds, "round") + ", " + countText(result.words, "word") + ", " +
                       countText(result.errors, "error"),
                   {},
                   {},
                   seconds});
        playRound(session, result);
        result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    } while (result.seconds < seconds && !interrupted());
    if (result.errors != 0)
        throw Failure(ExitCode::FaultsFound, countText(result.errors, "word") + " came back wrong");
    if (interrupted())
        throw Failure(ExitCode::Interrupted, "interrupted; the rounds until then were in order");
}

ExitCode SoakCommand::run() {
    options.cpu = generatorName;
    if (options.settings.empty() && options.scenario.empty())
        options.scenario = benchScenario;
    if (options.settings.empty())
        options.stopOnFull = true;
    checkSessionOptions(options);
    SoakResult result;
    try {
        soak(result);
    } catch (const Failure& failure) {
        result.code = failure.code;
        result.failure = failure.what();
        result.where = failure.where;
    }
    if (json)
        std::cout << soakJson(result) << std::flush;
    else if (result.rounds != 0)
        std::cout << soakText(result) << std::flush;
    if (result.code != ExitCode::Done)
        printFailure(result.code, result.failure);
    return result.code;
}

} // namespace

std::unique_ptr<Command> makeSoakCommand() {
    return std::make_unique<SoakCommand>();
}

} // namespace host
