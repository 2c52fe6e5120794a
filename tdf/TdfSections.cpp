#include "tdf/TdfFile.h"
#include "tdf/TdfIdentifier.h"
#include "tdf/TdfStream.h"

#include <algorithm>
#include <optional>
#include <string_view>

// Finds and loads sections. The file may contain anything; each size in it is checked against the file's length before
// use.

namespace Vx::Qrs::Trace::OrvRcvr {

using namespace TdfStream;

namespace {

constexpr std::uint32_t foreignIdentifierSize = 4;
constexpr const char* badNameToLoad = "File name passed to load is not valid.";
constexpr const char* badFormat = "Invalid TDF format.";
constexpr const char* badData = "Read I/O error - section data corrupted.";

// Iterates over the sections.
class Walk {
public:
    explicit Walk(const char* fileName) : file(open(fileName, "rb")) {
        require(file != nullptr, notOpened);
        require(length(file.get(), end) && end <= largestPosition, badFormat);
        next = identifierSize();
        require(next <= end, badFormat);
    }

    std::FILE* stream() const { return file.get(); }

    /// The next section, or nothing at the end of the file; throws where no section can be.
    std::optional<TdfSection> step() {
        if (next == end) {
            return std::nullopt;
        }
        TdfSection section;
        std::uint32_t nameSize = 0;
        require(seek(file.get(), next) && getWord(file.get(), section.size) && getWord(file.get(), section.version) &&
                    getWord(file.get(), nameSize),
                badFormat);
        require(section.size >= headerSize && section.size <= end - next && nameSize <= section.size - headerSize,
                badFormat);
        section.name.resize(nameSize);
        require(std::fread(section.name.data(), 1, nameSize, file.get()) == nameSize, badFormat);
        section.offset = static_cast<std::uint32_t>(next);
        section.dataOffset = section.offset + headerSize + nameSize;
        section.dataSize = section.size - headerSize - nameSize;
        next += section.size;
        return section;
    }

    std::optional<TdfSection> find(std::string_view name) {
        std::optional<TdfSection> section = step();
        while (section && section->name != name) {
            section = step();
        }
        return section;
    }

private:
    std::uint64_t identifierSize() const {
        std::array<unsigned char, tdfIdentifier.size()> bytes{};
        const bool known = seek(file.get(), 0) &&
                           std::fread(bytes.data(), 1, bytes.size(), file.get()) == bytes.size() &&
                           bytes == tdfIdentifier;
        return known ? tdfIdentifier.size() : foreignIdentifierSize;
    }

    File file;
    std::uint64_t end = 0;
    std::uint64_t next = 0;
};

void checkFileName(const char* fileName) {
    require(isReadable(fileName), badNameToLoad);
    require(hasExtension(fileName), "TDF file extension must be .tdf.");
}

TdfSection locate(Walk& walk, const char* sectionName) {
    const std::string_view name = nameOf(sectionName);
    std::optional<TdfSection> section = walk.find(name);
    require(section.has_value(), (std::string(name) + " section cannot be located in the file.").c_str());
    return *std::move(section);
}

void loadPart(std::FILE* file, const TdfSection& section, std::uint32_t start, void* buffer, std::uint32_t capacity,
              std::uint32_t& loaded) {
    const std::uint32_t count = start < section.dataSize ? std::min(capacity, section.dataSize - start) : 0;
    require(seek(file, std::uint64_t{section.dataOffset} + start) && std::fread(buffer, 1, count, file) == count,
            badData);
    loaded = count;
}

} // namespace

void TdfFile::listSections(const char* fileName, std::vector<TdfSection>* sections) {
    sections->clear();
    checkFileName(fileName);
    Walk walk(fileName);
    while (std::optional<TdfSection> section = walk.step()) {
        sections->push_back(*std::move(section));
    }
}

void TdfFile::findSection(const char* fileName, const char* sectionName, TdfSection* section) {
    *section = TdfSection();
    checkFileName(fileName);
    Walk walk(fileName);
    *section = locate(walk, sectionName);
}

void TdfFile::findSectionSize(const char* fileName, const char* sectionName, std::uint32_t* size) {
    *size = 0;
    require(isReadable(fileName), "File name passed to load file is not valid.");
    Walk walk(fileName);
    const std::optional<TdfSection> section = walk.find(nameOf(sectionName));
    require(section.has_value(), "Section size cannot be located in the file.");
    *size = section->size;
}

void TdfFile::loadSection(const char* fileName, const char* sectionName, void* buffer, std::uint32_t capacity,
                          std::uint32_t* loaded) {
    *loaded = 0;
    checkFileName(fileName);
    require(buffer != nullptr, "No buffer allocated to load section data.");
    Walk walk(fileName);
    const TdfSection section = locate(walk, sectionName);
    loadPart(walk.stream(), section, 0, buffer, capacity, *loaded);
}

void TdfFile::loadSectionPart(const char* fileName, const TdfSection& section, std::uint32_t start, void* buffer,
                              std::uint32_t capacity, std::uint32_t* loaded) {
    *loaded = 0;
    checkFileName(fileName);
    require(buffer != nullptr, "No buffer allocated to load section data.");
    const File file = open(fileName, "rb");
    require(file != nullptr, notOpened);
    loadPart(file.get(), section, start, buffer, capacity, *loaded);
}

} // namespace Vx::Qrs::Trace::OrvRcvr
