#pragma once

#include "rcvr/framework/cZarnError.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

// Shared by the operations on trace data files: the open file, words, positions of 64 bits, and failures.

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

/// Unwinding closes the file before the caller catches the exception.
inline void require(bool holds, const char* text) {
    if (!holds) {
        throw Zarn::cZarnError(text, Zarn::eSeverityError);
    }
}

/// A null name means the empty one.
inline std::string_view nameOf(const char* sectionName) {
    return sectionName != nullptr ? sectionName : "";
}

File open(const char* fileName, const char* mode);

/// Whether the file can be read now.
bool isReadable(const char* fileName);

/// Whether the name ends in ".tdf", in letters of either case.
bool hasExtension(const char* fileName);

bool putWord(std::FILE* file, std::uint32_t value);
bool getWord(std::FILE* file, std::uint32_t& value);
bool seek(std::FILE* file, std::uint64_t position);
/// False when the system does not report it.
bool position(std::FILE* file, std::uint64_t& value);
/// Seeks to the end and returns its position.
bool length(std::FILE* file, std::uint64_t& value);

} // namespace Vx::Qrs::Trace::OrvRcvr::TdfStream
