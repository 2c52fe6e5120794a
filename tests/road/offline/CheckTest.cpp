#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <fstream>

// The check of a recorded stream at the command line.

namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr std::size_t packets = 64;

/// "pti" packets with the ramp of four data pins, a sequence every 71 words.
std::string ramp() {
    constexpr unsigned words[] = {0x0123, 0x4567, 0x89AB, 0xCDEF};
    std::string bytes;
    std::size_t content = 0;
    const auto put = [&](unsigned word) {
        bytes += static_cast<char>(word & 0xFF);
        bytes += static_cast<char>(word >> 8);
    };
    for (std::size_t i = 0; i < packets * 255; ++i) {
        const std::size_t inside = i % 71;
        put(inside < 5 ? 0 : inside == 5 ? 0x0FF0U : inside == 6 ? 0x2D1EU : words[content++ % 4]);
        if (i % 255 == 254) {
            put(0x08FF);
        }
    }
    return bytes;
}

TEST(Check, ASoundStreamIsCodeZero) {
    const RunSpace space;
    const std::string file = space.write("ramp.bin", ramp()).string();
    const Outcome run = space.run({"check", file, "--mode", "pti", "--width", "4", "--pattern", "ramp", "--json"});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("verdict"), "sound");
    EXPECT_EQ(run.json.at("words"), packets * 255);
    EXPECT_EQ(run.json.at("damageCount"), 0);
    const Outcome text = space.run({"check", file});
    EXPECT_EQ(text.code, 0);
    EXPECT_THAT(text.output, HasSubstr("pti (recognised), number of data pins not known"));
    EXPECT_THAT(text.output, HasSubstr("\nsound: "));
    EXPECT_LE(lines(text.output), 12U);
    EXPECT_THAT(text.output, HasSubstr("\nverdict: unknown: only the recorded stream was judged, and is sound; "));
}

TEST(Check, ADamagedStreamIsCodeTenAndThePlaceIsNamed) {
    const RunSpace space;
    std::string bytes = ramp();
    bytes.erase(512 * 10 + 40, 60);
    const std::string file = space.write("cut.bin", bytes).string();
    const Outcome run = space.run({"check", file, "--mode", "pti", "--width", "4", "--clock", "50000000", "--json"});
    EXPECT_EQ(run.code, 10) << run.errors;
    EXPECT_EQ(run.json.at("outcome"), "faults-found");
    EXPECT_EQ(run.json.at("error"), nullptr);
    EXPECT_EQ(run.json.at("firstDamage").at("kind"), "cut-packet");
    EXPECT_EQ(run.json.at("firstDamage").at("place").at("byte"), 5120);
    EXPECT_GT(run.json.at("firstDamage").at("place").at("seconds"), 0.0);
    EXPECT_THAT(space.run({"check", file}).output, HasSubstr("damaged from sample 640 (byte 5120, "));
}

TEST(Check, WhatCannotBeJudgedIsUnknownAndCodeZero) {
    const RunSpace space;
    const std::string file = space.write("any.bin", std::string(4096, 'x')).string();
    const Outcome run = space.run({"check", file});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("unknown: the kind of export is not known; give --mode pti, tpiu or tpiulite"));
    EXPECT_EQ(space.run({"check", file, "--json"}).json.at("verdict"), "unknown");
}

TEST(Check, ASectionOfATraceDataFileIsAStream) {
    const RunSpace space;
    const std::string bytes = ramp();
    const std::string data = space.write("ramp.bin", bytes).string();
    const std::string file = space.file("ramp.tdf").string();
    ASSERT_EQ(space.run({"tdf", "create", file, "--data", data}).code, 0);
    const Outcome run = space.run({"check", file, "--json", "--payload", space.file("payload").string()});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("verdict"), "sound");
    EXPECT_EQ(run.json.at("bytes"), bytes.size());
    std::string payload;
    for (std::size_t i = 0; i < packets; ++i) {
        payload += bytes.substr(512 * i, 510);
    }
    EXPECT_TRUE(readBytes(space.file("payload")) == payload);
    const Outcome missing = space.run({"check", file, "--number", "2"});
    EXPECT_EQ(missing.code, 3);
    EXPECT_THAT(missing.errors, HasSubstr("there is no section 2; it has 1 section"));
}

TEST(Check, OutputsNeedToKnowTheKindOfExport) {
    const RunSpace space;
    const std::string any = space.write("any.bin", std::string(4096, 'x')).string();
    const Outcome unknown = space.run({"check", any, "--payload", space.file("out").string()});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_THAT(unknown.errors, HasSubstr("give --mode pti, tpiu or tpiulite"));
    const std::string pti = space.write("ramp.bin", ramp()).string();
    const Outcome noFrames = space.run({"check", pti, "--snapshot", space.file("folder").string()});
    EXPECT_EQ(noFrames.code, 3);
    EXPECT_THAT(noFrames.errors, HasSubstr("a pti export has no frames"));
    EXPECT_FALSE(fs::exists(space.file("folder")));
    EXPECT_FALSE(fs::exists(space.file("out")));
    EXPECT_EQ(space.run({"check", pti, "--mode", "pti", "--pattern", "ramp"}).code, 2) << "the width is not known";
}

TEST(Check, AnotherFileOfARunIsNoDamagedRecording) {
    const RunSpace space;
    for (const char* name : {"clean.xml", "clean.freq1.cal.TXT", "clean.report.html"}) {
        const Outcome run = space.run({"check", space.write(name, ramp()).string()});
        EXPECT_EQ(run.code, 3) << name;
        EXPECT_THAT(run.errors, HasSubstr(" is no recording: its name ends in ."));
    }
}

TEST(Check, ASnapshotIsNotWrittenOverAnother) {
    const RunSpace space;
    const fs::path source = fs::path(ORV_TEST_DATA) / "stm" / "trace.bin";
    const std::string folder = space.file("snapshot").string();
    const std::vector<std::string> arguments{"check", source.string(), "--mode", "tpiu", "--snapshot", folder};
    const Outcome run = space.run(arguments);
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("trace sources 0x20: "));
    for (const char* name : {"snapshot.ini", "trace.ini", "device_0.ini", "trace.bin"}) {
        EXPECT_TRUE(fs::exists(space.file("snapshot") / name)) << name;
    }
    EXPECT_EQ(space.run(arguments).code, 8);
    std::vector<std::string> forced = arguments;
    forced.emplace_back("--force");
    EXPECT_EQ(space.run(forced).code, 0);
}

} // namespace
