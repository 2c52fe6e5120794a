#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <vector>

// Outputs are tested before anything starts: a capture must not be lost because its file cannot be written. A file that
// exists is replaced by a complete file or not at all.

namespace toolkit {

/// The files of one command. A file is recognised by any of its names, links and other spellings included.
class CommandFiles {
public:
    /// Without `force` no output may exist.
    explicit CommandFiles(bool overwrites) : force(overwrites) {}

    /// The command reads this file, which may be missing. Called before write().
    void read(const std::filesystem::path& file) { inputs.push_back(file); }

    /// Tests an output with testOutputFile(). Throws Failure (Usage), also with `force`, when the command reads this
    /// file or has it as an output already.
    void write(const std::filesystem::path& file) { write(file, force); }
    /// The same for one that the command overwrites also without `force`.
    void overwrite(const std::filesystem::path& file) { write(file, mayExist); }

private:
    static constexpr bool mayExist = true;
    void write(const std::filesystem::path& file, bool existing);

    bool force;
    std::vector<std::filesystem::path> inputs;
    std::vector<std::filesystem::path> outputs;
};

/// Throws Failure: OutputExists when the file is there and `force` is not set, OutputUnwritable when it could not be
/// written, its folder is not there, or it is none. Leaves the file as it was.
void testOutputFile(const std::filesystem::path& file, bool force);

/// A file that is written under another name in the same folder, and replaces the file of its own name when it is
/// complete. Until then, and if it is abandoned, that one stays unchanged.
class NewFile {
public:
    explicit NewFile(const std::filesystem::path& file);
    /// Abandoned, unless it was put in its place.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Where to write. No such file exists yet; its name has the ending of the file's own.
    const std::filesystem::path& partial() const { return grown; }
    /// Complete. Throws Failure (OutputUnwritable).
    void putInPlace();

private:
    std::filesystem::path named;  ///< as the user wrote it
    std::filesystem::path target; ///< links resolved
    std::filesystem::path grown;
    bool placed = false;
};

/// Writes a file as a NewFile. Throws Failure (OutputUnwritable), also when the disk becomes full.
void writeOutputFile(const std::filesystem::path& file, const std::function<void(std::ostream&)>& body);

/// The folders that were made for a run, to remove them again if it has no result.
class MadeFolders {
public:
    /// Makes a folder, but none above it. False if it cannot be made.
    bool make(const std::filesystem::path& folder);
    /// Removes those that are empty, the innermost first.
    void removeEmpty();

private:
    std::vector<std::filesystem::path> made; ///< outer ones first
};

/// Whether the disk of a folder has less space than the files of a calibration need.
bool diskIsFull(const std::filesystem::path& folder);

} // namespace toolkit
