#include <chrono>
#include <cstdio>
#include <iostream>
#include <optional>

#include <CLI/CLI.hpp>

#include "host/basics/OutputFiles.h"
#include "host/basics/TextFile.h"
#include "host/commands/Commands.h"
#include "host/commands/RecordOptions.h"
#include "host/files/ScenarioFile.h"
#include "host/results/RecordResult.h"
#include "host/results/ResultText.h"
#include "host/session/Receiver.h"
#include "host/session/Recording.h"
#include "host/session/RunFolder.h"

namespace host {

namespace {

namespace fs = std::filesystem;
using Vx::Qrs::Trace::CChannelDriver;

/// The log that this process writes: its name ends in the number of the debug client's process.
fs::path findLog(const fs::path& directory) {
    const std::string ending = std::string("_") + getEnvironment("VX_TRACE_DEBUGCLIENT_PID") + ".txt";
    fs::path newest;
    fs::file_time_type newestTime{};
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(directory, failed)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("vx_trace_log", 0) != 0 || !name.ends_with(ending))
            continue;
        const auto time = entry.last_write_time(failed);
        if (newest.empty() || time > newestTime) {
            newest = entry.path();
            newestTime = time;
        }
    }
    return newest;
}

fs::path absolutePath(const std::string& path) {
    return fs::absolute(path).lexically_normal().make_preferred();
}

void requireFile(const std::string& file, const char* what) {
    std::error_code failed;
    if (!fs::is_regular_file(file, failed))
        throw Failure(ExitCode::BadInput, std::string("the ") + what + " " + file + " does not exist");
    readText(file, fs::file_size(file, failed)); // proves that it can be read
}

/// One recording from the command line to its result.
class RecordRun {
public:
    RecordRun(const RecordOptions& given, RecordResult& filled) : options(given), result(filled) {}

    void run();

private:
    void checkInputs();
    void prepareOutputs();
    void prepareSettings();
    void calibrate(Receiver& receiver);
    void record(Receiver& receiver);
    void save(CChannelDriver& channel);
    void collect(Receiver& receiver);
    fs::path reportFile() const;

    const RecordOptions& options;
    RecordResult& result;
    std::optional<Scenario> scenario;
    std::optional<RunFolder> folder;
    fs::path settingsFile;
    std::string settingsText; ///< as given to the receiver
    fs::path stem;            ///< of the receiver's files
    fs::path logFile;
};

void RecordRun::checkInputs() {
    if (!options.scenario.empty())
        scenario = findScenario(options.scenario, programFolder() / "scenarios");
    if (!options.settings.empty())
        requireFile(options.settings, "settings file");
    if (!options.play.empty())
        requireFile(options.play, "file to play");
    result.scenario = scenario ? scenario->name : "";
    result.cpu = !options.cpu.empty() ? options.cpu : scenario ? scenario->cpu : "";
}

void RecordRun::prepareOutputs() {
    folder.emplace(options.out, scenario ? scenario->file.stem().string() : "run", options.force);
    for (const std::string& file : {options.save, options.raw}) {
        if (!file.empty())
            testOutputFile(file, options.force);
    }
}

void RecordRun::prepareSettings() {
    const std::string name = !options.settings.empty() ? fs::path(options.settings).stem().string()
                             : scenario                ? scenario->file.stem().string()
                                                       : "channel";
    settingsFile = folder->settingsFile(name);
    if (!options.settings.empty()) {
        // The receiver gets a copy: it overwrites a file that it cannot use.
        settingsText = readText(options.settings);
        std::error_code failed;
        if (!fs::equivalent(options.settings, settingsFile, failed))
            fs::copy_file(options.settings, settingsFile, fs::copy_options::overwrite_existing, failed);
        if (readText(settingsFile) != settingsText)
            throw Failure(ExitCode::OutputUnwritable, "cannot write " + settingsFile.string());
        return;
    }
    ChannelSettings settings = scenario ? scenario->settings : ChannelSettings();
    if (options.untilFull)
        settings.stopOnFull = true;
    if (options.wrap)
        settings.stopOnFull = false;
    if (!options.buffer.empty())
        settings.bufferIndex = bufferIndexOf(options.buffer).value();
    settingsText = channelSettingsText(settings);
    writeChannelSettings(settings, settingsFile);
}

void RecordRun::calibrate(Receiver& receiver) {
    const auto start = std::chrono::steady_clock::now();
    const auto finish = [&] {
        result.calibrationSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        collect(receiver);
    };
    try {
        ProgressLine line;
        CalibrationFollower follower(receiver.channel(), line);
        guarded(ExitCode::CalibrationRefused,
                [&] { receiver.channel().SetConfiguration(settingsFile.string().c_str()); });
        result.calibrated = true;
    } catch (const Failure&) {
        finish();
        throw;
    }
    finish();
}

/// The report of the attempt that succeeded, otherwise of the last one; empty when there is none.
fs::path RecordRun::reportFile() const {
    std::vector<fs::path> candidates;
    if (const FrequencySetting* chosen = result.log.chosen())
        candidates.push_back(stem.string() + ".freq" + std::to_string(chosen->setting) + ".cal.txt");
    else
        for (const FrequencySetting& entry : result.log.frequencies)
            candidates.push_back(stem.string() + ".freq" + std::to_string(entry.setting) + ".cal.txt");
    candidates.push_back(stem.string() + ".cal.txt");
    std::error_code failed;
    for (const fs::path& candidate : candidates) {
        if (fs::exists(candidate, failed))
            return candidate;
    }
    return {};
}

void RecordRun::collect(Receiver& receiver) {
    result.pinMap = receiver.attribute("pinMap");
    std::error_code failed;
    const std::string text = fs::exists(logFile, failed) ? readText(logFile) : std::string();
    result.log = parseRunLog(text, result.calibrated);
    if (result.log.settingsReplaced) {
        // What was calibrated with the defaults is nothing that the user asked for.
        result.calibrated = false;
        result.log.frequencies.clear();
        throw Failure(ExitCode::BadInput, settingsFile.string() + ": the receiver cannot use these settings: " +
                                              *result.log.settingsReplaced);
    }
    const fs::path report = reportFile();
    if (!report.empty()) {
        result.calibration = readCalibrationReport(report);
        result.files.emplace_back("calibration report", report.string());
    }
}

void RecordRun::record(Receiver& receiver) {
    CChannelDriver& channel = receiver.channel();
    RecordingPlan plan;
    plan.seconds = options.seconds;
    plan.untilFull = options.untilFull;
    if (options.triggerFile)
        plan.triggerFile = stem.string() + ".trg.txt";
    ProgressLine line;
    const RecordingEnd end = runRecording(channel, plan, line);
    result.recorded = true;
    result.state = end.state;
    result.recordingSeconds = end.seconds;
    result.wrapped = receiver.attribute("Buffer Wrapped") == "1";
    // What an error has left in the capture unit is announced but does not come any more.
    const ReadBack back = readBack(channel, line, end.failed);
    result.samples = back.samples;
    result.checksum = back.checksum;
    try {
        save(channel);
    } catch (const Failure&) {
        if (!end.failed)
            throw;
    }
    if (end.failed)
        throw Failure(ExitCode::RecordingError, end.state);
}

void RecordRun::save(CChannelDriver& channel) {
    result.files.emplace_back("samples", stem.string() + ".bin");
    if (!options.save.empty()) {
        const fs::path file = absolutePath(options.save);
        createTraceDataFile(file);
        guarded(ExitCode::OutputUnwritable,
                [&] { channel.SaveFile(file.string(), CChannelDriver::eSaveTraceDataFile); });
        result.files.emplace_back("trace data file", file.string());
    }
    if (!options.raw.empty()) {
        const fs::path file = absolutePath(options.raw);
        guarded(ExitCode::OutputUnwritable, [&] { channel.SaveFile(file.string(), CChannelDriver::eSaveRaw); });
        result.files.emplace_back("raw copy", file.string());
    }
}

void RecordRun::run() {
    checkInputs();
    prepareOutputs();
    prepareSettings();
    if (scenario)
        folder->enterBench(*scenario, options.play, programFolder());
    else if (getEnvironment("VX_TRACE_LOGGING").empty())
        setEnvironment("VX_TRACE_LOGGING", "1");
    result.files.emplace_back("settings", settingsFile.string());
    watchInterrupts();

    Receiver receiver(options.library);
    // The receiver tells where its files lie by the environment.
    const fs::path data = getEnvironment("VX_TRACE_DATA_DIR");
    stem = data / settingsFile.stem();
    logFile = findLog(getEnvironment("VX_TRACE_LOGGING_DIR"));
    result.files.emplace_back("receiver's files", data.string());
    result.files.emplace_back("log", logFile.string());
    if (scenario)
        result.files.emplace_back("bench", folder->benchFolder().string());

    receiver.allocate(result.cpu);
    calibrate(receiver);
    if (!interrupted())
        record(receiver);
    if (interrupted())
        throw Failure(ExitCode::Interrupted,
                      result.recorded ? "interrupted; what was captured is kept" : "interrupted before the recording");
}

/// `orvtrace record`.
class RecordCommand : public Command {
public:
    RecordCommand() : Command("record", "Calibrate, record, upload and save one trace") {}
    void setUp(CLI::App& app) override;
    ExitCode run() override;

private:
    void checkUsage() const;

    RecordOptions options;
};

void RecordCommand::setUp(CLI::App& app) {
    app.footer("Example: orvtrace record --scenario bench-cable --out run --save run/trace.tdf");
    auto* scenario = app.add_option("--scenario", options.scenario,
                                    "Run on the simulated bench: a name (see 'orvtrace scenarios') or a file");
    app.add_option("--settings", options.settings, "Channel settings file (XML) to use");
    app.add_option("--cpu", options.cpu, "Full CPU name; a scenario brings its own");
    app.add_option("--play", options.play, "File that the simulated target sends once recording starts")
        ->needs(scenario);
    auto* seconds =
        app.add_option("--seconds", options.seconds, "Length of the recording (1)")->check(CLI::Range(0.0, 1e6));
    auto* full =
        app.add_flag("--until-full", options.untilFull, "Record until the unit's buffer is full")->excludes(seconds);
    app.add_flag("--trigger-file", options.triggerFile, "End it by the trigger file instead of a stop")->excludes(full);
    app.add_flag("--wrap", options.wrap, "Let the buffer wrap, keeping the newest trace")->excludes(full);
    app.add_option("--buffer", options.buffer, "Size of the unit's buffer, 256k to 128M")
        ->check([](const std::string& text) {
            return bufferIndexOf(text) ? std::string()
                                       : std::string("must be 256k, 512k, 1M, 2M, 4M, 8M, 16M, 32M, 64M or 128M");
        });
    app.add_option("--out", options.out, "Folder of the run (a new one, orvtrace-NAME)");
    app.add_option("--save", options.save, "Save the trace into a new trace data file FILE.tdf")
        ->check([](const std::string& text) {
            return text.ends_with(".tdf") ? std::string() : std::string("the file's name must end in .tdf");
        });
    app.add_option("--raw", options.raw, "Save the trace as bare bytes");
    app.add_option("--library", options.library, "Receiver library, by name or path (OrvRcvr)");
    app.add_flag("--force", options.force, "Overwrite outputs that exist");
    addJson(app);
}

/// What the parser cannot check.
void RecordCommand::checkUsage() const {
    if (options.scenario.empty() && options.cpu.empty())
        throw Failure(ExitCode::Usage, "give --scenario NAME for the bench, or --cpu NAME for a real target");
    if (options.scenario.empty() && options.settings.empty())
        throw Failure(ExitCode::Usage, "a real target needs --settings FILE.xml");
    if (!options.settings.empty() && (options.wrap || !options.buffer.empty()))
        throw Failure(ExitCode::Usage, "--wrap and --buffer do not go with --settings, which says both");
}

ExitCode RecordCommand::run() {
    checkUsage();
    RecordResult result;
    try {
        RecordRun(options, result).run();
    } catch (const Failure& failure) {
        result.code = failure.code;
        result.failure = failure.what();
        result.where = failure.where;
    } catch (const std::exception& error) {
        result.code = ExitCode::Failed;
        result.failure = error.what();
    }
    if (json)
        std::cout << resultJson(result) << std::flush;
    else if (result.calibrated || result.recorded || !result.log.frequencies.empty())
        std::cout << resultText(result) << std::flush;
    if (result.code != ExitCode::Done)
        std::fprintf(stderr, "orvtrace: %s\n", result.failure.c_str());
    return result.code;
}

} // namespace

std::unique_ptr<Command> makeRecordCommand() {
    return std::make_unique<RecordCommand>();
}

} // namespace host
