#include "diagnosis/stream/StreamPayload.h"

#include "diagnosis/stream/ExpectedStream.h"
#include "diagnosis/stream/WordWindow.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <ostream>

namespace diagnosis {

namespace {

constexpr unsigned firstReservedSource = 0x70;
constexpr std::size_t searchedWords = std::size_t{1} << 18;

using Frame = std::array<std::uint16_t, frameWords>;

void putWords(std::ostream& out, std::span<const std::uint16_t> words) {
    std::array<char, 2 * stride> bytes{};
    for (std::size_t i = 0; i < words.size(); ++i) {
        bytes[2 * i] = static_cast<char>(words[i] & 0xFF);
        bytes[2 * i + 1] = static_cast<char>(words[i] >> 8);
    }
    out.write(bytes.data(), static_cast<std::streamsize>(2 * words.size()));
}

/// Puts frames together from words, and counts the sources that they name.
class FrameWriter {
public:
    FrameWriter(std::ostream& stream, FrameFigures& result) : out(stream), figures(result) {}

    void take(std::uint16_t word) {
        frame[filled++] = word;
        if (filled == frameWords) {
            filled = 0;
            finish();
        }
    }
    /// What was collected is no whole frame: words are lost.
    void restart() { filled = 0; }

    void countSources() {
        for (unsigned id = 1; id < firstReservedSource; ++id) {
            if (counts[id] != 0) {
                figures.sources.push_back({id, counts[id]});
            }
        }
        std::stable_sort(figures.sources.begin(), figures.sources.end(),
                         [](const TraceSource& one, const TraceSource& other) { return one.count > other.count; });
    }

private:
    void finish() {
        if (std::all_of(frame.begin(), frame.end(), [](std::uint16_t word) { return word == 0; })) {
            ++silent;
            return;
        }
        for (silent = figures.frames == 0 ? 0 : silent; silent != 0; --silent) {
            putWords(out, Frame{});
            ++figures.frames;
        }
        putWords(out, frame);
        ++figures.frames;
        for (const std::uint16_t word : frame) {
            counts[(word & 0xFF) >> 1] += word & 1U; // the low byte of a pair names a source if its lowest bit is set
        }
    }

    std::ostream& out;
    FrameFigures& figures;
    Frame frame{};
    std::size_t filled = 0;
    std::uint64_t silent = 0; ///< frames of zeros that may be the last ones
    std::array<std::uint64_t, 128> counts{};
};

/// Words before the first frame.
std::uint64_t firstFrame(std::span<const std::uint16_t> words, FrameFigures& figures) {
    std::uint64_t counted = 0;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        if (words[i] == frameStart && words[i + 1] == halfSynchronisation) {
            figures.synchronised = true;
            // Whole frames may precede it.
            std::uint64_t before = counted % frameWords;
            std::uint64_t at = 0;
            for (; before != 0; ++at) {
                before -= words[at] == halfSynchronisation ? 0U : 1U;
            }
            return at;
        }
        counted += words[i] == halfSynchronisation ? 0U : 1U;
    }
    const auto first = std::find_if(words.begin(), words.end(), [](std::uint16_t word) { return word != 0; });
    return first == words.end() ? 0 : static_cast<std::uint64_t>(first - words.begin());
}

} // namespace

std::uint64_t writePayload(const ByteReader& read, StreamMode mode, std::ostream& out) {
    WordWindow window(read, mode == StreamMode::Pti);
    std::uint64_t position = 0;
    for (;;) {
        const std::span<const std::uint16_t> words = window.from(position, stride);
        if (words.empty()) {
            return 2 * position;
        }
        putWords(out, words);
        position += words.size();
        window.forget(position);
    }
}

FrameFigures writeFrames(const ByteReader& read, std::optional<std::uint64_t> start, std::ostream& out) {
    FrameFigures figures;
    WordWindow window(read, false);
    const std::uint64_t found = firstFrame(window.from(0, searchedWords), figures);
    std::uint64_t position = start ? *start / 2 : found;
    figures.firstByte = 2 * position;
    FrameWriter writer(out, figures);
    std::uint16_t last = 0;
    for (;;) {
        const std::span<const std::uint16_t> words = window.from(position, stride);
        if (words.empty()) {
            break;
        }
        for (const std::uint16_t word : words) {
            // Where nothing synchronises, these words are data like others.
            if (figures.synchronised && word == halfSynchronisation) {
                if (last == frameStart) {
                    writer.restart();
                }
            } else if (!figures.synchronised || word != frameStart) {
                writer.take(word);
            }
            last = word;
        }
        position += words.size();
        window.forget(position);
    }
    writer.countSources();
    return figures;
}

std::vector<SnapshotFile> snapshotFiles(const FrameFigures& frames) {
    std::string devices = "[device_list]\n";
    std::string buffers;
    std::vector<SnapshotFile> files;
    for (std::size_t i = 0; i < frames.sources.size(); ++i) {
        const unsigned id = frames.sources[i].id;
        const std::string name = fmt::format("STM_{}", i);
        const std::string file = fmt::format("device_{}.ini", i);
        devices += fmt::format("device{}={}\n", i, file);
        buffers += name + "=ETB_0\n";
        // The control register holds the source's number in bits 22 to 16.
        files.push_back({file, fmt::format("[device]\nname={}\nclass=trace_source\ntype=STM\n\n"
                                           "[regs]\nSTMTCSR(0x3A0)=0x{:08X}\n",
                                           name, id << 16 | 7U)});
    }
    files.push_back({"snapshot.ini", "[snapshot]\nversion=1.0\n\n" + devices + "\n[trace]\nmetadata=trace.ini\n"});
    files.push_back({"trace.ini", fmt::format("[trace_buffers]\nbuffers=buffer0\n\n[buffer0]\nname=ETB_0\nfile={}\n"
                                              "format=coresight\n\n[source_buffers]\n{}\n[core_trace_sources]\n",
                                              snapshotFrames, buffers)});
    return files;
}

} // namespace diagnosis
