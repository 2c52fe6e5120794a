#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <map>

// Every way to fail that a user can provoke with files and options alone, for every subcommand: one line that names the
// file, the documented code, and the same in JSON.

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

const std::map<int, std::string> outcomes{
    {3, "bad-input"}, {8, "output-exists"}, {9, "output-unwritable"}, {10, "faults-found"}};

/// The arguments with "{}" replaced by a file.
Arguments with(Arguments arguments, const fs::path& file) {
    for (std::string& argument : arguments) {
        if (argument == "{}") {
            argument = file.string();
        }
    }
    return arguments;
}

/// One line that names the file, the code, and an object for scripts.
void expectFailure(const RunSpace& space, const Arguments& arguments, int code, const std::string& named) {
    Arguments whole = arguments;
    whole.emplace_back("--json");
    const Outcome run = space.run(whole);
    SCOPED_TRACE(testing::PrintToString(arguments) + "\n" + run.errors + run.output);
    EXPECT_EQ(run.code, code);
    EXPECT_EQ(lines(run.errors), 1U);
    EXPECT_THAT(run.errors, StartsWith("orvtrace: "));
    EXPECT_THAT(run.errors, HasSubstr(named));
    ASSERT_TRUE(run.json.is_object());
    EXPECT_EQ(run.json.at("exitCode"), code);
    EXPECT_EQ(run.json.at("outcome"), outcomes.at(code));
}

std::string scramble() {
    std::string bytes;
    for (unsigned value = 1; bytes.size() < 400; value = value * 1103515245U + 12345U) {
        bytes += static_cast<char>(value >> 16);
    }
    return bytes;
}

/// A place where a subcommand takes a file to read.
struct Input {
    Arguments arguments;
    std::string name;      ///< of the file
    std::string truncated; ///< a file that ends too early; empty: only the receiver knows, or any bytes will do
};

const std::string cutScenario = "name = \"cut\"\ncpu = \"bench/a";
const std::string cutRates = "exportFrequency=50.00 MHz\ndataFrequency=100.00 Mwor";
const std::string cutSections{"TDF\x1A\x01\0\0\0\x80\0\0\0\x01\0\0\0\x0C\0\0\0BinTra", 26};

const std::vector<Input> inputs{
    {{"record", "--scenario", "{}"}, "in.toml", cutScenario},
    {{"calibrate", "--scenario", "{}"}, "in.toml", cutScenario},
    {{"soak", "--scenario", "{}"}, "in.toml", cutScenario},
    {{"scenarios", "{}"}, "in.toml", cutScenario},
    {{"record", "--scenario", "clean", "--settings", "{}"}, "in.xml", ""},
    {{"calibrate", "--scenario", "clean", "--settings", "{}"}, "in.xml", ""},
    {{"soak", "--settings", "{}", "--scenario", "self-test"}, "in.xml", ""},
    {{"record", "--scenario", "clean", "--play", "{}"}, "in.bin", ""},
    {{"report", "{}"}, "in.cal.txt", cutRates},
    {{"doctor", "{}"}, "in.cal.txt", cutRates},
    {{"report", "{}"}, "in.freq1.cap.txt", cutRates},
    {{"doctor", "{}"}, "in.freq1.cap.txt", cutRates},
    {{"burst", "{}", "--vcd", "unused.vcd"}, "in.cap.txt", cutRates},
    {{"tdf", "list", "{}"}, "in.tdf", cutSections},
    {{"tdf", "extract", "{}", "unused.bin"}, "in.tdf", cutSections},
    {{"tdf", "create", "unused.tdf", "--data", "{}"}, "in.bin", ""},
    {{"pins", "--map-file", "{}"}, "in.map", "front=pt"},
    {{"check", "{}"}, "in.bin", ""},
    {{"check", "{}", "--mode", "pti"}, "in.tdf", cutSections},
};

TEST(FailedInput, AMissingFileIsCodeThree) {
    const RunSpace space;
    for (const Input& input : inputs) {
        expectFailure(space, with(input.arguments, space.file(input.name)), 3, space.file(input.name).string());
    }
}

TEST(FailedInput, AFolderInItsPlaceIsCodeThree) {
    const RunSpace space;
    for (const Input& input : inputs) {
        fs::create_directories(space.file(input.name));
        expectFailure(space, with(input.arguments, space.file(input.name)), 3, space.file(input.name).string());
    }
}

TEST(FailedInput, AnEmptyATruncatedAndAScrambledFileAreCodeThree) {
    for (const Input& input : inputs) {
        if (input.truncated.empty()) {
            continue;
        }
        for (const std::string& bytes : {std::string(), input.truncated, scramble()}) {
            const RunSpace space;
            const fs::path file = space.write(input.name, bytes);
            expectFailure(space, with(input.arguments, file), 3, file.string());
            EXPECT_EQ(readBytes(file), bytes);
        }
    }
}

/// A place where a subcommand takes a file to write, with inputs that are sound.
struct Output {
    Arguments arguments;
    std::string name;
};

/// Writes sound inputs into the space and gives the outputs that go with them.
std::vector<Output> outputsIn(const RunSpace& space) {
    const std::string head = "exportFrequency=50.00 MHz\ndataFrequency=100.00 Mwords/second\n"
                             "dataRate=100.00 Mbits/second\noversampling=28.00 samples/bit\n\n";
    const std::string report =
        space
            .write("sound.cal.txt", head + "[Clock]\nedges=0\n\n[Data 1]\nedges=0\nmargin=-9,+9\n"
                                           "\n[Properties]\ndrmXmtr=pti\nxmtrType=\nnumPins=1\n"
                                           "delays=0,0\nstretches=0,0\nfilters=0,0\n"
                                           "debounces=0,0\nplateaus=0,0\n")
            .string();
    const std::string data = space.write("sound.bin", "12345678").string();
    const std::string sections = space.file("sound.tdf").string();
    EXPECT_EQ(space.run({"tdf", "create", sections, "--data", data}).code, 0);
    return {
        {{"record", "--scenario", "clean", "--out", space.file("run").string(), "--save", "{}"}, "out.tdf"},
        {{"record", "--scenario", "clean", "--out", space.file("run").string(), "--raw", "{}"}, "out.bin"},
        {{"report", report, "--out", "{}"}, "out.html"},
        {{"tdf", "extract", sections, "{}"}, "out.bin"},
        {{"tdf", "create", "{}"}, "out.tdf"},
        {{"tdf", "create", "{}", "--data", data}, "out.tdf"},
        {{"check", data, "--mode", "tpiu", "--payload", "{}"}, "out.bin"},
    };
}

TEST(FailedOutput, OneThatExistsIsCodeEightAndStays) {
    const RunSpace space;
    for (const Output& output : outputsIn(space)) {
        const fs::path file = space.write(output.name, "kept");
        expectFailure(space, with(output.arguments, file), 8, file.string());
        EXPECT_EQ(readBytes(file), "kept");
    }
    EXPECT_FALSE(fs::exists(space.file("run")));
}

TEST(FailedOutput, OneThatCannotBeMadeIsCodeNine) {
    const RunSpace space;
    space.write("wall", "");
    for (const Output& output : outputsIn(space)) {
        const fs::path file = space.file("wall") / output.name;
        expectFailure(space, with(output.arguments, file), 9, file.string());
    }
    EXPECT_FALSE(fs::exists(space.file("run")));
}

TEST(FailedOutput, NoFolderIsMadeForIt) {
    const RunSpace space;
    for (const Output& output : outputsIn(space)) {
        const fs::path file = space.file("missing") / output.name;
        expectFailure(space, with(output.arguments, file), 9,
                      "the folder " + space.file("missing").string() + " does not exist; make it or give another");
        EXPECT_FALSE(fs::exists(space.file("missing")));
    }
    EXPECT_FALSE(fs::exists(space.file("run")));
}

TEST(FailedOutput, AFolderInItsPlaceIsCodeNineEvenWithForce) {
    const RunSpace space;
    for (const Output& output : outputsIn(space)) {
        const fs::path file = space.file("folder") / output.name;
        fs::create_directories(file);
        Arguments arguments = with(output.arguments, file);
        expectFailure(space, arguments, 9, file.string() + " is a folder");
        arguments.emplace_back("--force");
        expectFailure(space, arguments, 9, file.string() + " is a folder");
        EXPECT_TRUE(fs::is_directory(file));
    }
}

TEST(FailedOutput, AFileInThePlaceOfTheRunsFolderIsCodeNine) {
    const RunSpace space;
    const fs::path file = space.write("run", "kept");
    for (const char* command : {"record", "calibrate", "soak"}) {
        const std::string scenario = std::string(command) == "soak" ? "self-test" : "clean";
        expectFailure(space, {command, "--scenario", scenario, "--out", file.string()}, 9,
                      file.string() + ": it is a file");
        EXPECT_EQ(readBytes(file), "kept");
    }
}

/// Each subcommand with what it cannot do without.
const std::vector<Arguments> complete{{"record", "--scenario", "clean"},
                                      {"calibrate", "--scenario", "clean"},
                                      {"tune", "--scenario", "clean"},
                                      {"soak"},
                                      {"report", "x"},
                                      {"diff", "x", "y"},
                                      {"doctor", "x"},
                                      {"burst", "x", "--vcd", "y"},
                                      {"tdf", "list", "x.tdf"},
                                      {"tdf", "extract", "x.tdf", "y"},
                                      {"tdf", "create", "x.tdf", "--data", "y"},
                                      {"pins", "--device", "bench/app"},
                                      {"scenarios"},
                                      {"check", "x"}};

void expectUsage(const RunSpace& space, const Arguments& arguments, const std::string& named) {
    const Outcome run = space.run(arguments);
    SCOPED_TRACE(testing::PrintToString(arguments) + "\n" + run.errors);
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.output, IsEmpty());
    EXPECT_EQ(lines(run.errors), 1U);
    EXPECT_THAT(run.errors, StartsWith("orvtrace: "));
    EXPECT_THAT(run.errors, HasSubstr(named));
    EXPECT_THAT(run.errors, HasSubstr("; see 'orvtrace " + arguments.front())) << "the help of just this subcommand";
    EXPECT_THAT(run.errors, HasSubstr(" --help'"));
}

TEST(FailedUsage, AnUnknownOptionOrOneArgumentTooManyIsCodeTwo) {
    const RunSpace space;
    for (Arguments arguments : complete) {
        arguments.emplace_back("--bogus");
        expectUsage(space, arguments, "--bogus");
        arguments.back() = "surplus";
        arguments.emplace_back("more");
        expectUsage(space, arguments, "is not expected here");
    }
}

TEST(FailedUsage, ABadNumberIsCodeTwoAndTheOptionIsNamed) {
    const RunSpace space;
    const std::vector<std::pair<Arguments, std::vector<std::string>>> numbers{
        {complete[0], {"--seconds", "--repeat"}},
        {complete[2], {"--seconds"}},
        {complete[5], {"--from", "--to"}},
        {complete[7], {"--number"}},
        {complete[8], {"--version"}},
        {complete[11], {"--width", "--clock", "--samples", "--number", "--frame-start"}},
    };
    for (const auto& [arguments, options] : numbers) {
        for (const std::string& option : options) {
            for (const char* value : {"soon", "-1", "1e99", "", "99999999999999999999"}) {
                Arguments whole = arguments;
                whole.push_back(option + "=" + value);
                expectUsage(space, whole, option);
            }
        }
    }
}

TEST(FailedUsage, ABadWordIsCodeTwoAndTheOptionIsNamed) {
    const RunSpace space;
    for (const auto& [arguments, option] : std::vector<std::pair<Arguments, std::string>>{{complete[0], "--pins"},
                                                                                          {complete[1], "--pins"},
                                                                                          {complete[2], "--pins"},
                                                                                          {complete[9], "--pins"},
                                                                                          {complete[0], "--buffer"},
                                                                                          {complete[2], "--buffer"},
                                                                                          {complete[9], "--kind"},
                                                                                          {complete[11], "--mode"},
                                                                                          {complete[11], "--pattern"},
                                                                                          {complete[0], "--save"}}) {
        Arguments whole = arguments;
        whole.push_back(option);
        whole.emplace_back("nonsense");
        expectUsage(space, whole, option);
    }
}

} // namespace
