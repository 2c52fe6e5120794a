#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Trace data files: a file identifier of at least 4 bytes, followed by sections. A section is its size in bytes (this
// field included), its version, the length of its name, each 32 bits little-endian, then the name without a terminator,
// then its data to the section's size.

namespace Vx::Qrs::Trace::OrvRcvr {

/// One section of a trace data file.
struct TdfSection {
    std::string name; ///< may contain any bytes
    std::uint32_t version = 0;
    std::uint32_t offset = 0;     ///< of the section's first byte, from the start of the file
    std::uint32_t size = 0;       ///< of the whole section with its header
    std::uint32_t dataOffset = 0; ///< of the section's data, from the start of the file
    std::uint32_t dataSize = 0;   ///< bytes of data
};

/// Operations on trace data files. Each opens and closes the file itself and keeps no state, so they may be called from
/// any thread; concurrent writes of one file are not guarded. Failures are Zarn::cZarnError with severity 2, thrown
/// after the file was closed. Out values are 0 or empty unless the operation succeeds, unless noted. Names of files are
/// in the system's own encoding; out pointers must not be null.
class TdfFile {
public:
    // Writing: TdfFile.cpp. After a failure the file is as the last completed step left it. Sizes and offsets of the
    // format have 32 bits: a write past 4 GiB is refused in advance, with the text below.

    static constexpr const char* tooLong = "TDF file would be longer than 4 GiB.";

    /// Whether a section of that name with that much data can be added to the file. Also true where the file's length
    /// cannot be read: its fault is reported by beginSection.
    static bool hasSpace(const char* fileName, const char* sectionName, std::uint64_t dataBytes);

    /// Adds an empty section at the end of an existing file. Sets its offset in `*offset` once the file's length is
    /// known, even if the header then cannot be written. A null or empty section name is written as a name of no bytes.
    static void beginSection(const char* fileName, const char* sectionName, std::uint32_t version,
                             std::uint32_t* offset);

    /// Adds `count` elements of `elementSize` bytes to the section that begins at `offset`, which has to be the last of
    /// the file; sets the section's new size in `*size`, even if the size field cannot be written. The section's name
    /// is ignored.
    static void appendSectionData(const char* fileName, const char* sectionName, std::uint32_t offset, const void* data,
                                  std::uint32_t elementSize, std::uint32_t count, std::uint32_t* size);

    /// Creates a file with only the identifier (8 bytes: "TDF", 0x1A, and a format number of 1), or replaces an
    /// existing one. The name has to end in ".tdf", in letters of either case, here and when loading.
    static void createFile(const char* fileName);

    // Reading: TdfSections.cpp. Files of any content are safe to read: a file that violates the format fails as
    // "Invalid TDF format.". A file with an identifier other than the one above is assumed to have one of 4 bytes.

    /// All sections in their order. When the file is damaged, `*sections` has the sections before the damage; an
    /// interrupted save may leave such an end.
    static void listSections(const char* fileName, std::vector<TdfSection>* sections);

    /// The first section of that name; a null name means the empty one. Damage after it is not noticed.
    static void findSection(const char* fileName, const char* sectionName, TdfSection* section);

    /// Size in bytes, header included, of the first section of that name. The file may have any extension.
    static void findSectionSize(const char* fileName, const char* sectionName, std::uint32_t* size);

    /// Copies the data of the first section of that name to `buffer`, at most `capacity` bytes. Their number is
    /// `*loaded`; the whole amount is TdfSection::dataSize.
    static void loadSection(const char* fileName, const char* sectionName, void* buffer, std::uint32_t capacity,
                            std::uint32_t* loaded);

    /// Copies a part of a section's data, from byte `start` of the data on, to `buffer`. The section is a result of
    /// listSections or findSection for this file; so sections of the same name can be distinguished, and large ones
    /// read in pieces. `*loaded` is less than `capacity` at the end of the data, and 0 past it.
    static void loadSectionPart(const char* fileName, const TdfSection& section, std::uint32_t start, void* buffer,
                                std::uint32_t capacity, std::uint32_t* loaded);
};

} // namespace Vx::Qrs::Trace::OrvRcvr
