#include "host/session/Session.h"

#include "host/platform/InterruptAnswer.h"
#include "host/scenario/NamesFile.h"
#include "host/session/CalibrationTraces.h"
#include "host/session/ReceiverLog.h"
#include "host/session/StartTurn.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/Remedy.h"
#include "toolkit/TextFile.h"

#include <chrono>
#include <ostream>

namespace host {

using toolkit::ExitCode;
using toolkit::Failure;

namespace fs = std::filesystem;

namespace {

/// Failures that a full disk may cause, though their text does not say so.
bool possibleDiskError(ExitCode code) {
    return code == ExitCode::CalibrationRefused || code == ExitCode::RecordingError || code == ExitCode::BadInput ||
           code == ExitCode::Failed;
}

/// Relative to the current folder if it is below that.
std::string asTyped(const fs::path& path) {
    std::error_code failed;
    const fs::path shorter = path.lexically_relative(fs::current_path(failed));
    return shorter.empty() || *shorter.begin() == ".." ? path.string() : shorter.string();
}

} // namespace

fs::path absolutePath(const std::string& path) {
    return fs::absolute(toolkit::filePath(path)).lexically_normal().make_preferred();
}

Session::Session(const SessionOptions& given, SessionResult& filled)
    : options(given), result(filled), files(given.force) {}

Session::~Session() {
    channel.reset();
    if (prepared && !hasOutput()) {
        std::error_code failed;
        folder->clear();
        if (settingsMade) {
            fs::remove(settingsFile, failed);
        }
        if (propertiesMade) {
            fs::remove(propertiesFile, failed);
        }
        result.files.clear();
    }
    made.removeEmpty();
}

bool Session::hasOutput() const {
    std::error_code failed;
    const std::uintmax_t size = fs::file_size(logFile, failed);
    return configured || (!failed && size != 0);
}

void Session::checkInputs() {
    if (!options.scenario.empty()) {
        scenario = readScenario(scenarioFile(options.scenario, programFolder() / "scenarios"));
    }
    if (!options.settings.empty()) {
        requireInput(toolkit::filePath(options.settings), "settings file");
    }
    if (!options.play.empty()) {
        requirePlay();
    }
    if (const fs::path file = RunProperties::givenFile(); !file.empty()) {
        requireInput(file, "properties file");
    }
    properties.emplace(options.set);
    ownProperties = properties->all();
    if (scenario) {
        inputs.push_back(scenario->file);
    }
    result.scenario = scenario ? scenario->name : "";
    takeNames();
    result.cpu = !options.cpu.empty() ? options.cpu : scenario ? scenario->cpu : "";
    placeRun();
}

void Session::takeNames() {
    result.names = !options.names.empty() ? laneNamesOf(options.names)
                   : scenario             ? scenario->names
                                          : toolkit::LaneNames();
    if (isNamesFile(options.names)) {
        inputs.push_back(toolkit::filePath(options.names));
    }
    const std::optional<std::size_t> listed = result.names.listedPins();
    const auto choice = pinChoiceOf(options.pins);
    const std::size_t pins = choice ? choice->dataPins : scenario ? scenario->settings.dataPins : 0;
    if (listed && pins != 0 && *listed != pins) {
        throw Failure(ExitCode::Usage, "--names is a clock and " + toolkit::countText(*listed, "data pin") +
                                           "; this run has " + std::to_string(pins) +
                                           "; give the clock first, then the top bit");
    }
}

void Session::requireInput(const fs::path& file, const char* what) {
    std::error_code failed;
    const std::string named = std::string("the ") + what + " " + file.string();
    if (fs::is_directory(file, failed)) {
        throw Failure(ExitCode::BadInput, named + " is a folder; give the name of a file");
    }
    if (!fs::is_regular_file(file, failed)) {
        throw Failure(ExitCode::BadInput, named + " does not exist; check the name and the folder");
    }
    toolkit::requireReadable(file);
    inputs.push_back(file);
}

/// Settings that the receiver would overwrite with its defaults are rejected before anything starts.
void Session::requireSettings() const {
    if (const std::string fault = settingsFault(toolkit::readText(toolkit::filePath(options.settings)));
        !fault.empty()) {
        throw Failure(ExitCode::BadInput, options.settings + ": the receiver cannot use these settings: " + fault);
    }
}

void Session::requirePlay() {
    requireInput(toolkit::filePath(options.play), "file to play");
    std::error_code failed;
    if (fs::file_size(toolkit::filePath(options.play), failed) == 0) {
        throw Failure(ExitCode::BadInput, "the file to play " + options.play + " is empty; give one that is not");
    }
}

void Session::placeRun() {
    folder.emplace(options.out, scenario ? scenario->file.stem().string() : "run", options.force, made);
    for (const fs::path& input : inputs) {
        files.read(input);
        if (folder->willClear(input)) {
            throw Failure(ExitCode::Usage, input.string() + " is read by this command and lies in the earlier run that "
                                                            "--force removes; choose another folder with --out");
        }
    }
    files.read(toolkit::filePath(options.library));
    const fs::path own = toolkit::filePath(options.settings);
    const std::string name = !options.settings.empty() ? own.stem().string()
                             : scenario                ? scenario->file.stem().string()
                                                       : "channel";
    settingsFile = folder->settingsFile(name);
    std::error_code failed;
    settingsMade = !fs::exists(settingsFile, failed);
    if (!fs::equivalent(own, settingsFile, failed)) {
        files.overwrite(settingsFile);
    }
    propertiesFile = folder->propertiesFile(name);
    if (!properties->all().empty()) {
        propertiesMade = !fs::exists(propertiesFile, failed);
        files.overwrite(propertiesFile);
    }
}

void Session::testOutput(const fs::path& file) {
    if (folder->willClear(file)) {
        throw Failure(ExitCode::Usage, file.string() + " lies in the earlier run that --force removes; give another "
                                                       "folder");
    }
    files.write(file);
}

Failure Session::explained(const Failure& failure) const {
    if (!folder || !possibleDiskError(failure.code)) {
        return failure;
    }
    for (const fs::path& place : {folder->path(), stem.parent_path()}) {
        if (!place.empty() && toolkit::diskIsFull(place)) {
            return Failure(ExitCode::OutputUnwritable,
                           "the disk of the folder " + place.string() + " is full; free space on it (" +
                               failure.what() + ")",
                           failure.where);
        }
    }
    return failure;
}

void Session::prepare() {
    if (!options.settings.empty()) {
        requireSettings();
    }
    folder->clear();
    prepared = true;
    writeSettings();
    if (scenario) {
        folder->enterBench(*scenario, options.play, programFolder());
    } else if (getEnvironment("VX_TRACE_LOGGING").empty()) {
        setEnvironment("VX_TRACE_LOGGING", "1");
    }
    result.files.push_back({"settings", "settings", settingsFile.string()});
    writeProperties();
}

void Session::writeProperties() {
    if (properties->all().empty()) {
        if (options.force) { // one of the earlier run would claim that this run had its properties
            std::error_code failed;
            fs::remove(propertiesFile, failed);
        }
        return;
    }
    properties->writeTo(propertiesFile);
    result.properties = properties->all();
    result.files.push_back({"properties", "properties", propertiesFile.string()});
}

void Session::overrideProperties(const std::vector<SetProperty>& others) {
    properties->replace(ownProperties, others);
    properties->writeTo(propertiesFile);
    result.properties = properties->all();
    if (result.file("properties").empty()) {
        result.files.insert(result.files.begin() + static_cast<std::ptrdiff_t>(ownFiles),
                            {"properties", "properties", propertiesFile.string()});
        ++ownFiles;
    }
}

void Session::writeSettings() {
    if (!options.settings.empty()) {
        // The receiver gets a copy: it overwrites a file that it cannot use.
        const fs::path own = toolkit::filePath(options.settings);
        const std::string text = toolkit::readText(own);
        std::error_code failed;
        if (!fs::equivalent(own, settingsFile, failed)) {
            fs::copy_file(own, settingsFile, fs::copy_options::overwrite_existing, failed);
        }
        if (toolkit::readText(settingsFile) != text) {
            throw Failure(ExitCode::OutputUnwritable, "cannot write " + settingsFile.string());
        }
        return;
    }
    ChannelSettings settings = scenario ? scenario->settings : ChannelSettings();
    if (options.stopOnFull) {
        settings.stopOnFull = *options.stopOnFull;
    }
    if (!options.buffer.empty()) {
        settings.bufferIndex = bufferIndexOf(options.buffer).value();
    }
    if (!options.pins.empty()) {
        const PinChoice choice = pinChoiceOf(options.pins).value();
        settings.dataPins = choice.dataPins;
        settings.pinMap = choice.pinMap;
    }
    writeChannelSettings(settings, settingsFile);
}

/// Calls into the receiver. When the data server is to blame, its own last words are added.
void Session::withServer(const std::function<void()>& work) {
    try {
        work();
    } catch (const Failure& failure) {
        const std::string words = scenario ? folder->lastWordsOfServer() : std::string();
        if (failure.code != ExitCode::NoSystem || words.empty()) {
            throw;
        }
        throw Failure(failure.code, std::string(failure.what()) + toolkit::serverSaid + words, failure.where);
    }
}

/// The receiver reports the folders of its files by the environment, also if it cannot be made.
void Session::load() {
    const auto findFiles = [this] {
        const fs::path data = toolkit::filePath(getEnvironment("VX_TRACE_DATA_DIR"));
        stem = data / settingsFile.stem();
        logFile = receiverLog();
        result.files.push_back({"receiverFolder", "receiver's files", data.string()});
        if (!logFile.empty()) {
            result.files.push_back({"log", "log", logFile.string()});
        }
    };
    try {
        withServer([this] { channel = std::make_unique<Receiver>(options.library); });
    } catch (const Failure&) {
        findFiles();
        throw;
    }
    findFiles();
}

void Session::open(ProgressLine& line, const XmtrWrapper& wrap) {
    watchInterrupts();
    {
        std::optional<StartTurn> turn;
        if (scenario) {
            turn.emplace(line);
        }
        const InterruptAnswer answer("stopping as soon as the data server has started");
        // A port that another program has costs seconds, and no server at all costs eight of them.
        const ProgressFollower follower([] { return ProgressStep{"starting the data server", {}, {}, {}, {}}; }, line);
        load();
    }
    if (scenario) {
        result.files.push_back({"benchFolder", "bench", folder->benchFolder().string()});
    }
    ownFiles = result.files.size();
    withServer([&] { channel->allocate(result.cpu, wrap); });
}

void Session::calibrate(ProgressLine& line) {
    const InterruptAnswer answer("stopping after the calibration");
    const auto start = std::chrono::steady_clock::now();
    std::error_code failed;
    const std::uintmax_t size = fs::file_size(logFile, failed);
    logRead = failed ? 0 : size;
    result.calibrated = false;
    givenSettings = toolkit::readText(settingsFile);
    configured = true;
    result.checks = {};
    result.checks.names = result.names;
    fs::remove(checksFile(), failed); // of an earlier calibration
    result.doctorTakes = asTyped(scenario ? folder->path() : stem);
    const auto finish = [&] {
        result.calibrationSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        collect();
    };
    try {
        const ProgressFollower follower([this] { return stepOfCalibration(channel->channel()); }, line);
        guarded(ExitCode::CalibrationRefused,
                [&] { channel->channel().SetConfiguration(settingsFile.string().c_str()); });
        result.calibrated = true;
    } catch (const Failure&) {
        finish();
        throw;
    }
    finish();
}

fs::path Session::checksFile() const {
    return toolkit::filePath(stem.string() + ".checks.json");
}

void Session::writeChecks() {
    if (!configured) {
        return;
    }
    toolkit::writeOutputFile(checksFile(), [&](std::ostream& out) { out << diagnosis::runChecksText(result.checks); });
    result.files.push_back({"checks", "checks", checksFile().string()});
}

void Session::collect() {
    result.pinMap = channel->attribute("pinMap");
    result.attempts.clear();
    result.troubles.clear();
    result.notes.clear();
    result.calibration.reset();
    result.files.resize(ownFiles);
    CalibrationTraces traces;
    traces.stem = stem;
    traces.calibrated = result.calibrated;
    traces.givenValues = channel->attribute("calMode") == "manual";
    traces.frequencies = frequenciesOf(channel->attribute("frequencies"));
    if (const auto stated = frequenciesOf(channel->attribute("Device Clock Frequency"));
        !stated.empty() && stated.front() > 0.0) {
        traces.hertz = stated.front();
    }
    std::error_code failed;
    traces.log = fs::exists(logFile, failed) ? toolkit::readText(logFile, logRead) : std::string();
    result.log = diagnosis::parseRunLog(traces.log, result.calibrated);
    requireOwnSettings();
    takeTraces(traces, result);
}

/// A calibration with the default settings is not the requested one.
void Session::requireOwnSettings() {
    const bool replaced = toolkit::readText(settingsFile) != givenSettings;
    if (!result.log.settingsReplaced && !replaced) {
        return;
    }
    result.calibrated = false;
    result.log.frequencies.clear();
    const std::string own = options.settings.empty() ? settingsFile.string() : options.settings;
    throw Failure(ExitCode::BadInput, own + ": the receiver cannot use these settings: " +
                                          result.log.settingsReplaced.value_or("unknown reason"));
}

} // namespace host
