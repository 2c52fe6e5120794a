#include "host/basics/OutputFiles.h"

#include <fstream>

#include "host/basics/ExitCode.h"

namespace host {

void testOutputFile(const std::filesystem::path& file, bool force) {
    MadeFolders made;
    testOutputFile(file, force, made);
}

void testOutputFile(const std::filesystem::path& file, bool force, MadeFolders& made) {
    std::error_code failed;
    const bool existed = std::filesystem::exists(file, failed);
    if (existed && !force)
        throw Failure(ExitCode::OutputExists, file.string() + " exists already; choose another name or give --force");
    if (existed && !std::filesystem::is_regular_file(file, failed))
        throw Failure(ExitCode::OutputUnwritable, file.string() + " is not a file");
    if (file.has_parent_path())
        made.make(file.parent_path());
    const bool opened = std::ofstream(file, std::ios::binary | std::ios::app).is_open();
    if (!opened)
        throw Failure(ExitCode::OutputUnwritable, file.string() + " cannot be written; check folder and permissions");
    if (!existed)
        std::filesystem::remove(file, failed);
}

void writeOutputFile(const std::filesystem::path& file, const std::function<void(std::ostream&)>& body) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    body(out);
    out.close();
    if (!out)
        throw Failure(ExitCode::OutputUnwritable, file.string() + " cannot be written; is the disk full?");
}

} // namespace host
