#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// No name of an output costs an input, or another output, of the same command.

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

const std::string head = "exportFrequency=50.00 MHz\ndataFrequency=100.00 Mwords/second\n"
                         "dataRate=100.00 Mbits/second\noversampling=28.00 samples/bit\n\n";

const std::string settings =
    "<CHANNEL-SETUP>\n<no_emu0>false</no_emu0>\n<drm_type></drm_type>\n<drm_key></drm_key>\n<num_pins>4</num_pins>\n"
    "<pin_map></pin_map>\n<is_stop_on_full>true</is_stop_on_full>\n<is_sync>false</is_sync>\n"
    "<bufsize_current>0</bufsize_current>\n<drm_xmtr>pti</drm_xmtr>\n<start_port>0</start_port>\n</CHANNEL-SETUP>\n";

/// An input under all names that lead to it; the last ones where the system has such.
std::vector<fs::path> namesOf(const RunSpace& space, const fs::path& file) {
    const std::string ending = file.filename().string().substr(file.filename().string().find('.'));
    fs::create_directories(space.file("sub"));
    std::vector<fs::path> names{file, space.file("sub") / ".." / file.filename(), space.file("hard" + ending),
                                space.file("soft" + ending)};
    std::error_code failed;
    fs::create_hard_link(file, names[2], failed);
    fs::create_symlink(file, names[3], failed);
    if (failed) {
        names.pop_back();
    }
    return names;
}

/// A command that reads "{}" and also has to write.
struct Meeting {
    Arguments arguments;
    std::string name;
    std::string bytes;
};

const std::vector<Meeting> meetings{
    {{"tdf", "extract", "{in}", "{out}"}, "in.tdf", std::string("TDF\x1A\x01\0\0\0", 8)},
    {{"tdf", "create", "{out}", "--data", "{in}"}, "in.tdf", "any bytes"},
    {{"check", "{in}", "--mode", "tpiu", "--payload", "{out}"}, "in.bin", "any bytes"},
    {{"burst", "{in}", "--vcd", "{out}"}, "in.cap.txt", head},
    {{"burst", "{in}", "--csv", "{out}"}, "in.cap.txt", head},
    {{"burst", "{in}", "--sr", "{out}"}, "in.cap.txt", head},
    {{"report", "{in}", "--out", "{out}"}, "in.cal.txt", head},
    {{"record", "--scenario", "clean", "--play", "{in}", "--raw", "{out}"}, "in.txt", "to be sent"},
    {{"record", "--scenario", "clean", "--play", "{in}", "--save", "{out}"}, "in.tdf", "to be sent"},
    {{"record", "--scenario", "{in}", "--raw", "{out}"}, "in.toml", "cpu = \"bench/app\"\n"},
    {{"record", "--scenario", "clean", "--settings", "{in}", "--raw", "{out}"}, "in.xml", settings},
};

TEST(OutputNames, TheFileThatIsReadIsNotOverwrittenEvenWithForce) {
    for (const Meeting& meeting : meetings) {
        const RunSpace space("names");
        const fs::path file = space.write(meeting.name, meeting.bytes);
        for (const fs::path& name : namesOf(space, file)) {
            Arguments arguments = meeting.arguments;
            for (std::string& each : arguments) {
                each = each == "{in}" ? file.string() : each == "{out}" ? name.string() : each;
            }
            arguments.emplace_back("--force");
            const Outcome run = space.run(arguments);
            SCOPED_TRACE(testing::PrintToString(arguments) + "\n" + run.errors);
            EXPECT_EQ(run.code, 2);
            EXPECT_EQ(lines(run.errors), 1U);
            EXPECT_THAT(run.errors, HasSubstr(" is read by this command; give another name"));
            EXPECT_EQ(readBytes(file), meeting.bytes);
        }
        EXPECT_FALSE(fs::exists(space.file("orvtrace-clean")));
    }
}

TEST(OutputNames, TwoOutputsInOneFileAreRefused) {
    const RunSpace space("names");
    const fs::path burst = space.write("in.cap.txt", head);
    fs::create_directories(space.file("sub"));
    for (const Arguments& arguments :
         {Arguments{"burst", burst.string(), "--vcd", "x", "--csv", "x"},
          {"burst", burst.string(), "--vcd", "x", "--csv", "sub/../x"},
          {"record", "--scenario", "clean", "--save", "s2.tdf", "--raw", "s2.tdf"},
          {"record", "--scenario", "clean", "--save", "s2-2.tdf", "--raw", "sub/../s2.tdf", "--repeat", "3"},
          {"record", "--scenario", "clean", "--out", "run", "--raw", "run/clean.xml"}}) {
        for (const bool force : {false, true}) {
            Arguments whole = arguments;
            if (force) {
                whole.emplace_back("--force");
            }
            const Outcome run = space.run(whole);
            SCOPED_TRACE(testing::PrintToString(whole) + "\n" + run.errors);
            EXPECT_EQ(run.code, 2);
            EXPECT_EQ(lines(run.errors), 1U);
            EXPECT_THAT(run.errors, HasSubstr(" are two outputs in one file; give another name to one"));
        }
    }
    EXPECT_FALSE(fs::exists(space.file("run")));
    EXPECT_FALSE(fs::exists(space.file("x")));
}

TEST(OutputNames, AnEarlierRunIsNotRemovedUnderAnInputOrAnOutput) {
    const RunSpace space("names");
    fs::create_directories(space.file("run") / "bench");
    const fs::path file = space.write("run/bench/truth.jsonl", "kept");
    for (const Arguments& arguments : {Arguments{"--play", file.string()}, {"--raw", file.string()}}) {
        Arguments whole{"--force"};
        whole.insert(whole.end(), arguments.begin(), arguments.end());
        const Outcome run = space.record("clean", whole);
        EXPECT_EQ(run.code, 2) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr("the earlier run that --force removes"));
        EXPECT_EQ(readBytes(file), "kept");
    }
}

TEST(OutputNames, AFailureLeavesTheOldFile) {
    const RunSpace space("names");
    const fs::path input = space.write("in.tdf", std::string("TDF\x1A\x01\0\0\0\x80\0\0\0\x01\0\0\0", 16));
    const fs::path old = space.write("old.bin", "kept");
    const Outcome run = space.run({"tdf", "extract", input.string(), old.string(), "--number", "1", "--force"});
    EXPECT_EQ(run.code, 3) << run.errors;
    EXPECT_EQ(readBytes(old), "kept");
}

TEST(OutputNames, AStandardOutputThatTakesNothingIsCodeNine) {
    const RunSpace space("names");
    const std::string data = space.write("in.bin", "bytes").string();
    space.write("in.cal.txt", head +
                                  "[Clock]\nedges=0\n\n[Data 1]\nedges=0\nmargin=-9,+9\n\n[Properties]\ndrmXmtr=pti\n"
                                  "xmtrType=\nnumPins=1\ndelays=0,0\nstretches=0,0\nfilters=0,0\n"
                                  "debounces=0,0\nplateaus=0,0\n");
    for (const Arguments& arguments : {Arguments{"--help"},
                                       {"--version"},
                                       {"--version", "--json"},
                                       {"record", "--help"},
                                       {"scenarios"},
                                       {"scenarios", "clean", "--json"},
                                       {"pins", "--device", "bench/app"},
                                       {"tdf", "create", "x.tdf", "--data", data, "--force"},
                                       {"tdf", "list", "x.tdf"},
                                       {"tdf", "extract", "x.tdf", "x.bin", "--force"},
                                       {"report", "in.cal.txt", "--force"}}) {
        const Outcome run = space.runUnheard(arguments);
        SCOPED_TRACE(testing::PrintToString(arguments));
        EXPECT_EQ(run.code, 9);
        EXPECT_THAT(run.errors, EndsWith("orvtrace: the standard output cannot be written; is the disk full?" +
                                         std::string(run.errors.ends_with("\r\n") ? "\r\n" : "\n")));
    }
}

TEST(OutputNames, AFailureKeepsItsCodeWhenTheStandardOutputTakesNothingEither) {
    const RunSpace space("names");
    const Outcome run = space.runUnheard({"tdf", "list", "missing.tdf", "--json"});
    EXPECT_EQ(run.code, 3);
    EXPECT_THAT(run.errors, StartsWith("orvtrace: cannot read missing.tdf"));
    EXPECT_THAT(run.errors, HasSubstr("the standard output cannot be written"));
}

} // namespace
