#pragma once

#include "host/scenario/ScenarioFile.h"
#include "toolkit/FilePath.h"
#include "toolkit/OutputFiles.h"

#include <filesystem>
#include <string>

namespace host {

/// The folder with all files of one run: the channel settings and, for a run on the bench, the bench's own folder and the
/// receiver's, so that nothing in the user's profile changes.
class RunFolder {
public:
    /// `wanted` may be empty: a new folder "orvtrace-<name>" in the current one, with "-2" and so on at its end if that
    /// exists. A folder that holds an earlier run is refused (OutputExists) unless `force`; clear() removes that
    /// run. The folder is made, but none above it, and then remembered in `made`. Throws Failure.
    RunFolder(const std::string& wanted, const std::string& name, bool force, toolkit::MadeFolders& made);

    const std::filesystem::path& path() const { return folder; }
    std::filesystem::path benchFolder() const { return folder / "bench"; }
    std::filesystem::path settingsFile(const std::string& stem) const {
        return folder / toolkit::filePath(stem + ".xml");
    }

    std::filesystem::path propertiesFile(const std::string& stem) const {
        return folder / toolkit::filePath(stem + ".properties");
    }

    /// Whether clear() removes this file.
    bool willClear(const std::filesystem::path& file) const;

    /// Sets the environment of a run on the bench, for this process and the ones that it starts.
    void enterBench(const Scenario& scenario, const std::string& play, const std::filesystem::path& programs) const;

    /// Why the data server of a run on the bench ended, in its own words; empty when it did not say.
    std::string lastWordsOfServer() const;

    /// Removes the files of earlier runs, except the settings file.
    void clear() const;

private:
    std::filesystem::path folder; ///< absolute
};

} // namespace host
