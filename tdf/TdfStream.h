#pragma once

#include "rcvr/framework/cZarnError.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

// What the operations on trace data files share: the open file, words, positions of 64 bits, and the way to fail.

namespace Vx::Qrs::Trace::OrvRcvr::TdfStream {

constexpr std::uint32_t wordSize = 4;
/// Of a section, without its name.
constexpr std::uint32_t headerSize = 12;
/// Sizes and offsets of the format have 32 bits.
constexpr std::uint32_t largestPosition = 0xFFFFFFFF;

constexpr const char* notOpened = "Could not open TDF file as specified.";

struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

/// The exception leaves the frames that hold the file, and so closes it, before a caller sees it.
inline void require(bool holds, const char* text) {
    if (!holds) {
        throw Zarn::cZarnError(text, Zarn::eSeverityError);
    }
}

/// A null name is the empty one.
inline std::string_view nameOf(const char* sectionName) {
    return sectionName != nullptr ? sectionName : "";
}

File open(const char* fileName, const char* mode);

/// Whether the name names a file that can be read at this moment.
bool isReadable(const char* fileName);

/// Whether the name ends in ".tdf", in letters of either case.
bool hasExtension(const char* fileName);

bool putWord(std::FILE* file, std::uint32_t value);
bool getWord(std::FILE* file, std::uint32_t& value);
bool seek(std::FILE* file, std::uint64_t position);
/// False when the system cannot tell.
bool position(std::FILE* file, std::uint64_t& value);
/// Goes to the end and tells it.
bool length(std::FILE* file, std::uint64_t& value);

} // namespace Vx::Qrs::Trace::OrvRcvr::TdfStream
