#include "tdf/TdfFile.h"

#include "tdf/TdfIdentifier.h"
#include "tdf/TdfStream.h"

#include <string_view>

// Creates trace data files and adds to them.

namespace Vx::Qrs::Trace::OrvRcvr {

using namespace TdfStream;

namespace {

// No section begins below this offset: no identifier is shorter.
constexpr std::uint32_t smallestIdentifier = 4;
constexpr const char* badNameToSave = "File name passed to save file is not valid.";
constexpr const char* sizeNotWritten = "Write error - size of TDF header.";

bool fits(std::uint64_t end, std::string_view sectionName, std::uint64_t dataBytes) {
    return end + headerSize + sectionName.size() + dataBytes <= largestPosition;
}

// A file that can be updated can also be read, so a file is opened twice only when it cannot be updated: there are
// thousands of chunks. Null for a file that can only be read.
File openForUpdate(const char* fileName) {
    File file(fileName != nullptr && *fileName != '\0' ? open(fileName, "r+b") : nullptr);
    require(file != nullptr || isReadable(fileName), badNameToSave);
    // Unbuffered, since the writes are a few words and large blocks: a buffer would copy the blocks, and read a page at
    // each seek.
    if (file != nullptr) {
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
    }
    return file;
}

// The size field is at the section's start. Flushed at once, so that a full disk is reported here: closing the file
// cannot report it.
void putSectionSize(std::FILE* file, std::uint32_t offset, std::uint32_t size) {
    require(seek(file, offset) && putWord(file, size) && std::fflush(file) == 0, sizeNotWritten);
}

} // namespace

void TdfFile::createFile(const char* fileName) {
    require(fileName != nullptr && *fileName != '\0', "Null file name to create TDF.");
    require(hasExtension(fileName), "TDF file extension must be .tdf.");
    const File file = open(fileName, "wb");
    require(file != nullptr, "Could not create TDF file as specified.");
    require(std::fwrite(tdfIdentifier.data(), 1, tdfIdentifier.size(), file.get()) == tdfIdentifier.size() &&
                std::fflush(file.get()) == 0,
            "Write error -  TDF file identifier.");
}

bool TdfFile::hasSpace(const char* fileName, const char* sectionName, std::uint64_t dataBytes) {
    const File file(open(fileName, "rb"));
    std::uint64_t end = 0;
    return file == nullptr || !length(file.get(), end) || fits(end, nameOf(sectionName), dataBytes);
}

void TdfFile::beginSection(const char* fileName, const char* sectionName, std::uint32_t version,
                           std::uint32_t* offset) {
    *offset = 0;
    const File file = openForUpdate(fileName);
    require(file != nullptr, notOpened);

    std::uint64_t end = 0;
    const std::string_view name = nameOf(sectionName);
    require(length(file.get(), end), notOpened);
    require(fits(end, name, 0), tooLong);
    *offset = static_cast<std::uint32_t>(end);

    require(putWord(file.get(), 0) && std::fflush(file.get()) == 0, "Write error -  TDF section header size.");
    require(putWord(file.get(), version) && putWord(file.get(), static_cast<std::uint32_t>(name.size())) &&
                std::fwrite(name.data(), 1, name.size(), file.get()) == name.size() && std::fflush(file.get()) == 0,
            "Write error -  TDF section name and version.");
    putSectionSize(file.get(), *offset, headerSize + static_cast<std::uint32_t>(name.size()));
}

void TdfFile::appendSectionData(const char* fileName, const char* /*sectionName*/, std::uint32_t offset,
                                const void* data, std::uint32_t elementSize, std::uint32_t count, std::uint32_t* size) {
    *size = 0;
    const File file = openForUpdate(fileName);
    require(offset >= smallestIdentifier, "Section header offset to save data is not valid.");
    require(data != nullptr, "No data to write TDF.");
    require(file != nullptr, notOpened);

    std::uint32_t oldSize = 0;
    require(seek(file.get(), offset) && getWord(file.get(), oldSize),
            "Write I/O error - unable to determine section length.");
    const std::uint64_t place = std::uint64_t{offset} + oldSize;
    const std::uint64_t end = place + std::uint64_t{elementSize} * count;
    require(end <= largestPosition, tooLong);
    require(seek(file.get(), place) &&
                std::fwrite(data, elementSize, count, file.get()) == (elementSize != 0 ? count : 0) &&
                std::fflush(file.get()) == 0,
            "Write I/O error - unable to write section data.");
    require(std::ferror(file.get()) == 0, "Write error - section data corrupted.");
    // Every byte is written, so the end is known without a query.
    *size = static_cast<std::uint32_t>(end - offset);
    putSectionSize(file.get(), offset, *size);
}

} // namespace Vx::Qrs::Trace::OrvRcvr
