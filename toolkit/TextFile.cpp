#include "toolkit/TextFile.h"

#include "toolkit/ExitCode.h"

#include <fstream>
#include <iterator>
#include <sstream>

namespace toolkit {

void requireReadable(const std::filesystem::path& file) {
    std::error_code failed;
    // A folder can be opened on some systems, and only reading it fails.
    if (std::filesystem::is_directory(file, failed)) {
        throw Failure(ExitCode::BadInput, "cannot read " + file.string() + ": it is a folder; give the name of a file");
    }
    if (!std::ifstream(file, std::ios::binary)) {
        throw Failure(ExitCode::BadInput, "cannot read " + file.string() + "; check the name and the folder");
    }
}

std::string readText(const std::filesystem::path& file, std::uintmax_t offset) {
    requireReadable(file);
    std::ifstream in(file, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(offset));
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines = split(text, '\n');
    for (std::string& line : lines) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
    }
    return lines;
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

std::string joined(const std::vector<std::string>& parts, const char* separator) {
    std::string all;
    for (const std::string& part : parts) {
        all.append(&part == &parts.front() ? "" : separator).append(part);
    }
    return all;
}

} // namespace toolkit
