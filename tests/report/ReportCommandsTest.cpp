#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <regex>

// A run on the bench, and what the three commands make of its files. One run of each kind serves all tests.

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// The files of one run, made once.
class ARun : public testing::Test {
protected:
    static void SetUpTestSuite() {
        space = new RunSpace;
        refused = new RunSpace;
        ASSERT_EQ(space->record("bench-cable", {"--seconds", "0.1"}).code, 0);
        ASSERT_EQ(refused->record("swapped-pins").code, 5);
    }
    static void TearDownTestSuite() {
        delete space;
        delete refused;
    }
    static std::string run() { return space->file("run").string(); }
    static std::string burst() { return dataFile("bench-cable.freq2.cap.txt").string(); }
    static std::filesystem::path dataFile(const std::string& name) {
        return space->file("run") / ".VX-trace" / "data" / name;
    }

    /// A page but for the minute in which it was made.
    static std::string undated(const std::string& page) {
        return std::regex_replace(page, std::regex(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2} UTC)"), "UTC");
    }

    static RunSpace* space;
    static RunSpace* refused;
};

RunSpace* ARun::space = nullptr;
RunSpace* ARun::refused = nullptr;

TEST_F(ARun, IsReportedOn) {
    const Outcome made = space->run({"report", run()});
    EXPECT_EQ(made.code, 0) << made.errors;
    EXPECT_THAT(made.errors, IsEmpty());
    EXPECT_THAT(made.output, HasSubstr("bench-cable: calibrated at 50 MHz (setting 2)"));
    const std::string page = readBytes(space->file("run") / "bench-cable.report.html");
    EXPECT_THAT(page, HasSubstr("<!DOCTYPE html>"));
    EXPECT_THAT(page, HasSubstr("Nothing is broken"));

    EXPECT_EQ(space->run({"report", run()}).code, 0) << "an earlier page is renewed";
    const std::string own = space->write("own.html", "<html>").string();
    const Outcome refused = space->run({"report", run(), "--out", own});
    EXPECT_EQ(refused.code, 8) << "a file that is no page";
    EXPECT_EQ(lines(refused.errors), 1U);
    EXPECT_THAT(refused.errors, HasSubstr("--force"));
    EXPECT_EQ(space->run({"report", run(), "--out", own, "--force"}).code, 0);
    const Outcome piped = space->run({"report", run(), "--out", "-"});
    EXPECT_EQ(piped.code, 0);
    EXPECT_THAT(piped.output, AllOf(StartsWith("<!DOCTYPE html>"), testing::EndsWith("</html>\n")));
    EXPECT_THAT(piped.errors, HasSubstr("verdict: sound"));
    EXPECT_EQ(space->run({"report", run(), "--out", "-", "--json"}).code, 2);
    const std::string elsewhere = space->file("elsewhere.html").string();
    const Outcome json = space->run({"report", dataFile("bench-cable").string(), "--out", elsewhere, "--json"});
    EXPECT_EQ(json.code, 0) << json.errors;
    EXPECT_EQ(json.json.at("files").at("report"), elsewhere);
    EXPECT_EQ(json.json.at("calibrated"), true);
    EXPECT_EQ(json.json.at("attempts").size(), 3U);
    EXPECT_EQ(undated(readBytes(elsewhere)), undated(page)) << "the same page for the same files";
}

TEST_F(ARun, IsDiagnosed) {
    const Outcome sound = space->run({"doctor", run()});
    EXPECT_EQ(sound.code, 0) << sound.errors;
    EXPECT_THAT(sound.output, HasSubstr("nothing broken found, 1 note"));
    const Outcome broken = refused->run({"doctor", refused->file("run").string()});
    EXPECT_EQ(broken.code, 10) << broken.errors;
    EXPECT_THAT(broken.output, HasSubstr("swapped-pins: not calibrated"));
    EXPECT_THAT(broken.output, HasSubstr("fault: D1 (EMU2) and D0 (EMU1) are swapped"));
    EXPECT_THAT(broken.output, HasSubstr("  evidence: verification of setting 1 (50 MHz), pattern ramp: "));
    const Outcome json = refused->run({"doctor", "--json", refused->file("run").string()});
    EXPECT_EQ(json.json.at("findings").at(0).at("kind"), "pins-swapped");
    EXPECT_EQ(json.json.at("findings").at(0).at("pins"), nlohmann::json({"data3", "data4"}));
    EXPECT_EQ(json.code, 10);
    EXPECT_EQ(json.json.at("outcome"), "faults-found");
}

TEST_F(ARun, GivesItsBurstToOtherPrograms) {
    const std::string vcd = space->file("burst.vcd").string();
    const std::string csv = space->file("burst.csv").string();
    const Outcome made = space->run({"burst", burst(), "--vcd", vcd, "--csv", csv, "--json"});
    EXPECT_EQ(made.code, 0) << made.errors;
    EXPECT_EQ(made.json.at("samples"), 8192);
    EXPECT_EQ(made.json.at("samplesPerSecond"), 1.4e9);
    EXPECT_EQ(lines(readBytes(csv)), 8193U);
    EXPECT_THAT(readBytes(vcd), HasSubstr("$var wire 1 % D0 $end"));
    EXPECT_EQ(space->run({"burst", burst(), "--vcd", vcd}).code, 8);
    const std::string svg = space->file("burst.svg").string();
    const Outcome drawn =
        space->run({"burst", burst(), "--svg", svg, "--from", "400", "--to", "512", "--title", "a & b", "--json"});
    EXPECT_EQ(drawn.code, 0) << drawn.errors;
    EXPECT_EQ(drawn.json.at("files").at("svg"), svg);
    EXPECT_THAT(readBytes(svg), AllOf(StartsWith("<svg"), HasSubstr(">a &amp; b</text>"), HasSubstr(">410</text>")));
    const Outcome part =
        space->run({"burst", burst(), "--csv", csv, "--from", "10", "--to", "20", "--pins", "data2,CLK", "--force"});
    EXPECT_EQ(part.code, 0) << part.errors;
    EXPECT_EQ(lines(readBytes(csv)), 11U);
    EXPECT_THAT(readBytes(csv), HasSubstr("sample,nanoseconds,D2,CLK"));
}

TEST_F(ARun, ListsItsBurstsAndPassesOneThroughAPipe) {
    const Outcome all = space->run({"bursts", run(), "--json"});
    EXPECT_EQ(all.code, 0) << all.errors;
    EXPECT_EQ(all.json.at("bursts").size(), 3U);
    EXPECT_EQ(all.json.at("bursts").at(0).at("dataPins"), 4);
    EXPECT_THAT(space->run({"bursts", run()}).output, HasSubstr(".cap.txt"));
    const Outcome piped = space->run({"burst", burst(), "--csv", "-", "--to", "3"});
    EXPECT_EQ(lines(piped.output), 4U) << piped.output;
    EXPECT_THAT(piped.errors, HasSubstr("3 samples of 5 pins"));
    const std::filesystem::path folder = space->file("single");
    std::filesystem::create_directories(folder);
    std::filesystem::copy_file(burst(), folder / "only.cap.txt");
    EXPECT_EQ(space->run({"burst", folder.string(), "--csv", "-", "--to", "3"}).output, piped.output)
        << "a folder with one burst is that burst";
}

TEST_F(ARun, HasTheNamesThatItsReaderGives) {
    const std::string board = space->write("board.toml", "[names]\nCLK = \"TCLK\"\nEMU1 = \"NET_A\"\n").string();
    const Outcome listed = space->run({"doctor", run(), "--names", board, "--json"});
    EXPECT_EQ(listed.code, 0) << listed.errors;
    EXPECT_EQ(listed.json.at("labels").at("clock"), "TCLK");
    EXPECT_EQ(listed.json.at("labels").at("data4"), "NET_A");
    EXPECT_EQ(listed.json.at("labels").at("data1"), "D3");
    const Outcome burstNamed =
        space->run({"burst", burst(), "--csv", "-", "--to", "1", "--names", board, "--pins", "NET_A"});
    EXPECT_THAT(burstNamed.output, StartsWith("sample,nanoseconds,NET_A"));
    const std::string bad = space->write("bad.toml", "[names]\nD9 = \"x\"\n").string();
    EXPECT_EQ(space->run({"doctor", run(), "--names", bad}).code, 3);
    EXPECT_EQ(space->run({"doctor", run(), "--names", "A,A"}).code, 2);
}

TEST_F(ARun, PrintsOneFileByteForByteAndNothingElse) {
    const std::string session = space->file("burst.sr").string();
    const std::string values = space->file("printed.csv").string();
    const Outcome made = space->run({"burst", burst(), "--sr", session, "--csv", values, "--json"});
    EXPECT_EQ(made.code, 0) << made.errors;
    EXPECT_EQ(made.json.at("files").at("sr"), session);
    EXPECT_EQ(space->run({"burst", burst(), "--sr", "-"}).output, readBytes(session));
    EXPECT_EQ(space->run({"burst", burst(), "--csv", "-"}).output, readBytes(values));
    const Outcome dump = space->run({"burst", burst(), "--vcd", "-", "--svg", space->file("beside.svg").string()});
    const std::regex head("\\$date [-0-9]+ [:0-9]+ \\$end\n\\$version orvtrace ");
    EXPECT_TRUE(std::regex_search(dump.output, head, std::regex_constants::match_continuous)) << dump.output;
    EXPECT_TRUE(std::filesystem::exists(space->file("beside.svg")));
    EXPECT_THAT(dump.errors, StartsWith("8192 samples of 5 pins")) << "the result, beside what was printed";
    const Outcome both = space->run({"burst", burst(), "--vcd", "-", "--json"});
    EXPECT_EQ(both.code, 2);
    EXPECT_EQ(both.json.at("outcome"), "usage");
}

TEST_F(ARun, WhatIsWrongIsOneLineAndItsCode) {
    const std::string none = space->file("none").string();
    const std::string damaged = space->write("damaged.cap.txt", "exportFrequency=banana\n").string();
    const std::string out = space->file("x.csv").string();
    struct Case {
        std::vector<std::string> arguments;
        int code;
        std::string text;
    };
    for (const Case& wrong : std::vector<Case>{
             {{"report"}, 2, "--help"},
             {{"doctor"}, 2, "--help"},
             {{"burst", burst()}, 2, "give one or more of --vcd FILE, --sr FILE, --csv FILE, --svg FILE"},
             {{"burst", burst(), "--vcd", "-", "--csv", "-"}, 2, "can hold one output only"},
             {{"burst", burst(), "--csv", out, "--pins", "data9"}, 2, "there is no pin"},
             {{"burst", burst(), "--csv", out, "--from", "9000"}, 2, "8192 samples"},
             {{"report", none}, 3, "no diagnostic files at "},
             {{"doctor", none}, 3, "no diagnostic files at "},
             {{"burst", none, "--csv", out}, 3, "cannot read "},
             {{"burst", damaged, "--csv", out}, 3, "damaged.cap.txt:1: expected exportFrequency=NUMBER Hz"},
             {{"doctor", damaged}, 3, "damaged.cap.txt:1: expected exportFrequency=NUMBER Hz"},
             {{"report", dataFile("bench-cable").string(), "--out", space->file("run").string(), "--force"},
              9,
              "is a folder"}}) {
        const Outcome run = space->run(wrong.arguments);
        EXPECT_EQ(run.code, wrong.code) << run.errors;
        EXPECT_EQ(lines(run.errors), 1U) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr(wrong.text));
    }
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(ARun, HelpFitsAScreen) {
    for (const char* command : {"report", "doctor", "burst"}) {
        const Outcome help = space->run({command, "--help"});
        EXPECT_EQ(help.code, 0);
        EXPECT_LE(lines(help.output), 24U) << help.output;
        EXPECT_THAT(help.output, HasSubstr("Example: orvtrace "));
    }
}

TEST_F(ARun, WithADamagedFileIsReportedOnWithoutIt) {
    const RunSpace other;
    std::filesystem::copy(space->file("run"), other.file("run"), std::filesystem::copy_options::recursive);
    std::filesystem::remove(other.file("run") / "bench-cable.report.html");
    std::filesystem::resize_file(other.file("run") / ".VX-trace" / "data" / "bench-cable.freq3.cap.txt", 5000);
    const Outcome made = other.run({"report", other.file("run").string(), "--json"});
    EXPECT_EQ(made.code, 3);
    EXPECT_EQ(lines(made.errors), 1U) << made.errors;
    EXPECT_THAT(made.errors, HasSubstr("bench-cable.freq3.cap.txt:"));
    EXPECT_EQ(made.json.at("outcome"), "bad-input");
    EXPECT_EQ(made.json.at("damaged").size(), 1U);
    EXPECT_THAT(readBytes(other.file("run") / "bench-cable.report.html"), HasSubstr("left out"));
}

} // namespace
