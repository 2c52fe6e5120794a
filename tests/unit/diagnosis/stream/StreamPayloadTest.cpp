#include "diagnosis/stream/StreamPayload.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

// The payload of a stream, as decoders take it.

namespace {

using diagnosis::FrameFigures;
using diagnosis::StreamMode;

diagnosis::ByteReader readerOf(std::string bytes) {
    return [bytes = std::move(bytes), at = std::size_t{0}](std::span<std::uint8_t> out) mutable {
        const std::size_t count = std::min(out.size(), bytes.size() - at);
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), count, out.begin());
        at += count;
        return count;
    };
}

/// A frame that names a source and carries what follows it.
std::string frameOf(unsigned source, char fill) {
    std::string frame(16, fill);
    frame[0] = static_cast<char>(source << 1 | 1U);
    return frame;
}

struct Written {
    FrameFigures figures;
    std::string bytes;
};
Written framesOf(const std::string& stream, std::optional<std::uint64_t> start = std::nullopt) {
    std::ostringstream out;
    Written written;
    written.figures = diagnosis::writeFrames(readerOf(stream), start, out);
    written.bytes = out.str();
    return written;
}

const std::string full("\xFF\xFF\xFF\x7F", 4);
const std::string half("\xFF\x7F", 2);

TEST(StreamPayload, PacketsLoseTheirTrailersAndThoseOfTheOtherKindAreLeftOut) {
    const auto packet = [](char fill, const char* trailer) { return std::string(510, fill) + std::string(trailer, 2); };
    std::ostringstream out;
    const std::string stream = packet('a', "\xFF\x08") + packet('b', "\xFF\x10") + packet('c', "\xFF\x08");
    EXPECT_EQ(diagnosis::writePayload(readerOf(stream), StreamMode::Pti, out), 1020U);
    EXPECT_EQ(out.str(), std::string(510, 'a') + std::string(510, 'c'));
}

TEST(StreamPayload, AStreamWithoutPacketsIsCopied) {
    std::string stream;
    for (int i = 0; i < 100000; ++i) {
        stream += static_cast<char>(i * 7 % 251);
    }
    std::ostringstream out;
    EXPECT_EQ(diagnosis::writePayload(readerOf(stream), StreamMode::Tpiu, out), stream.size());
    EXPECT_EQ(out.str(), stream);
}

TEST(StreamFrames, SynchronisationIsRemovedAndShowsWhereFramesBegin) {
    const std::string one = frameOf(0x20, 2);
    const std::string two = frameOf(0x21, 4);
    const std::string three = frameOf(0x20, 6);
    const Written written = framesOf(std::string("\x02\x04\x06\x08", 4) + one + full + two.substr(0, 6) + half +
                                     two.substr(6) + full + three);
    EXPECT_TRUE(written.figures.synchronised);
    EXPECT_EQ(written.figures.firstByte, 4U);
    EXPECT_EQ(written.bytes, one + two + three);
    ASSERT_EQ(written.figures.sources.size(), 2U);
    EXPECT_EQ(written.figures.sources[0].id, 0x20U);
    EXPECT_EQ(written.figures.sources[0].count, 2U);
    EXPECT_EQ(written.figures.sources[1].id, 0x21U);
}

TEST(StreamFrames, AFrameThatLostWordsIsLeftOut) {
    const std::string one = frameOf(0x20, 2);
    const Written written = framesOf(full + one + full + one.substr(0, 10) + full + one);
    EXPECT_EQ(written.bytes, one + one);
}

TEST(StreamFrames, WithoutSynchronisationTheFirstWordThatIsNotSilenceBeginsOne) {
    const std::string one = frameOf(0x20, 2);
    const Written written = framesOf(std::string(10, '\0') + one + std::string(16, '\0') + one + std::string(64, '\0'));
    EXPECT_FALSE(written.figures.synchronised);
    EXPECT_EQ(written.figures.firstByte, 10U);
    EXPECT_EQ(written.bytes, one + std::string(16, '\0') + one) << "without silence at both ends";
}

TEST(StreamFrames, AGivenStartWins) {
    const std::string one = frameOf(0x20, 2);
    const Written written = framesOf(std::string(6, 'x') + one, 6);
    EXPECT_EQ(written.figures.firstByte, 6U);
    EXPECT_EQ(written.bytes, one);
}

TEST(StreamFrames, ASnapshotNamesEverySource) {
    FrameFigures figures;
    figures.sources = {{0x20, 5}, {0x11, 1}};
    std::string all;
    for (const diagnosis::SnapshotFile& file : diagnosis::snapshotFiles(figures)) {
        all += "<" + file.name + ">\n" + file.text;
    }
    EXPECT_THAT(all, testing::HasSubstr("device0=device_0.ini\ndevice1=device_1.ini\n"));
    EXPECT_THAT(all, testing::HasSubstr("STMTCSR(0x3A0)=0x00200007"));
    EXPECT_THAT(all, testing::HasSubstr("STMTCSR(0x3A0)=0x00110007"));
    EXPECT_THAT(all, testing::HasSubstr("file=trace.bin\nformat=coresight\n"));
}

} // namespace
