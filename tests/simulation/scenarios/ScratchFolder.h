#pragma once

#include <map>
#include <string>

namespace simulation {

/// An empty folder in memory, one for each process of the search. Its files are the simulation's own until the product
/// opens them.
class ScratchFolder {
public:
    ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    /// Removes the files.
    ~ScratchFolder();

    std::string path(const std::string& name) const { return folder + "/" + name; }
    void write(const std::string& name, const std::string& content) const;
    /// Empty for a missing file.
    std::string read(const std::string& name) const;
    /// Contents by name.
    std::map<std::string, std::string> files() const;

private:
    std::string folder;
};

} // namespace simulation
