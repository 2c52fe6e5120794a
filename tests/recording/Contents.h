#pragma once

#include "bench/signal/Content.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace recording_test {

/// What a full buffer overwrites at a time, in bytes.
inline constexpr std::uint32_t block = 16384;

/// The words that a target sends: a content, with a synchronisation sequence before every `syncEvery` words of it, or
/// with none when that is 0.
struct Sent {
    bench::ContentPointer content;
    unsigned syncEvery = 64;
};

/// Words of a played file, after 64 idle words and followed by endless idle words.
bench::ContentPointer played(const std::string& bytes);
/// The words that the target sends when no file is played.
bench::ContentPointer generated();

/// What the bench reports of a recording: its words of the stream, and which blocks of 16 KiB of them were kept.
struct Contents {
    struct Run {
        std::uint64_t firstWord = 0;
        std::uint64_t words = 0;
    };
    bool packets = true;
    std::uint64_t blocksOverwritten = 0;
    std::uint64_t blocks = 0;
    std::vector<Run> runs;
};

/// Of the last finished recording; empty when there was none.
std::optional<Contents> lastContents(const std::string& benchFolder);

/// The expected file, byte for byte.
std::string expectedFile(const Contents& contents, const Sent& sent);

/// Describes where two files differ; empty when they are equal. With `Prefix` the file may be shorter.
enum class Compare { Whole, Prefix };
std::string difference(const std::string& file, const std::string& expected, Compare length = Compare::Whole);

} // namespace recording_test
