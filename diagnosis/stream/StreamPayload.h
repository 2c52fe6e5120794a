#pragma once

#include "diagnosis/stream/StreamCheck.h"

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

// A stream's payload in the forms that decoders take.

namespace diagnosis {

/// Writes the bytes that the target sent: for "pti" without trailers and packets of the other kind, otherwise all.
/// Returns how many.
std::uint64_t writePayload(const ByteReader& read, StreamMode mode, std::ostream& out);

/// A trace source that frames name.
struct TraceSource {
    unsigned id = 0;
    std::uint64_t count = 0; ///< how often
};

/// Frames of 16 bytes, as a formatter makes them, without synchronisation and without silence at both ends.
struct FrameFigures {
    std::uint64_t frames = 0;
    bool synchronised = false;        ///< a full synchronisation shows where frames begin
    std::uint64_t firstByte = 0;      ///< of the stream: where the first frame begins
    std::vector<TraceSource> sources; ///< the most frequent first
};

/// `start`: byte of the stream at which a frame begins; nothing: after the first full synchronisation, or, without any, at
/// the first word that is not 0.
FrameFigures writeFrames(const ByteReader& read, std::optional<std::uint64_t> start, std::ostream& out);

/// The name of a snapshot's binary file.
inline constexpr const char* snapshotFrames = "trace.bin";

/// The text files of a snapshot for trc_pkt_lister: name and content. Each source is taken for an STM.
struct SnapshotFile {
    std::string name, text;
};
std::vector<SnapshotFile> snapshotFiles(const FrameFigures& frames);

} // namespace diagnosis
