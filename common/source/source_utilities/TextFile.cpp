#include "common/source/source_utilities/TextFile.h"

#include "common/source/source_utilities/NativeFile.h"
#include "common/source/source_utilities/OutputFile.h"

#include <array>
#include <cstdio>
#include <memory>
#include <utility>

namespace VX_QRS::textFile {

namespace {

struct Closer {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using InputFile = std::unique_ptr<std::FILE, Closer>;

InputFile opened(const std::string& path, const char* mode) {
    return InputFile(std::fopen(path.c_str(), mode));
}

// False when a failure ended the text.
bool readToEnd(std::FILE* file, std::string& text) {
    text.clear();
    std::array<char, 65536> block;
    std::size_t count = 0;
    do {
        count = std::fread(block.data(), 1, block.size(), file);
        text.append(block.data(), count);
    } while (count == block.size());
    return std::ferror(file) == 0;
}

// Creates a file under the first free name; no file when the folder accepts none.
OutputFile createBeside(const std::string& path, std::string& name) {
    constexpr int mostNames = 100; // of running writers, and of those that were killed
    for (int i = 0; i < mostNames; ++i) {
        name = path + ".new" + (i == 0 ? std::string() : std::to_string(i));
        std::FILE* file = nullptr;
        switch (nativeFile::create(name, file)) {
        case nativeFile::Outcome::done:
            return OutputFile(file);
        case nativeFile::Outcome::taken:
            break;
        case nativeFile::Outcome::refused:
            return {};
        }
    }
    return {};
}

bool writeAndClose(OutputFile file, std::string_view text) {
    file.write(text);
    return file.close();
}

Written writeInPlace(const std::string& path, std::string_view text) {
    OutputFile file(path, OutputFile::Mode::text);
    if (!file.isOpen()) {
        return Written::notOpened;
    }
    return writeAndClose(std::move(file), text) ? Written::done : Written::notWritten;
}

} // namespace

bool read(const std::string& path, std::string& text, Mode mode) {
    const InputFile file = opened(path, mode == Mode::text ? "r" : "rb");
    if (!file) {
        return false;
    }
    const bool whole = readToEnd(file.get(), text);
    // Some systems open a directory and fail at the first read.
    return whole || !text.empty();
}

bool readWhole(const std::string& path, std::string& bytes) {
    const InputFile file = opened(path, "rb");
    return file && readToEnd(file.get(), bytes);
}

Written replace(const std::string& path, std::string_view text) {
    const std::string target = nativeFile::follow(path);
    const nativeFile::Kind kind = nativeFile::kindOf(target);
    if (kind == nativeFile::Kind::other) {
        return writeInPlace(target, text);
    }
    // Write-protected files are not replaced, even in a folder that accepts new files.
    if (kind == nativeFile::Kind::regular && !nativeFile::isWritable(target)) {
        return Written::notOpened;
    }
    std::string name;
    OutputFile file = createBeside(target, name);
    if (!file.isOpen()) {
        return Written::notOpened;
    }
    if (writeAndClose(std::move(file), text) && nativeFile::replace(name, target)) {
        return Written::done;
    }
    nativeFile::remove(name);
    return Written::notWritten;
}

std::string openFailure(const std::string& path, const char* purpose) {
    return "failed to open \"" + path + "\" for " + purpose;
}

bool takeLine(std::string_view& text, std::string_view ends, std::string_view::size_type limit,
              std::string_view& line) {
    if (text.empty()) {
        return false;
    }
    const std::string_view head = text.substr(0, limit);
    const std::string_view::size_type end = head.find_first_of(ends);
    if (end == std::string_view::npos) {
        line = head;
        text.remove_prefix(head.size());
    } else {
        line = head.substr(0, end);
        text.remove_prefix(end + 1);
    }
    return true;
}

} // namespace VX_QRS::textFile
