#pragma once

#include <filesystem>
#include <vector>

namespace toolkit {

/// The folders that were made for a run, so that they can be taken away again when nothing came of it.
class MadeFolders {
public:
    /// Makes a folder, but none above it. False when that cannot be done.
    bool make(const std::filesystem::path& folder);
    /// Takes away those made here that hold nothing, the innermost first.
    void removeEmpty();

private:
    std::vector<std::filesystem::path> made; ///< each before what lies in it
};

} // namespace toolkit
