#include "tests/road/Orvtrace.h"
#include "tests/tree/Examples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <regex>
#include <set>
#include <sstream>

// The examples of the pages on formats, against the files of one run of orvtrace on the bench.

namespace tree {

namespace {

namespace fs = std::filesystem;

constexpr bool linesEndInCrLf = fs::path::preferred_separator == '\\';

std::string example(const std::string& page, const std::string& name) {
    const fs::path file = fs::path(ORV_SOURCE_ROOT) / "docs" / "formats" / (page + ".md");
    std::string text = readBytes(file);
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    const std::string block = exampleOf(text, name);
    EXPECT_NE(block, "") << name;
    return block;
}

/// The lines without their annotations, which follow two blanks.
std::string withoutAnnotations(const std::string& block) {
    std::string text;
    std::istringstream in(block);
    for (std::string line; std::getline(in, line);) {
        text += line.substr(0, line.find("  ")) + "\n";
    }
    return text;
}

/// A text with its numbers left out: a calibration does not come out the same to the last sample in every run.
std::string shapeOf(const std::string& text) {
    static const std::regex number("[-+]?\\b\\d+(\\.\\d+)?");
    return std::regex_replace(text, number, "#");
}

std::string addressesOf(const std::string& dump) {
    static const std::regex content("=0x[0-9a-f]{4}\n");
    return std::regex_replace(dump, content, "\n");
}

std::vector<std::string> keysOf(const std::string& line) {
    static const std::regex key("\"(\\w+)\":");
    std::vector<std::string> keys;
    for (auto match = std::sregex_iterator(line.begin(), line.end(), key); match != std::sregex_iterator(); ++match) {
        keys.push_back((*match)[1]);
    }
    return keys;
}

std::uint32_t wordAt(const std::string& bytes, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t i = 4; i-- != 0;) {
        word = word << 8 | static_cast<unsigned char>(bytes.at(at + i));
    }
    return word;
}

class RealFiles : public testing::Test {
protected:
    static void SetUpTestSuite() {
        space = std::make_unique<RunSpace>();
        const Outcome run = space->record(
            "bench-cable", {"--save", space->file("save.tdf").string(), "--raw", space->file("save.bin").string()});
        ASSERT_EQ(run.code, 0) << run.errors;
    }
    static void TearDownTestSuite() { space.reset(); }

    static fs::path run(const std::string& name) { return space->file("run") / name; }
    static std::string bytes(const std::string& name) { return readBytes(run(".VX-trace/data/bench-cable." + name)); }

    /// A text file with its lines in LF, having looked at how they end.
    static std::string linesOf(const std::string& text) {
        EXPECT_NE(text, "");
        std::string plain = text;
        plain.erase(std::remove(plain.begin(), plain.end(), '\r'), plain.end());
        EXPECT_TRUE(plain.ends_with("\n"));
        const auto ends = static_cast<std::size_t>(std::count(plain.begin(), plain.end(), '\n'));
        EXPECT_EQ(text.size() - plain.size(), linesEndInCrLf ? ends : 0);
        return plain;
    }

    static std::unique_ptr<RunSpace> space;
};

std::unique_ptr<RunSpace> RealFiles::space;

} // namespace

TEST_F(RealFiles, OfTextAreTheExamples) {
    EXPECT_EQ(linesOf(bytes("cfg")), example("properties", "properties"));
    EXPECT_EQ(linesOf(bytes("cache")), example("pin-cache", "pin-cache"));
    EXPECT_EQ(shapeOf(linesOf(bytes("freq2.cal.txt"))),
              shapeOf(example("calibration-report", "calibration-report") + "\n"));
    EXPECT_EQ(addressesOf(linesOf(bytes("freq2.reg.txt"))),
              addressesOf("\n" + withoutAnnotations(example("registers", "registers"))));
    const std::string burst = linesOf(bytes("freq2.cap.txt"));
    const std::string head = shapeOf(example("burst", "burst"));
    EXPECT_EQ(shapeOf(burst.substr(0, 2000)).substr(0, head.size()), head);
    EXPECT_TRUE(burst.ends_with(" 8191\n"));
}

TEST_F(RealFiles, TheVerificationBeginsWithThePacket) {
    const std::string proof = bytes("freq2.ver");
    EXPECT_EQ(proof.size(), 262144U);
    for (const HexLine& line : hexLinesOf(example("recording", "packet"))) {
        EXPECT_EQ(proof.substr(std::stoul(line.head, nullptr, 16), line.bytes.size()), line.bytes) << line.head;
    }
}

TEST_F(RealFiles, ASaveIsOneSectionWithTheRecording) {
    const std::string recording = bytes("bin");
    EXPECT_EQ(recording.size() % 16384, 0U);
    EXPECT_EQ(readBytes(space->file("save.bin")), recording);
    const std::string save = readBytes(space->file("save.tdf"));
    std::string head;
    for (const HexLine& line : hexLinesOf(example("trace-data-file", "tdf"))) {
        head += line.bytes;
    }
    constexpr std::size_t data = 0x20;
    ASSERT_GT(save.size(), data);
    EXPECT_EQ(save.substr(0, 8), head.substr(0, 8));
    EXPECT_EQ(wordAt(save, 8), recording.size() + data - 8);
    EXPECT_EQ(save.substr(12, data - 12), head.substr(12, data - 12));
    EXPECT_TRUE(save.substr(data) == recording);
    // The example's two samples are the first that this run recorded.
    EXPECT_EQ(recording.substr(0, 16), head.substr(data));
}

TEST_F(RealFiles, TheLogHasTheColumnsInEveryLine) {
    const std::regex form("(M    | W   |  F  |    E) (\\d\\d:\\d\\d:\\d\\d:\\d{3} \\| | )\\S.*");
    const std::regex name("vx_trace_log_[1-9]\\d*_[1-9]\\d*\\.txt");
    std::size_t logs = 0;
    for (const auto& entry : fs::directory_iterator(run(".VX-trace"))) {
        if (!entry.is_regular_file()) {
            continue;
        }
        EXPECT_TRUE(std::regex_match(entry.path().filename().string(), name)) << entry.path();
        std::istringstream in(linesOf(readBytes(entry.path())));
        std::size_t count = 0;
        for (std::string line; std::getline(in, line); ++count) {
            EXPECT_TRUE(line.size() < 2000 && std::regex_match(line, form)) << line.substr(0, 200);
        }
        EXPECT_GT(count, 100U);
        ++logs;
    }
    EXPECT_EQ(logs, 1U);
}

TEST_F(RealFiles, OfTheBenchHaveTheKeys) {
    const std::vector<std::string> truth = keysOf(example("bench-files", "truth"));
    const auto pin = std::find(truth.begin(), truth.end(), "proc");
    std::istringstream in(linesOf(readBytes(run("bench/truth.jsonl"))));
    std::size_t recordings = 0;
    for (std::string line; std::getline(in, line); ++recordings) {
        const std::vector<std::string> keys = keysOf(line);
        // The example shows one pin of the four.
        std::vector<std::string> wanted = truth;
        for (int more = 1; more < 4; ++more) {
            wanted.insert(wanted.end(), pin, truth.end());
        }
        EXPECT_EQ(keys, wanted);
    }
    EXPECT_GE(recordings, 2U); // one verification or more, and the recording
    const std::string contents = linesOf(readBytes(run("bench/contents.jsonl")));
    // Which word comes first depends on when the recording was started.
    EXPECT_EQ(shapeOf(contents.substr(contents.rfind('\n', contents.size() - 2) + 1)),
              shapeOf(example("bench-files", "contents")));
    EXPECT_TRUE(std::regex_match(linesOf(readBytes(run("bench/side.port"))), std::regex("\\d{5}\n")));
    const std::string log = shapeOf(linesOf(readBytes(run("bench/server.log"))));
    EXPECT_TRUE(log.starts_with(shapeOf(example("bench-files", "server-log")))) << log.substr(0, 300);
}

// Names and folders, as the first page lists them.
TEST_F(RealFiles, HaveTheNamesOfTheFirstPage) {
    const std::regex known("bench-cable(\\.freq\\d)?\\.(cal\\.txt|cap\\.txt|reg\\.txt|ver)|"
                           "bench-cable\\.(cfg|bin|cache|checks\\.json)");
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(run(".VX-trace/data"))) {
        names.insert(entry.path().filename().string());
        EXPECT_TRUE(std::regex_match(entry.path().filename().string(), known)) << entry.path();
    }
    for (const char* name : {"bench-cable.cfg", "bench-cable.bin", "bench-cable.cache", "bench-cable.reg.txt",
                             "bench-cable.freq2.cal.txt", "bench-cable.freq2.cap.txt", "bench-cable.freq2.reg.txt",
                             "bench-cable.freq2.ver", "bench-cable.checks.json"}) {
        EXPECT_TRUE(names.contains(name)) << name;
    }
}

} // namespace tree
