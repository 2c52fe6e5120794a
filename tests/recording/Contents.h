#pragma once

#include "bench/signal/Content.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace recording_test {

/// What a target puts on the wire: a content, with a synchronisation sequence in front of every `syncEvery` words of it,
/// or with none when that is 0.
struct Sent {
    bench::ContentPointer content;
    unsigned syncEvery = 64;
};

/// Words of a file that is played, between 64 idle words and idle words for ever after.
bench::ContentPointer played(const std::string& bytes);
/// What the target sends when no file is played.
bench::ContentPointer generated();

/// The bench's word on one recording: which words of the stream it took, and which blocks of 16 KiB of them it kept.
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

/// Of the last recording that has ended; nothing when there was none.
std::optional<Contents> lastContents(const std::string& benchFolder);

/// The file that has to come of it, byte for byte.
std::string expectedFile(const Contents& contents, const Sent& sent);

/// Says where two files differ, empty when they do not. `file` may end early when `prefix` is set.
std::string difference(const std::string& file, const std::string& expected, bool prefix = false);

} // namespace recording_test
