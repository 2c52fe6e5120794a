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

TEST(Play, ARealTraceComesBackUnchanged) {
    playAndFind("tpiu", std::filesystem::path(ORV_TEST_DATA) / "stm" / "trace.bin");
}

#ifdef ORV_PACKET_LISTER
/// What the lister prints of a snapshot, without the lines about the snapshot itself.
std::string listed(const RunSpace& space, const std::filesystem::path& snapshot, const std::string& name) {
    const std::string file = space.file(name).string();
    const Outcome run = space.run({"-ss_dir", snapshot.string(), "-logfilename", file}, ORV_PACKET_LISTER);
    EXPECT_EQ(run.code, 0) << run.output;
    const std::string text = readBytes(file);
    const std::size_t first = text.find("Trace Packet Lister : Protocol printer");
    const std::size_t end = text.find("Trace Packet Lister : Trace buffer done"); // with the number of bytes
    return first == std::string::npos || end == std::string::npos ? std::string() : text.substr(first, end - first);
}
#endif

TEST(Play, ARealTraceLeavesAsPayloadAndAsASnapshotThatIsListedAlike) {
    const RunSpace space;
    const std::filesystem::path source = std::filesystem::path(ORV_TEST_DATA) / "stm";
    const std::string raw = space.file("out.bin").string();
    const Outcome run = space.record("tpiu", {"--play", (source / "trace.bin").string(), "--raw", raw});
    ASSERT_EQ(run.code, 0) << run.errors;
    const Outcome check = space.run({"check", raw, "--run", space.file("run").string(), "--json", "--payload",
                                     space.file("payload").string(), "--snapshot", space.file("snapshot").string()});
    ASSERT_EQ(check.code, 0) << check.errors;
    EXPECT_EQ(check.json.at("exportKind"), "tpiu");
    EXPECT_EQ(check.json.at("frames").at("sources").at(0).at("id"), 0x20);
    const std::string sent = readBytes(source / "trace.bin");
    EXPECT_NE(readBytes(space.file("payload")).find(sent), std::string::npos);
    // Its last frame is silence.
    const std::string frames = readBytes(space.file("snapshot") / "trace.bin");
    EXPECT_EQ(frames, sent.substr(0, frames.size()));
    EXPECT_GE(frames.size() + 16, sent.size());
#ifdef ORV_PACKET_LISTER
    const std::string asSent = listed(space, source, "sent.ppl");
    EXPECT_GT(lines(asSent), 6000U);
    EXPECT_TRUE(listed(space, space.file("snapshot"), "received.ppl") == asSent);
#endif
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
