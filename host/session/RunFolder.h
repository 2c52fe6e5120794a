#pragma once

#include "host/scenario/ScenarioFile.h"
#include "toolkit/FilePath.h"
#include "toolkit/MadeFolders.h"

#include <filesystem>
#include <string>

namespace host {

/// Everything that one run leaves behind lies in one folder: the channel settings that the receiver is given, and for
/// a run on the bench the bench's own folder and the receiver's, so that nothing of the user's profile is touched.
class RunFolder {
public:
    /// `wanted` may be empty: a new folder "orvtrace-<name>" in the current one, with "-2" and so on behind it when
    /// that is taken. A folder that holds an earlier run is refused (OutputExists) unless `force`; clear() removes that
    /// run. The folder is made, but none above it, and then remembered in `made`. Throws Failure.
    RunFolder(const std::string& wanted, const std::string& name, bool force, toolkit::MadeFolders& made);

    const std::filesystem::path& path() const { return folder; }
    std::filesystem::path benchFolder() const { return folder / "bench"; }
    std::filesystem::path settingsFile(const std::string& stem) const {
        return folder / toolkit::filePath(stem + ".xml");
    }

    /// Whether a file lies where clear() takes away everything.
    bool willClear(const std::filesystem::path& file) const;

    /// Sets the environment of a run on the bench, for this process and the ones that it starts.
    void enterBench(const Scenario& scenario, const std::string& play, const std::filesystem::path& programs) const;

    /// Why the data server of a run on the bench ended, in its own words; empty when it did not say.
    std::string lastWordsOfServer() const;

    /// Takes away what runs leave in it, but not the settings file.
    void clear() const;

private:
    std::filesystem::path folder; ///< absolute
};

} // namespace host
