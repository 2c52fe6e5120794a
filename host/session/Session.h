#pragma once

#include "host/scenario/ChannelSettingsFile.h"
#include "host/session/Progress.h"
#include "host/session/Receiver.h"
#include "host/session/RunFolder.h"
#include "host/session/SessionResult.h"
#include "toolkit/OutputFiles.h"

#include <filesystem>
#include <optional>
#include <string>

namespace host {

/// What the command line says about the receiver and its channel.
struct SessionOptions {
    std::string scenario;            ///< name or file; empty: the real siblings and server
    std::string settings;            ///< channel settings file; empty: written from the scenario
    std::string cpu;                 ///< empty: the scenario's
    std::string play;                ///< what the simulated target sends
    std::string out;                 ///< folder of the run
    std::string library = "OrvRcvr"; ///< name or path of the receiver
    std::string pins;                ///< as pinChoiceOf() takes it; empty: as the settings say
    std::string buffer;              ///< size of the unit's buffer; empty: as the settings say
    std::optional<bool> stopOnFull;  ///< nothing: as the settings say
    bool force = false;              ///< an earlier run in `out` may be removed
    bool quiet = false;
};

/// One channel from the command line to a calibrated receiver, in this order: checkInputs(), prepare(), open(),
/// calibrate(). All throw Failure. What is found out goes into the result, also when a step fails.
///
/// A session that ends before the receiver left a log or was configured takes away again whatever it made: settings
/// file, the bench's folder, and folders that are empty then. After that everything stays.
class Session {
public:
    Session(const SessionOptions& given, SessionResult& filled);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Looks at every input, and finds the run's folder. Nothing that is there is touched.
    void checkInputs();
    /// Removes an earlier run from the folder, and puts the settings file into it. Nothing is started.
    void prepare();
    /// Loads the receiver, starts the data server and makes the channel.
    void open(ProgressLine& line);
    /// Configures and calibrates. May be called again.
    void calibrate(ProgressLine& line);

    /// Tests an output of the command's own, after checkInputs() and before prepare(); throws Failure.
    void testOutput(const std::filesystem::path& file);

    /// The failure of a step, or that the disk is full when that is what is behind it.
    toolkit::Failure explained(const toolkit::Failure& failure) const;

    Receiver& receiver() { return *channel; }
    /// Path and first part of the name of the receiver's files.
    const std::filesystem::path& fileStem() const { return stem; }
    const std::filesystem::path& runFolder() const { return folder->path(); }

private:
    void requireSettings() const;
    void requirePlay();
    void requireInput(const std::filesystem::path& file, const char* what);
    void placeRun();
    void writeSettings();
    void load();
    void withServer(const std::function<void()>& work);
    bool leftSomething() const;
    void collect();
    void requireOwnSettings();

    const SessionOptions& options;
    SessionResult& result;
    std::optional<Scenario> scenario;
    toolkit::MadeFolders made;
    toolkit::CommandFiles files;
    std::vector<std::filesystem::path> inputs;
    std::optional<RunFolder> folder;
    bool prepared = false; ///< what lies in the folder is of this run
    std::filesystem::path settingsFile;
    bool settingsMade = false; ///< there was no such file before
    std::string givenSettings; ///< the settings file before the receiver read it, which overwrites what it cannot use
    bool configured = false;   ///< the receiver was asked to configure the channel, and leaves files about it
    std::filesystem::path stem;
    std::filesystem::path logFile;
    std::uintmax_t logRead = 0; ///< how much of the log belongs to earlier calibrations
    std::size_t ownFiles = 0;   ///< files in the result that are there before any calibration
    std::unique_ptr<Receiver> channel;
};

/// An absolute path in the system's own form.
std::filesystem::path absolutePath(const std::string& path);

} // namespace host
