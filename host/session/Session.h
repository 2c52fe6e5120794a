#pragma once

#include "host/scenario/ChannelSettingsFile.h"
#include "host/session/Progress.h"
#include "host/session/Receiver.h"
#include "host/session/RemovedAtEnd.h"
#include "host/session/RunFolder.h"
#include "host/session/RunProperties.h"
#include "host/session/SessionResult.h"
#include "toolkit/OutputFiles.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// Options about the receiver and its channel.
struct SessionOptions {
    std::string scenario;            ///< name or file; empty: the real siblings and server
    std::string settings;            ///< channel settings file; empty: written from the scenario
    std::string cpu;                 ///< empty: the scenario's
    std::string play;                ///< file that the simulated target sends
    std::string out;                 ///< folder of the run
    std::string library = "OrvRcvr"; ///< name or path of the receiver
    std::string pins;                ///< as pinChoiceOf() reads it; empty: as in the settings
    std::string names;               ///< of the pins, as laneNamesOf() reads them; empty: the scenario's
    std::vector<std::string> set;    ///< NAME=VALUE, properties of the channel that no settings file has
    std::string buffer;              ///< size of the unit's buffer; empty: as the settings say
    std::optional<bool> stopOnFull;  ///< nothing: as the settings say
    bool force = false;              ///< an earlier run in `out` may be removed
    bool quiet = false;
    bool strict = false; ///< a verdict other than sound is no success
};

/// One channel from the command line to a calibrated receiver, in this order: checkInputs(), prepare(), open(),
/// calibrate(). All throw Failure. They fill the result, also if a step fails.
///
/// A session that ends before the receiver wrote a log or was configured removes everything that it made: settings file,
/// file of properties, the bench's folder, and folders that are then empty. After that everything stays.
class Session {
public:
    Session(const SessionOptions& given, SessionResult& filled);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Checks every input, and finds the run's folder. Changes no file.
    void checkInputs();
    /// Removes an earlier run from the folder, and puts the settings file into it, and one of properties if any are
    /// set. Nothing is started.
    void prepare();
    /// Loads the receiver, starts the data server and makes the channel, whose transmitter `wrap` may replace.
    void open(ProgressLine& line, const XmtrWrapper& wrap = {});
    /// Configures and calibrates. May be called again.
    void calibrate(ProgressLine& line);
    /// Properties of the channel for the calibrations that follow, in place of the run's own of these names and of what an
    /// earlier call set; after open(). Throws Failure (OutputUnwritable).
    void overrideProperties(const std::vector<SetProperty>& others);
    /// The run's own.
    const std::vector<SetProperty>& userProperties() const { return ownProperties; }

    /// Tests an output of the command's own, after checkInputs() and before prepare(); throws Failure.
    void testOutput(const std::filesystem::path& file);

    /// The failure of a step, or a full disk if that is the cause.
    toolkit::Failure explained(const toolkit::Failure& failure) const;

    /// Writes what was checked of the run beside the files of the calibration, and names the file in the result. Nothing
    /// before a calibration. Throws Failure (OutputUnwritable).
    void writeChecks();

    Receiver& receiver() { return *channel; }
    /// Path and first part of the name of the receiver's files.
    const std::filesystem::path& fileStem() const { return stem; }
    const std::filesystem::path& runFolder() const { return folder->path(); }
    /// Files to remove once the receiver is destroyed.
    RemovedAtEnd& leftovers() { return removed; }

private:
    void requireSettings() const;
    void requirePlay();
    void takeNames();
    void requireInput(const std::filesystem::path& file, const char* what);
    void placeRun();
    void writeSettings();
    void writeProperties();
    void load();
    void withServer(const std::function<void()>& work);
    bool hasOutput() const;
    void collect();
    std::filesystem::path checksFile() const;
    void requireOwnSettings();

    const SessionOptions& options;
    SessionResult& result;
    std::optional<Scenario> scenario;
    toolkit::MadeFolders made;
    toolkit::CommandFiles files;
    std::vector<std::filesystem::path> inputs;
    std::optional<RunFolder> folder;
    bool prepared = false; ///< the files in the folder are of this run
    std::filesystem::path settingsFile;
    bool settingsMade = false; ///< there was no such file before
    std::optional<RunProperties> properties;
    std::vector<SetProperty> ownProperties; ///< of the run, as the user set them
    std::filesystem::path propertiesFile;
    bool propertiesMade = false;
    std::string givenSettings; ///< the settings file before the receiver read it, which overwrites what it cannot use
    bool configured = false;   ///< the receiver was asked to configure the channel, and writes files about it
    std::filesystem::path stem;
    std::filesystem::path logFile;
    std::uintmax_t logRead = 0; ///< how much of the log belongs to earlier calibrations
    std::size_t ownFiles = 0;   ///< files in the result that are there before any calibration
    RemovedAtEnd removed;       ///< after the receiver
    std::unique_ptr<Receiver> channel;
};

/// An absolute path in the system's own form.
std::filesystem::path absolutePath(const std::string& path);

} // namespace host
