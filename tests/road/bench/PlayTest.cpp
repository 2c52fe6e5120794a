#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <random>

// A recording holds what the target sends, unchanged and in order.

namespace {

void playAndFind(const std::string& scenario, const std::filesystem::path& file) {
    const RunSpace space;
    const Outcome run = space.record(scenario, {"--play", file.string(), "--raw", space.file("out.bin").string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    const std::string sent = readBytes(file);
    const std::string recorded = readBytes(space.file("out.bin"));
    ASSERT_FALSE(sent.empty());
    EXPECT_NE(recorded.find(sent), std::string::npos)
        << sent.size() << " bytes were sent, " << recorded.size() << " recorded";
}

std::string randomBytes(std::size_t size) {
    std::mt19937 source(20240229);
    std::string bytes;
    while (bytes.size() < size) {
        bytes += static_cast<char>(source() & 0xFF);
    }
    return bytes;
}

/// Trace in frames of 16 bytes, the last one for flags: short messages with a counter, and after every 64 frames an idle
/// interval, of zeros and ones in turn.
std::string formattedTrace(std::size_t frames) {
    constexpr std::size_t payload = 15;
    constexpr std::size_t idleEvery = 64;
    constexpr std::size_t idleFrames = 8;
    constexpr unsigned sourceByte = 0xCF; // says whose bytes follow
    std::string bytes;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const std::size_t phase = frame % (idleEvery + idleFrames);
        if (phase >= idleEvery) {
            bytes.append(payload + 1, phase % 2 == 0 ? '\0' : '\xFF');
            continue;
        }
        bytes += static_cast<char>(sourceByte);
        for (std::size_t at = 1; at < payload; ++at) {
            bytes += static_cast<char>(at % 4 == 0 ? frame >> 8 : (frame + at * at) & 0xFF);
        }
        bytes += static_cast<char>(frame & 1);
    }
    return bytes;
}

TEST(Play, AFormattedTraceWithIdleIntervalsComesBackUnchanged) {
    const RunSpace space;
    playAndFind("tpiu", space.write("trace.bin", formattedTrace(2048)));
}

TEST(Play, RandomBytesComeBackUnchanged) {
    const RunSpace space;
    playAndFind("tpiu", space.write("random.bin", randomBytes(200000)));
}

TEST(Play, AFileWithoutAScenarioIsWrongUsage) {
    const RunSpace space;
    const Outcome run = space.run({"record", "--play", "x.bin", "--cpu", "x"});
    EXPECT_EQ(run.code, 2);
}

} // namespace
