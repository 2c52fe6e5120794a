#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <vector>

// Outputs are tested before anything starts: a capture must not be lost because its file cannot be written. What is
// there already is replaced by a complete file or not at all.

namespace toolkit {

/// The files of one command. Whatever name leads to a file, a link or another spelling included, it is known again.
class CommandFiles {
public:
    /// Without `force` no output may be there already.
    explicit CommandFiles(bool overwrites) : force(overwrites) {}

    /// The command reads this file; one that is not there does no harm. To be told before the outputs.
    void read(const std::filesystem::path& file) { inputs.push_back(file); }

    /// Tests an output as testOutputFile() does. Throws Failure (Usage), also with `force`, when the command reads this
    /// file or has it as an output already.
    void write(const std::filesystem::path& file) { write(file, force); }
    /// The same for one that the command overwrites without being asked.
    void overwrite(const std::filesystem::path& file) { write(file, true); }

private:
    void write(const std::filesystem::path& file, bool mayExist);

    bool force;
    std::vector<std::filesystem::path> inputs;
    std::vector<std::filesystem::path> outputs;
};

/// Throws Failure: OutputExists when the file is there and `force` is not set, OutputUnwritable when it could not be
/// written, its folder is not there, or it is none. Leaves the file as it was.
void testOutputFile(const std::filesystem::path& file, bool force);

/// A file that grows under another name in the same folder, and takes the place of the file of its own name when it is
/// complete. Until then, and when it is given up, that one stays as it is.
class NewFile {
public:
    explicit NewFile(const std::filesystem::path& file);
    /// Given up, unless it was put in its place.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Where to write. Nothing is there yet; its name ends as the file's own does.
    const std::filesystem::path& partial() const { return grown; }
    /// Complete. Throws Failure (OutputUnwritable).
    void putInPlace();

private:
    std::filesystem::path named;  ///< as the user wrote it
    std::filesystem::path target; ///< behind all links
    std::filesystem::path grown;
    bool placed = false;
};

/// Writes a file anew, as a NewFile. Throws Failure (OutputUnwritable), also when the disk becomes full.
void writeOutputFile(const std::filesystem::path& file, const std::function<void(std::ostream&)>& body);

/// Whether the disk of a folder has no room for as much as the files of a calibration need.
bool diskIsFull(const std::filesystem::path& folder);

} // namespace toolkit
