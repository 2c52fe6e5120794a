#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// Trace data files at the command line.

namespace {

using testing::HasSubstr;

std::string bytesOf(std::size_t count) {
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i) {
        bytes += static_cast<char>((i * 7 + i / 256) & 0xFF);
    }
    return bytes;
}

TEST(Tdf, WhatIsCreatedIsListedAndExtractedAgain) {
    const RunSpace space;
    const std::string bytes = bytesOf(200001);
    const std::string data = space.write("data.bin", bytes).string();
    const std::string file = space.file("a.tdf").string();
    const Outcome made = space.run({"tdf", "create", file, "--data", data});
    ASSERT_EQ(made.code, 0) << made.errors;
    EXPECT_THAT(made.output, HasSubstr("200001 bytes"));
    EXPECT_EQ(readBytes(file).size(), 8 + 24 + bytes.size());

    const Outcome list = space.run({"tdf", "list", "--json", file});
    ASSERT_EQ(list.code, 0) << list.errors;
    ASSERT_EQ(list.json.at("sections").size(), 1U);
    const auto& section = list.json.at("sections").front();
    EXPECT_EQ(section.at("name"), "BinTraceData");
    EXPECT_EQ(section.at("version"), 1);
    EXPECT_EQ(section.at("offset"), 8);
    EXPECT_EQ(section.at("dataSize"), bytes.size());
    EXPECT_EQ(list.json.at("error"), nullptr);
    EXPECT_THAT(space.run({"tdf", "list", file}).output, HasSubstr("BinTraceData"));

    const Outcome out = space.run({"tdf", "extract", file, space.file("out.bin").string()});
    ASSERT_EQ(out.code, 0) << out.errors;
    EXPECT_TRUE(readBytes(space.file("out.bin")) == bytes);
}

TEST(Tdf, AnEmptyFileHasNoSections) {
    const RunSpace space;
    const std::string file = space.file("a.TDF").string();
    ASSERT_EQ(space.run({"tdf", "create", file}).code, 0);
    EXPECT_EQ(readBytes(file), std::string("TDF\x1A\x01\0\0\0", 8));
    const Outcome list = space.run({"tdf", "list", "--json", file});
    EXPECT_EQ(list.code, 0) << list.errors;
    EXPECT_TRUE(list.json.at("sections").empty());
    const Outcome out = space.run({"tdf", "extract", file, space.file("out.bin").string()});
    EXPECT_EQ(out.code, 3);
    EXPECT_THAT(out.errors, HasSubstr("BinTraceData section cannot be located in the file. orvtrace tdf list "));
    EXPECT_FALSE(std::filesystem::exists(space.file("out.bin")));
    EXPECT_EQ(space.run({"tdf", "extract", file, "x", "--number", "1"}).code, 3);
}

TEST(Tdf, ASectionHasTheNameAndVersionThatItIsGiven) {
    const RunSpace space;
    const std::string data = space.write("data.bin", "12345").string();
    const std::string file = space.file("a.tdf").string();
    ASSERT_EQ(space.run({"tdf", "create", file, "--data", data, "--section", "Notes", "--version", "7"}).code, 0);
    const Outcome list = space.run({"tdf", "list", "--json", file});
    EXPECT_EQ(list.json.at("sections").at(0).at("name"), "Notes");
    EXPECT_EQ(list.json.at("sections").at(0).at("version"), 7);
    const std::string out = space.file("out").string();
    EXPECT_EQ(space.run({"tdf", "extract", file, out}).code, 3);
    EXPECT_EQ(space.run({"tdf", "extract", file, out, "--section", "Notes"}).code, 0);
    EXPECT_EQ(readBytes(out), "12345");
}

TEST(Tdf, OutputsAreNotOverwrittenUnasked) {
    const RunSpace space;
    const std::string file = space.write("a.tdf", "kept").string();
    EXPECT_EQ(space.run({"tdf", "create", file}).code, 8);
    EXPECT_EQ(readBytes(file), "kept");
    const std::string data = space.write("data.bin", "12345").string();
    EXPECT_EQ(space.run({"tdf", "create", file, "--data", data, "--force"}).code, 0);
    const std::string out = space.write("out", "kept").string();
    const Outcome refused = space.run({"tdf", "extract", file, out});
    EXPECT_EQ(refused.code, 8);
    EXPECT_THAT(refused.errors, HasSubstr("--force"));
    EXPECT_EQ(readBytes(out), "kept");
    EXPECT_EQ(space.run({"tdf", "extract", file, out, "--force"}).code, 0);
    EXPECT_EQ(readBytes(out), "12345");
    EXPECT_EQ(space.run({"tdf", "extract", file, (space.file("out") / "x").string()}).code, 9);
}

TEST(Tdf, AMissingFileIsOneLineAndCodeThree) {
    const RunSpace space;
    const std::string none = space.file("none.tdf").string();
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"tdf", "list", none},
          {"tdf", "extract", none, space.file("out").string()},
          {"tdf", "create", space.file("a.tdf").string(), "--data", none}}) {
        const Outcome run = space.run(arguments);
        EXPECT_EQ(run.code, 3) << run.errors;
        EXPECT_EQ(lines(run.errors), 1U) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr(none));
        EXPECT_EQ(run.output, "");
    }
    EXPECT_FALSE(std::filesystem::exists(space.file("a.tdf")));
}

TEST(Tdf, OfADamagedFileTheSoundSectionsAreTold) {
    const RunSpace space;
    const std::string file = space.file("a.tdf").string();
    const std::string data = space.write("data.bin", bytesOf(100)).string();
    ASSERT_EQ(space.run({"tdf", "create", file, "--data", data}).code, 0);
    const std::string sound = readBytes(file);
    const auto cut = space.write("cut.tdf", sound + sound.substr(8, 40));
    const Outcome run = space.run({"tdf", "list", cut.string()});
    EXPECT_EQ(run.code, 3);
    EXPECT_THAT(run.output, HasSubstr("BinTraceData"));
    EXPECT_EQ(lines(run.errors), 1U) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("Invalid TDF format. Its first section can be read"));
    const Outcome json = space.run({"tdf", "list", "--json", cut.string()});
    EXPECT_EQ(json.code, 3);
    EXPECT_TRUE(json.json.at("error").is_object());
    EXPECT_EQ(json.json.at("sections").size(), 1U);
    EXPECT_EQ(space.run({"tdf", "extract", cut.string(), space.file("out").string(), "--number", "1"}).code, 0);
    EXPECT_EQ(space.run({"tdf", "extract", cut.string(), space.file("out2").string(), "--number", "2"}).code, 3);

    const auto noise = space.write("noise.tdf", bytesOf(1000));
    const Outcome none = space.run({"tdf", "list", noise.string()});
    EXPECT_EQ(none.code, 3);
    EXPECT_EQ(lines(none.errors), 1U) << none.errors;
    EXPECT_EQ(none.output, "");
}

} // namespace
