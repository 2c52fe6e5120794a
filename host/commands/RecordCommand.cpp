#include <algorithm>
#include <cstdio>
#include <iostream>

#include <CLI/CLI.hpp>

#include "host/basics/Crc32.h"
#include "host/basics/FilePath.h"
#include "host/basics/Numbers.h"
#include "host/commands/Commands.h"
#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "host/results/ResultText.h"
#include "host/session/Recording.h"
#include "tdf/TdfFile.h"

namespace host {

namespace {

namespace fs = std::filesystem;
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
        : options(given), result(filled), session(given.session, filled), line(given.session.quiet) {}

    void run();

private:
    fs::path rawFile(unsigned number) const;
    void testOutputs();
    void recordAll();
    void record(unsigned number);
    void save(CChannelDriver& channel, unsigned number);
    void saveSection(CChannelDriver& channel, const fs::path& file, bool first);

    const RecordOptions& options;
    RecordResult& result;
    Session session;
    ProgressLine line;
};

/// "out.bin", or "out-2.bin" for the second of several recordings.
fs::path RecordRun::rawFile(unsigned number) const {
    fs::path file = absolutePath(options.raw);
    if (options.repeat > 1)
        file.replace_filename(
            filePath(file.stem().string() + "-" + std::to_string(number) + file.extension().string()));
    return file;
}

void RecordRun::testOutputs() {
    if (!options.save.empty())
        session.testOutput(absolutePath(options.save));
    for (unsigned number = 1; !options.raw.empty() && number <= options.repeat; ++number)
        session.testOutput(rawFile(number));
}

void RecordRun::record(unsigned number) {
    CChannelDriver& channel = session.receiver().channel();
    if (options.repeat > 1)
        line.setPrefix(std::to_string(number) + " of " + std::to_string(options.repeat) + ": ");
    RecordingPlan plan;
    plan.seconds = options.seconds;
    plan.untilFull = options.untilFull;
    if (options.triggerFile)
        plan.triggerFile = filePath(session.fileStem().string() + ".trg.txt");
    const RecordingEnd end = runRecording(channel, plan, line);
    RecordingResult& recording = result.recordings.emplace_back();
    recording.state = end.state;
    recording.seconds = end.seconds;
    recording.wrapped = session.receiver().attribute("Buffer Wrapped") == "1";
    // What an error has left in the capture unit is announced but does not come any more.
    recording.samples = readBack(channel, line, end.failed, [&](std::span<const std::uint64_t> samples) {
        recording.checksum = crc32(recording.checksum, samples);
    });
    try {
        save(channel, number);
    } catch (const Failure&) {
        if (!end.failed)
            throw;
    }
    if (end.failed)
        throw Failure(ExitCode::RecordingError, end.state);
}

/// A section more, or none: what the file held before stays as it was when this one cannot be written.
void RecordRun::saveSection(CChannelDriver& channel, const fs::path& file, bool first) {
    const auto add = [&](const fs::path& to) { channel.SaveFile(to.string(), CChannelDriver::eSaveTraceDataFile); };
    if (first) {
        NewFile made(file);
        guardedOutput(file, [&] {
            Vx::Qrs::Trace::OrvRcvr::TdfFile::createFile(made.partial().string().c_str());
            add(made.partial());
        });
        made.putInPlace();
        return;
    }
    std::error_code failed;
    const std::uintmax_t size = fs::file_size(file, failed);
    try {
        guardedOutput(file, [&] { add(file); });
    } catch (const Failure&) {
        if (!failed)
            fs::resize_file(file, size, failed);
        throw;
    }
}

void RecordRun::save(CChannelDriver& channel, unsigned number) {
    if (number == 1)
        result.files.emplace_back("samples", session.fileStem().string() + ".bin");
    if (!options.save.empty()) {
        const fs::path file = absolutePath(options.save);
        saveSection(channel, file, number == 1);
        if (number == 1)
            result.files.emplace_back("trace data file", file.string());
    }
    if (!options.raw.empty()) {
        const fs::path file = rawFile(number);
        NewFile made(file);
        guardedOutput(file, [&] { channel.SaveFile(made.partial().string(), CChannelDriver::eSaveRaw); });
        made.putInPlace();
        result.files.emplace_back(options.repeat > 1 ? "raw copy " + std::to_string(number) : "raw copy",
                                  file.string());
    }
}

void RecordRun::run() {
    session.checkInputs();
    testOutputs();
    session.prepare();
    session.open(line);
    try {
        recordAll();
    } catch (const Failure& failure) {
        const Failure explained = session.explained(failure);
        // A refused calibration is what a page about it is wanted for most.
        if (!result.calibrated && explained.code == ExitCode::CalibrationRefused)
            leaveReport(session, result);
        throw explained;
    }
}

void RecordRun::recordAll() {
    session.calibrate(line);
    for (unsigned number = 1; number <= options.repeat && !interrupted(); ++number)
        record(number);
    if (interrupted())
        throw Failure(ExitCode::Interrupted, result.recordings.empty() ? "interrupted before the recording"
                                                                       : "interrupted; what was captured is kept");
}

/// `orvtrace record`.
class RecordCommand : public Command {
public:
    RecordCommand() : Command("record", "Calibrate, record, upload and save trace") {}
    void setUp(CLI::App& app) override;
    ExitCode run() override;

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
                        ->check(numberFrom(0.0, 1e6));
    auto* full =
        app.add_flag("--until-full", options.untilFull, "Record until the unit's buffer is full")->excludes(seconds);
    app.add_flag("--trigger-file", options.triggerFile, "End it by a trigger file that is made after --seconds")
        ->excludes(full);
    app.add_flag("--wrap", options.wrap, "Let the buffer wrap: keeps the newest trace")->excludes(full);
    app.add_option("--repeat", options.repeat, "Record N times on one calibration (1)")
        ->option_text("N")
        ->check(wholeNumberFrom(1, 9999));
    app.add_option("--save", options.save, "New trace data file, a section per recording")
        ->option_text("FILE.tdf")
        ->check(checkTdfName);
    app.add_option("--raw", options.raw, "Bare bytes; of several recordings FILE-1 and so on")->option_text("FILE");
    addRunFlags(app, options.session);
    addJson(app);
}

ExitCode RecordCommand::run() {
    if (options.untilFull)
        options.session.stopOnFull = true;
    if (options.wrap)
        options.session.stopOnFull = false;
    checkSessionOptions(options.session);
    RecordResult result;
    return concluded(
        result, [&] { RecordRun(options, result).run(); }, json, resultText);
}

} // namespace

std::unique_ptr<Command> makeRecordCommand() {
    return std::make_unique<RecordCommand>();
}

} // namespace host
