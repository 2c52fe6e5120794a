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
