#include "host/commands/Commands.h"
#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "host/platform/InterruptAnswer.h"
#include "host/results/ResultText.h"
#include "host/session/RecordingOutputs.h"
#include "toolkit/Crc32.h"
#include "toolkit/FilePath.h"
#include "toolkit/Numbers.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace host {

namespace {

using Vx::Qrs::Trace::CChannelDriver;

struct RecordOptions {
    SessionOptions session;
    double seconds = 1.0;     ///< length of the recording
    bool untilFull = false;   ///< record until the unit's buffer is full instead
    bool triggerFile = false; ///< end by the trigger file instead of a stop
    bool wrap = false;        ///< let the buffer wrap
    unsigned repeat = 1;
    std::string save; ///< trace data file
    std::string raw;  ///< raw copy
};

/// One run of the command, from its inputs to its result.
class RecordRun {
public:
    RecordRun(const RecordOptions& given, RecordResult& filled)
        : options(given), result(filled), session(given.session, filled), outputs(given.save, given.raw, given.repeat),
          line(given.session.quiet) {}

    void run();

private:
    void recordAll();
    void record(unsigned number);
    void keep(CChannelDriver& channel, unsigned number, const ReadBack& back,
              const std::optional<toolkit::Failure>& fault);

    const RecordOptions& options;
    RecordResult& result;
    Session session;
    RecordingOutputs outputs;
    ProgressLine line;
};

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
    RecordingResult& recording = result.recordings.emplace_back();
    recording.state = end.state;
    recording.seconds = end.seconds;
    recording.wrapped = session.receiver().attribute("Buffer Wrapped") == "1";
    if (number == 1) {
        result.files.emplace_back("samples", session.fileStem().string() + ".bin");
    }
    const ReadBack back = readBack(channel, line, [&](std::span<const std::uint64_t> samples) {
        recording.checksum = toolkit::crc32(recording.checksum, samples);
        recording.samples += samples.size();
    });
    keep(channel, number, back, faultOf(end, back));
}

/// What came is written in any case. The recording's own fault comes first in the text.
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

void RecordRun::run() {
    session.checkInputs();
    for (const std::filesystem::path& file : outputs.files()) {
        session.testOutput(file);
    }
    session.prepare();
    session.open(line);
    try {
        recordAll();
    } catch (const toolkit::Failure& failure) {
        const toolkit::Failure explained = session.explained(failure);
        // A refused calibration is what a page about it is wanted for most.
        if (!result.calibrated && explained.code == toolkit::ExitCode::CalibrationRefused) {
            leaveReport(session, result);
        }
        throw explained;
    }
}

void RecordRun::recordAll() {
    if (interrupted()) {
        throw toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted before the calibration");
    }
    session.calibrate(line);
    for (unsigned number = 1; number <= options.repeat && !interrupted(); ++number) {
        record(number);
    }
    if (interrupted()) {
        throw toolkit::Failure(toolkit::ExitCode::Interrupted, result.recordings.empty()
                                                                   ? "interrupted before the recording"
                                                                   : "interrupted; what was captured is kept");
    }
}

/// `orvtrace record`.
class RecordCommand : public Command {
public:
    RecordCommand() : Command("record", "Calibrate, record, upload and save trace") {}
    void setUp(CLI::App& app) override;
    toolkit::ExitCode run() override;

private:
    RecordOptions options;
};

void RecordCommand::setUp(CLI::App& app) {
    app.footer("Example: orvtrace record --scenario bench-cable --save trace.tdf");
    auto* scenario = addScenario(app, options.session);
    addSettings(app, options.session);
    addCpu(app, options.session);
    app.add_option("--play", options.session.play, "File that the simulated target sends")
        ->option_text("FILE")
        ->needs(scenario);
    addPins(app, options.session);
    addBuffer(app, options.session);
    auto* seconds = app.add_option("--seconds", options.seconds, "Length of the recording (1)")
                        ->option_text("SECONDS")
                        ->check(toolkit::numberFrom(0.0, 1e6));
    auto* full =
        app.add_flag("--until-full", options.untilFull, "Record until the unit's buffer is full")->excludes(seconds);
    app.add_flag("--trigger-file", options.triggerFile, "End it by a trigger file that is made after --seconds")
        ->excludes(full);
    app.add_flag("--wrap", options.wrap, "Let the buffer wrap: keeps the newest trace")->excludes(full);
    app.add_option("--repeat", options.repeat, "Record N times on one calibration (1)")
        ->option_text("N")
        ->check(toolkit::wholeNumberFrom(1, 9999));
    app.add_option("--save", options.save, "New trace data file, a section per recording")
        ->option_text("FILE.tdf")
        ->check(checkTdfName);
    app.add_option("--raw", options.raw, "Bare bytes; of several recordings FILE-1 and so on")->option_text("FILE");
    addRunFlags(app, options.session);
    addJson(app);
}

toolkit::ExitCode RecordCommand::run() {
    if (options.untilFull) {
        options.session.stopOnFull = true;
    }
    if (options.wrap) {
        options.session.stopOnFull = false;
    }
    checkSessionOptions(options.session);
    RecordResult result;
    return concluded(result, [&] { RecordRun(options, result).run(); }, json, resultText);
}

} // namespace

std::unique_ptr<Command> makeRecordCommand() {
    return std::make_unique<RecordCommand>();
}

} // namespace host
