#include "fuzz/Require.h"
#include "fuzz/Scratch.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"
#include "rcvr/framework/cZarnError.h"
#include "tdf/TdfFile.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace fuzz {

namespace {

using Vx::Qrs::Trace::OrvRcvr::TdfFile;
using Vx::Qrs::Trace::OrvRcvr::TdfSection;
using Sections = std::vector<TdfSection>;

constexpr const char* unusedName = "no such section";

/// The text of a failure; empty without one.
template <class Call>
std::string failureOf(Call call) {
    try {
        call();
    } catch (const Vx::Qrs::Zarn::cZarnError& error) {
        require(error.GetSeverity() == Vx::Qrs::Zarn::eSeverityError, "a failure has its severity");
        return error.GetErrorText();
    }
    return {};
}

bool operator==(const TdfSection& one, const TdfSection& other) {
    return one.name == other.name && one.version == other.version && one.offset == other.offset &&
           one.size == other.size && one.dataOffset == other.dataOffset && one.dataSize == other.dataSize;
}

bool same(const Sections& one, const Sections& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](const TdfSection& left, const TdfSection& right) { return left == right; });
}

void checkSizes(const Sections& sections, std::size_t fileSize) {
    std::size_t next = sections.empty() ? 0 : sections.front().offset;
    require(sections.empty() || next == 4 || next == 8, "sections follow the identifier");
    for (const TdfSection& section : sections) {
        require(section.offset == next, "sections are consecutive");
        require(section.size == 12 + section.name.size() + section.dataSize, "a section is header, name and data");
        require(section.dataOffset == section.offset + 12 + section.name.size(), "data follow the name");
        next += section.size;
        require(next <= fileSize, "sections are within the file");
    }
}

void checkContent(const std::string& path, const TdfSection& section, std::string_view text) {
    const std::string_view data = text.substr(section.dataOffset, section.dataSize);
    std::vector<char> buffer(section.dataSize + std::size_t{3});
    std::uint32_t loaded = 0;
    TdfFile::loadSectionPart(path.c_str(), section, 1, buffer.data(), static_cast<std::uint32_t>(buffer.size()),
                             &loaded);
    const std::string_view rest = data.substr(std::min<std::size_t>(1, data.size()));
    require(std::string_view(buffer.data(), loaded) == rest, "a part is the file's bytes");
    if (section.name.find('\0') != std::string::npos) {
        return;
    }
    TdfSection found;
    TdfFile::findSection(path.c_str(), section.name.c_str(), &found);
    require(found.name == section.name && found.offset <= section.offset, "the first of a name is found");
    std::uint32_t size = 0;
    TdfFile::findSectionSize(path.c_str(), section.name.c_str(), &size);
    require(size == found.size, "sizes agree");
    buffer.resize(found.dataSize + std::size_t{1});
    TdfFile::loadSection(path.c_str(), section.name.c_str(), buffer.data(), static_cast<std::uint32_t>(buffer.size()),
                         &loaded);
    require(std::string_view(buffer.data(), loaded) == text.substr(found.dataOffset, found.dataSize),
            "a section is the file's bytes");
}

/// Adds a section with two chunks.
void checkAdding(const std::string& path, Sections sections, std::string_view text) {
    constexpr std::array<char, 16> records{'0', '1', '2', '3', '4', '5', '6', '7', '8'};
    std::uint32_t offset = 0;
    std::uint32_t size = 0;
    TdfFile::beginSection(path.c_str(), "BinTraceData", 1, &offset);
    require(offset == text.size(), "a section is added at the end");
    TdfFile::appendSectionData(path.c_str(), "BinTraceData", offset, records.data(), 8, 2, &size);
    TdfFile::appendSectionData(path.c_str(), "BinTraceData", offset, records.data(), 8, 1, &size);
    require(size == 24 + 3 * 8, "a section grows by its data");
    sections.push_back({"BinTraceData", 1, offset, size, offset + 24, 24});
    Sections now;
    TdfFile::listSections(path.c_str(), &now);
    require(same(now, sections), "other sections stay as they were");
    require(bytesOf(path).starts_with(text), "bytes before the section stay as they were");
}

} // namespace

void traceFile(Input input) {
    const std::string_view text = textOf(input);
    const std::string path = scratchFile("trace.tdf", text);
    Sections sections;
    const std::string failure = failureOf([&] { TdfFile::listSections(path.c_str(), &sections); });
    require(failure.empty() || failure == "Invalid TDF format.", failure.c_str());
    checkSizes(sections, text.size());
    for (const TdfSection& section : sections) {
        checkContent(path, section, text);
    }
    const bool named = std::any_of(sections.begin(), sections.end(),
                                   [](const TdfSection& section) { return section.name == unusedName; });
    std::uint32_t size = 0;
    const std::string missing = failureOf([&] { TdfFile::findSectionSize(path.c_str(), unusedName, &size); });
    require(named || missing == (failure.empty() ? "Section size cannot be located in the file." : failure),
            "a missing section is reported");
    if (failure.empty() && text.size() >= 4) {
        checkAdding(path, sections, text);
    }
}

} // namespace fuzz
