#include "tdf/TdfFile.h"

#include "rcvr/framework/cZarnError.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>

namespace Vx::Qrs::Trace::OrvRcvr {

namespace {

constexpr std::uint32_t identifierSize = 4;
constexpr const char* badFileName = "File name passed to save file is not valid.";
constexpr const char* notOpened = "Could not open TDF file as specified.";
constexpr const char* sizeNotWritten = "Write error - size of TDF header.";

struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

// The exception leaves the frames that hold the file, and so closes it, before a caller sees it.
void require(bool holds, const char* text) {
    if (!holds)
        throw Zarn::cZarnError(text, Zarn::eSeverityError);
}

File openForUpdate(const char* fileName) {
    File file(std::fopen(fileName, "r+b"));
    require(file != nullptr, notOpened);
    return file;
}

void checkFileName(const char* fileName) {
    require(fileName != nullptr && *fileName != '\0', badFileName);
    require(File(std::fopen(fileName, "r")) != nullptr, badFileName);
}

bool putWord(std::FILE* file, std::uint32_t value) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        if (std::fputc(static_cast<int>(value >> shift & 0xFFU), file) == EOF)
            return false;
    }
    return true;
}

bool getWord(std::FILE* file, std::uint32_t& value) {
    value = 0;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        const int byte = std::fgetc(file);
        if (byte == EOF)
            return false;
        value |= static_cast<std::uint32_t>(byte) << shift;
    }
    return true;
}

bool seek(std::FILE* file, std::int64_t position) {
    return fseeko(file, position, SEEK_SET) == 0;
}

// The size field stands at the section's start; sizes and offsets of this format have 32 bits. Flushed at once, so that
// a full disk shows here and not at the closing, where nobody could be told.
void putSectionSize(std::FILE* file, std::uint32_t offset, std::uint32_t& size) {
    const std::int64_t end = ftello(file);
    const std::int64_t length = end - std::int64_t{offset};
    require(end >= 0 && length >= 0 && length <= std::numeric_limits<std::uint32_t>::max(), sizeNotWritten);
    size = static_cast<std::uint32_t>(length);
    require(seek(file, offset) && putWord(file, size) && std::fflush(file) == 0, sizeNotWritten);
}

} // namespace

void TdfFile::beginSection(const char* fileName, const char* sectionName, std::uint32_t version,
                           std::uint32_t* offset) {
    *offset = 0;
    checkFileName(fileName);
    const File file = openForUpdate(fileName);

    const bool atEnd = fseeko(file.get(), 0, SEEK_END) == 0;
    const std::int64_t length = ftello(file.get());
    // What lies beyond could not be told to the caller.
    require(atEnd && length >= 0 && length <= std::numeric_limits<std::uint32_t>::max(), notOpened);
    *offset = static_cast<std::uint32_t>(length);

    require(putWord(file.get(), 0) && std::fflush(file.get()) == 0, "Write error -  TDF section header size.");
    const std::string_view name = sectionName != nullptr ? sectionName : "";
    require(putWord(file.get(), version) && putWord(file.get(), static_cast<std::uint32_t>(name.size())) &&
                std::fwrite(name.data(), 1, name.size(), file.get()) == name.size() && std::fflush(file.get()) == 0,
            "Write error -  TDF section name and version.");
    std::uint32_t size = 0;
    putSectionSize(file.get(), *offset, size);
}

void TdfFile::appendSectionData(const char* fileName, const char* /*sectionName*/, std::uint32_t offset,
                                const void* data, std::uint32_t elementSize, std::uint32_t count, std::uint32_t* size) {
    *size = 0;
    checkFileName(fileName);
    require(offset >= identifierSize, "Section header offset to save data is not valid.");
    require(data != nullptr, "No data to write TDF.");
    const File file = openForUpdate(fileName);

    std::uint32_t oldSize = 0;
    require(seek(file.get(), offset) && getWord(file.get(), oldSize),
            "Write I/O error - unable to determine section length.");
    require(seek(file.get(), std::int64_t{offset} + std::int64_t{oldSize}) &&
                std::fwrite(data, elementSize, count, file.get()) == (elementSize != 0 ? count : 0) &&
                std::fflush(file.get()) == 0,
            "Write I/O error - unable to write section data.");
    require(std::ferror(file.get()) == 0, "Write error - section data corrupted.");
    putSectionSize(file.get(), offset, *size);
}

} // namespace Vx::Qrs::Trace::OrvRcvr
