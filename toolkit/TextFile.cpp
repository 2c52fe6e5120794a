#include "toolkit/TextFile.h"

#include "toolkit/ExitCode.h"

#include <algorithm>
#include <fstream>

namespace toolkit {

namespace {

constexpr std::size_t blockBytes = std::size_t{1} << 16;

} // namespace

std::string readText(const std::filesystem::path& file, std::uintmax_t offset, std::size_t limit) {
    std::ifstream in(file, std::ios::binary);
    if (in && offset != 0) {
        in.seekg(static_cast<std::streamoff>(offset));
    }
    std::error_code failed;
    // A folder can be opened on some systems, and only reading it fails.
    if (std::filesystem::is_directory(file, failed)) {
        throw Failure(ExitCode::BadInput, "cannot read " + file.string() + ": it is a folder; give the name of a file");
    }
    std::string text;
    std::string block(blockBytes, '\0');
    bool readable = static_cast<bool>(in);
    while (in && text.size() < limit) {
        in.read(block.data(), static_cast<std::streamsize>(std::min(block.size(), limit - text.size())));
        text.append(block.data(), static_cast<std::size_t>(in.gcount()));
        readable = !in.bad();
    }
    if (!readable) {
        throw Failure(ExitCode::BadInput,
                      "cannot read " + file.string() +
                          (std::filesystem::exists(file, failed) ? "; check its permissions"
                                                                 : "; check the name and the folder"));
    }
    return text;
}

void requireReadable(const std::filesystem::path& file) {
    readText(file, 0, 0);
}

void damaged(const std::string& file, std::size_t line, const std::string& what) {
    throw Failure(ExitCode::BadInput, file + (line == 0 ? "" : ":" + std::to_string(line)) + ": " + what);
}

} // namespace toolkit
