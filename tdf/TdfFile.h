#pragma once

#include <cstddef>
#include <cstdint>

// Trace data files: a file identifier of at least 4 bytes, and behind it sections, one after another. A section is its
// size in bytes (this field included), its version, the length of its name, each 32 bits little-endian, then the name
// without a terminator, then its data to the section's size.

namespace Vx::Qrs::Trace::OrvRcvr {

/// Adds sections to trace data files that somebody else made. Each operation opens and closes the file itself, and
/// nothing is kept between them. Failures are Zarn::cZarnError with severity 2, thrown after the file was closed; the
/// file stays as the last completed step left it.
class TdfFile {
public:
    /// Adds an empty section at the end of the file; its offset comes back in `*offset`. A null or empty section name
    /// is written as a name of no bytes.
    static void beginSection(const char* fileName, const char* sectionName, std::uint32_t version,
                             std::uint32_t* offset);

    /// Adds `count` elements of `elementSize` bytes to the section that begins at `offset`, which has to be the last of
    /// the file; the section's new size comes back in `*size`. The section's name is not looked at.
    static void appendSectionData(const char* fileName, const char* sectionName, std::uint32_t offset, const void* data,
                                  std::uint32_t elementSize, std::uint32_t count, std::uint32_t* size);
};

} // namespace Vx::Qrs::Trace::OrvRcvr
