#include "toolkit/OutputFiles.h"

#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"

#include <fstream>
#include <vector>

namespace toolkit {

namespace fs = std::filesystem;

namespace {

/// A file that exists as long as the object, unless it existed before.
class Probe {
public:
    explicit Probe(const fs::path& tested) : file(tested) {
        std::error_code failed;
        existed = fs::exists(file, failed);
        opened = std::ofstream(file, std::ios::binary | std::ios::app).is_open();
    }
    ~Probe() {
        std::error_code failed;
        if (opened && !existed) {
            fs::remove(file, failed);
        }
    }
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;

    bool isOpen() const { return opened; }

private:
    const fs::path file;
    bool existed = false;
    bool opened = false;
};

void requireFolder(const fs::path& file) {
    const fs::path folder = file.parent_path();
    std::error_code failed;
    if (folder.empty() || fs::is_directory(folder, failed)) {
        return;
    }
    if (fs::exists(folder, failed)) {
        throw Failure(ExitCode::OutputUnwritable,
                      file.string() + " cannot be written: " + folder.string() + " is a file, not a folder");
    }
    throw Failure(ExitCode::OutputUnwritable, file.string() + " cannot be written: the folder " + folder.string() +
                                                  " does not exist; make it or give another");
}

void requirePlace(const fs::path& file, bool force) {
    std::error_code failed;
    if (fs::is_directory(file, failed)) {
        throw Failure(ExitCode::OutputUnwritable, file.string() + " is a folder; give the name of a file");
    }
    const bool exists = fs::exists(file, failed);
    if (exists && !force) {
        throw Failure(ExitCode::OutputExists, file.string() + " exists already; choose another name or give --force");
    }
    if (exists && !fs::is_regular_file(file, failed)) {
        throw Failure(ExitCode::OutputUnwritable, file.string() + " is not a file");
    }
    requireFolder(file);
}

bool sameFile(const fs::path& one, const fs::path& other) {
    std::error_code failed;
    return fs::equivalent(one, other, failed);
}

/// The end of a chain of links, which may be missing.
fs::path resolveLinks(fs::path file) {
    constexpr int most = 40;
    std::error_code failed;
    for (int links = 0; links < most && fs::is_symlink(file, failed); ++links) {
        file = file.parent_path() / fs::read_symlink(file, failed);
    }
    return file;
}

/// An unused name in the file's folder.
fs::path partialName(const fs::path& file) {
    std::error_code failed;
    fs::path name;
    for (unsigned number = 1; name.empty() || fs::exists(fs::symlink_status(name, failed)); ++number) {
        name = file;
        fs::path last = file.stem();
        last += filePath(".part" + std::to_string(number));
        last += file.extension();
        name.replace_filename(last);
    }
    return name;
}

} // namespace

void CommandFiles::write(const fs::path& file, bool existing) {
    for (const fs::path& input : inputs) {
        if (sameFile(input, file)) {
            throw Failure(ExitCode::Usage, file.string() + " is read by this command; give another name");
        }
    }
    testOutputFile(file, existing);
    // While this file exists, an earlier output exists too if it is the same file.
    const Probe probe(file);
    for (const fs::path& output : outputs) {
        if (sameFile(output, file)) {
            throw Failure(ExitCode::Usage, output.string() + " and " + file.string() +
                                               " are two outputs in one file; give another name to one");
        }
    }
    outputs.push_back(file);
}

void testOutputFile(const fs::path& file, bool force) {
    requirePlace(file, force);
    const fs::path target = resolveLinks(file);
    if (!Probe(file).isOpen() || !Probe(partialName(target)).isOpen()) {
        throw Failure(ExitCode::OutputUnwritable, file.string() + " cannot be written; check folder and permissions");
    }
}

NewFile::NewFile(const fs::path& file) : named(file), target(resolveLinks(file)), grown(partialName(target)) {}

NewFile::~NewFile() {
    std::error_code failed;
    if (!placed) {
        fs::remove(grown, failed);
    }
}

void NewFile::putInPlace() {
    std::error_code failed;
    if (fs::exists(target, failed)) {
        fs::permissions(grown, fs::status(target, failed).permissions(), failed);
    }
    fs::rename(grown, target, failed);
    if (failed) {
        throw Failure(ExitCode::OutputUnwritable,
                      named.string() + " cannot be written: " + failed.message() + "; check folder and permissions");
    }
    placed = true;
}

void writeOutputFile(const fs::path& file, const std::function<void(std::ostream&)>& body) {
    NewFile made(file);
    {
        std::ofstream out(made.partial(), std::ios::binary | std::ios::trunc);
        body(out);
        out.close();
        if (!out) {
            throw Failure(ExitCode::OutputUnwritable, file.string() + " cannot be written; is the disk full?");
        }
    }
    made.putInPlace();
}

bool MadeFolders::make(const fs::path& folder) {
    std::error_code failed;
    if (fs::is_directory(folder, failed)) {
        return true;
    }
    if (fs::create_directory(folder, failed)) {
        made.push_back(folder);
    }
    return fs::is_directory(folder, failed);
}

void MadeFolders::removeEmpty() {
    std::error_code failed;
    for (; !made.empty(); made.pop_back()) {
        fs::remove(made.back(), failed); // does nothing to one that holds something
    }
}

bool diskIsFull(const fs::path& folder) {
    constexpr std::size_t needed = std::size_t{1} << 20;
    const fs::path file = partialName(folder / "orvtrace-test");
    std::ofstream out(file, std::ios::binary);
    const std::vector<char> bytes(needed);
    const bool opened = out.is_open();
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    std::error_code failed;
    fs::remove(file, failed);
    // A folder without write permission says nothing about its disk.
    return opened && !out;
}

} // namespace toolkit
