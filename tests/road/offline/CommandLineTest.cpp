#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <regex>
#include <sstream>

// What a user meets before anything is started: usage, inputs, outputs.

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

const std::vector<std::vector<std::string>> allCommands{{},
                                                        {"record"},
                                                        {"calibrate"},
                                                        {"verify"},
                                                        {"margin"},
                                                        {"tune"},
                                                        {"diff"},
                                                        {"soak"},
                                                        {"report"},
                                                        {"doctor"},
                                                        {"burst"},
                                                        {"bursts"},
                                                        {"check"},
                                                        {"tdf"},
                                                        {"tdf", "list"},
                                                        {"tdf", "extract"},
                                                        {"tdf", "create"},
                                                        {"pins"},
                                                        {"scenarios"},
                                                        {"probe"}};

/// The line on the standard error output, without its pointer to the help.
std::string saidTo(const std::vector<std::string>& arguments) {
    const RunSpace space;
    const std::string text = space.run(arguments).errors;
    return text.substr(0, text.find("; see 'orvtrace"));
}

TEST(CommandLine, HelpFitsAScreenAndGoesToTheOutput) {
    const RunSpace space;
    for (std::vector<std::string> arguments : allCommands) {
        arguments.push_back("--help");
        const Outcome run = space.run(arguments);
        EXPECT_EQ(run.code, 0);
        EXPECT_THAT(run.output, HasSubstr("Usage: orvtrace"));
        EXPECT_THAT(run.errors, IsEmpty());
        EXPECT_LE(lines(run.output), 24U) << run.output;
        std::istringstream in(run.output);
        for (std::string line; std::getline(in, line);) {
            EXPECT_LE(line.size(), 81U) << line; // with the carriage return of one system
        }
        if (!arguments.empty() && arguments.size() > 1) {
            EXPECT_THAT(run.output, HasSubstr("Example: orvtrace " + arguments.front())) << "each has an example";
        }
    }
}

TEST(CommandLine, ProseOfAHelpFillsItsLines) {
    const RunSpace space;
    for (std::vector<std::string> arguments : allCommands) {
        arguments.push_back("--help");
        const std::string help = space.run(arguments).output;
        const std::size_t footer = help.find("\n\n");
        if (footer == std::string::npos) {
            continue;
        }
        std::istringstream in(help.substr(footer + 2));
        std::string before;
        for (std::string line; std::getline(in, line) && !line.starts_with("Example: "); before = line) {
            const std::size_t word = std::min(line.find_first_of(" \r"), line.size());
            EXPECT_TRUE(before.empty() || before.size() + 1 + word > 79) << before << "\n" << line;
        }
    }
}

/// The word after each option of a help text, empty for a flag; and those of the arguments in its usage line.
std::vector<std::string> valueWordsOf(const std::string& help) {
    static const std::regex option("^  (?:-\\w,)?--[a-z-]+(?: ([^ ]+))?(?:  .*)?$");
    std::vector<std::string> words;
    std::istringstream in(help);
    for (std::string line; std::getline(in, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        std::smatch found;
        if (line.starts_with("  -") && !std::regex_match(line, found, option)) {
            words.push_back("unreadable: " + line);
        } else if (!found.empty() && found[1].matched) {
            words.push_back(found[1]);
        }
        if (!line.starts_with("Usage: ")) {
            continue;
        }
        std::istringstream usage(line.substr(line.find(' ') + 1));
        for (std::string word; usage >> word;) {
            if (std::islower(static_cast<unsigned char>(word.front())) == 0 && word != "SUBCOMMAND" &&
                word != "[OPTIONS]") {
                words.push_back(word);
            }
        }
    }
    return words;
}

TEST(CommandLine, EveryValueIsNamedInTheUsersTerms) {
    const RunSpace space;
    std::size_t count = 0;
    for (std::vector<std::string> arguments : allCommands) {
        arguments.push_back("--help");
        for (const std::string& word : valueWordsOf(space.run(arguments).output)) {
            EXPECT_THAT(word, testing::AnyOf("A", "B", "FILE", "FILE.tdf", "DIR", "DIR|STEM", "NAME", "NAME|FILE",
                                             "[NAME|FILE]", "N", "N|LIST", "LIST", "SIZE", "TIME", "RATE", "KIND",
                                             "TEXT", "NAME=VALUE"))
                << arguments.front();
            ++count;
        }
    }
    EXPECT_GT(count, 40U);
}

TEST(CommandLine, EverySubcommandStandsInTheHelpAndInTheDocument) {
    const RunSpace space;
    const std::string help = space.run({"--help"}).output;
    const std::string page = readBytes(ORV_TOOL_PAGE);
    EXPECT_THAT(help, HasSubstr("orvtrace help exit-codes"));
    for (const std::vector<std::string>& command : allCommands) {
        if (command.size() != 1) {
            continue;
        }
        EXPECT_THAT(help, HasSubstr("\n  " + command.front() + " "));
        EXPECT_THAT(page, HasSubstr("orvtrace " + command.front()));
    }
}

TEST(CommandLine, VersionNamesBuildCompilerAndSystem) {
    const RunSpace space;
    const Outcome run = space.run({"--version"});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.output, testing::StartsWith("orvtrace "));
    EXPECT_THAT(run.output, HasSubstr("\nbuild     "));
    EXPECT_THAT(run.output, HasSubstr("\ncompiler  "));
    EXPECT_THAT(run.output, HasSubstr("\nsystem    "));
    const Outcome json = space.run({"--version", "--json"});
    EXPECT_EQ(json.code, 0);
    for (const char* key : {"version", "build", "compiler", "system"}) {
        EXPECT_FALSE(json.json.at(key).get<std::string>().empty()) << key;
    }
}

TEST(CommandLine, HelpAndVersionAreWordsToo) {
    const RunSpace space;
    EXPECT_EQ(space.run({"help"}).output, space.run({"--help"}).output);
    EXPECT_EQ(space.run({"help", "record"}).output, space.run({"record", "--help"}).output);
    EXPECT_EQ(space.run({"help", "tdf", "list"}).output, space.run({"tdf", "list", "-h"}).output);
    EXPECT_EQ(space.run({"version"}).output, space.run({"--version"}).output);
    EXPECT_EQ(space.run({"-V"}).output, space.run({"--version"}).output);
    const std::string codes = space.run({"help", "exit-codes"}).output;
    EXPECT_THAT(codes, HasSubstr("10  done, faults were found"));
    EXPECT_TRUE(codes.ends_with('\n'));
    const std::string options = space.run({"help", "options"}).output;
    for (const char* option :
         {"--names LIST|FILE", "--color WHEN", "--force", "--strict", "--json", "--set NAME=VALUE"}) {
        EXPECT_THAT(options, HasSubstr(std::string("\n  ") + option + " "));
    }
    const Outcome wrong = space.run({"help", "recrod"});
    EXPECT_EQ(wrong.code, 2);
    EXPECT_THAT(wrong.errors, HasSubstr("there is no subcommand 'recrod'; did you mean record?"));
}

TEST(CommandLine, ColourIsWrittenWhereItIsAskedForOnly) {
    const RunSpace space;
    EXPECT_THAT(space.run({"probe", "--bench", "--color", "always"}).output, HasSubstr("\x1b[32mok"));
    EXPECT_THAT(space.run({"probe", "--bench"}).output, testing::Not(HasSubstr("\x1b")));
    EXPECT_EQ(space.run({"probe", "--color", "blue"}).code, 2);
}

TEST(CommandLine, AnUnknownScenarioHasASuggestion) {
    EXPECT_THAT(saidTo({"record", "--scenario", "bench-cabel"}), HasSubstr("; did you mean bench-cable?"));
}

TEST(Probe, SaysOfEachPartWhatIsThereAndWhatToDo) {
    const RunSpace space;
    const Outcome good = space.run({"probe", "--bench", "--json"});
    EXPECT_EQ(good.code, 0) << good.output;
    EXPECT_EQ(good.json.at("wouldStart"), true);
    EXPECT_GE(good.json.at("parts").size(), 9U);
    const Outcome bad = space.run({"probe", "--bench", "--library", space.file("none.so").string()});
    EXPECT_EQ(bad.code, 4);
    EXPECT_THAT(bad.output, HasSubstr("missing  receiver-library"));
    EXPECT_THAT(bad.output, HasSubstr("do: install it there"));
    EXPECT_THAT(bad.output, HasSubstr("a run would not start: receiver-library is missing"));
}

TEST(CommandLine, WrongUsageIsOneLineAndCodeTwo) {
    const RunSpace space;
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{},
          {"bogus"},
          {"record"},
          {"record", "--bogus"},
          {"record", "--cpu", "x"},
          {"record", "--scenario", "clean", "--seconds", "soon"},
          {"record", "--scenario", "clean", "--save", "x.bin"},
          {"record", "--scenario", "clean", "--raw", "-"},
          {"record", "--scenario", "clean", "--buffer", "3M"},
          {"record", "--scenario", "clean", "--until-full", "--wrap"},
          {"record", "--scenario", "clean", "--settings", "x.xml", "--wrap"},
          {"record", "--scenario", "clean", "--settings", "x.xml", "--pins", "2"},
          {"record", "--scenario", "clean", "--pins", "3"},
          {"record", "--scenario", "clean", "--pins", "0,1,7"},
          {"record", "--scenario", "clean", "--repeat", "0"},
          {"record", "--play", "x.bin", "--cpu", "x"},
          {"record", "--scenario", "clean", "--set"},
          {"record", "--scenario", "clean", "--set", "cpi=1", "archive=1"},
          {"calibrate"},
          {"calibrate", "--scenario", "clean", "--seconds", "1"},
          {"soak", "--seconds", "-1"},
          {"check"},
          {"check", "x", "--mode", "etm"},
          {"check", "x", "--width", "3"},
          {"check", "x", "--pattern", "lfsr"},
          {"check", "-", "--payload", "y"},
          {"pins", "--kind", "pti"},
          {"pins", "--device", "bench/app", "--kind", "etm"},
          {"pins", "--device", "bench/app", "--pins", "9"},
          {"tdf"},
          {"tdf", "list"},
          {"tdf", "create", "x.bin"},
          {"tdf", "extract", "x.tdf"}}) {
        const Outcome run = space.run(arguments);
        EXPECT_EQ(run.code, 2) << run.errors;
        EXPECT_THAT(run.output, IsEmpty());
        EXPECT_EQ(lines(run.errors), 1U) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr("--help"));
    }
}

TEST(CommandLine, WrongUsageIsAnObjectForAScriptWhereverItAsks) {
    const RunSpace space;
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--json"},
                                                      {"--json", "--bogus"},
                                                      {"--bogus", "--json"},
                                                      {"record", "--bogus", "--json"},
                                                      {"record", "--json", "--scenario"},
                                                      {"tdf", "list", "--json"}}) {
        const Outcome run = space.run(arguments);
        EXPECT_EQ(run.code, 2);
        ASSERT_TRUE(run.json.is_object()) << run.output;
        EXPECT_EQ(run.json.at("outcome"), "usage");
        EXPECT_THAT(run.errors, testing::StartsWith("orvtrace: " + run.json.at("error").at("text").get<std::string>()));
    }
}

TEST(CommandLine, JsonMayPrecedeTheSubcommand) {
    const RunSpace space;
    const Outcome ahead = space.run({"--json", "scenarios", "clean"});
    EXPECT_EQ(ahead.code, 0) << ahead.errors;
    ASSERT_TRUE(ahead.json.is_object()) << ahead.output;
    EXPECT_EQ(ahead.output, space.run({"scenarios", "clean", "--json"}).output);
}

TEST(CommandLine, WrongUsageIsReportedInTheWordsOfTheHelp) {
    EXPECT_EQ(saidTo({"recrod", "--scenario", "x"}), "orvtrace: there is no subcommand 'recrod'; did you mean record?");
    EXPECT_EQ(saidTo({"tdf", "lst"}), "orvtrace: there is no subcommand 'lst'; did you mean list?");
    EXPECT_EQ(saidTo({"bogus"}), "orvtrace: there is no subcommand 'bogus'");
    EXPECT_EQ(saidTo({"record", "--secnods", "2"}),
              "orvtrace: there is no option --secnods here; did you mean --seconds?");
    EXPECT_EQ(saidTo({"calibrate", "--scenario", "clean", "--seconds", "2"}),
              "orvtrace: there is no option --seconds here");
    EXPECT_EQ(saidTo({"tdf", "list", "a.tdf", "b.tdf"}), "orvtrace: 'b.tdf' is not expected here");
    EXPECT_EQ(saidTo({"tdf", "list"}), "orvtrace: FILE.tdf is required");
    EXPECT_EQ(saidTo({"tdf", "create", "x.bin"}), "orvtrace: FILE.tdf: the file's name must end in .tdf");
    EXPECT_EQ(saidTo({"report"}), "orvtrace: DIR|STEM is required");
    EXPECT_EQ(saidTo({"record", "--scenario"}), "orvtrace: --scenario needs a value: NAME|FILE");
    EXPECT_EQ(saidTo({"tdf"}), "orvtrace: a subcommand is required");
    for (const char* command : {"record", "calibrate", "soak"}) {
        EXPECT_EQ(saidTo({command, "--scenario", "clean", "--set", "frequencylimit=1"}),
                  "orvtrace: --set: there is no property 'frequencylimit'; did you mean frequencyLimit?");
    }
    EXPECT_EQ(saidTo({"record", "--scenario", "clean", "--set", "cpi=1", "--set", "quite=other"}),
              "orvtrace: --set: there is no property 'quite'");
    EXPECT_EQ(saidTo({"record", "--scenario", "clean", "--set", "archive=x"}),
              "orvtrace: --set: archive must be a whole number, not 'x'");
    EXPECT_EQ(saidTo({"record", "--scenario", "clean", "--set", "pinMap=0,1"}),
              "orvtrace: --set: pinMap cannot be added: it follows from pin_map of the channel settings file");
}

TEST(CommandLine, NumbersHaveOneRule) {
    for (const char* text : {"abc", "nan", "inf", "-inf", "1x", "1 ", " 1", "1,5", "--1", "0x10"}) {
        EXPECT_EQ(saidTo({"record", "--scenario", "clean", "--seconds=" + std::string(text)}),
                  "orvtrace: --seconds: '" + std::string(text) + "' is not a time, such as 2, 500ms or 1min");
        EXPECT_EQ(saidTo({"record", "--scenario", "clean", "--verify", "--error-rate=" + std::string(text)}),
                  "orvtrace: --error-rate: '" + std::string(text) + "' is not a number");
    }
    EXPECT_EQ(saidTo({"check", "x", "--clock", "50mHz"}),
              "orvtrace: --clock: '50mHz' is not a rate, such as 50e6 or 50MHz");
    EXPECT_EQ(saidTo({"record", "--scenario", "clean", "--seconds", "300h"}),
              "orvtrace: --seconds: must be from 0 to 1000000");
    for (const char* text : {"-0.1", "1000001", "1e7", "1e300"}) {
        EXPECT_EQ(saidTo({"record", "--scenario", "clean", "--seconds=" + std::string(text)}),
                  "orvtrace: --seconds: must be from 0 to 1000000");
    }
    for (const char* text : {"1.5", "1e3", "x", "0x10"}) {
        EXPECT_EQ(saidTo({"record", "--scenario", "clean", "--repeat", text}),
                  "orvtrace: --repeat: '" + std::string(text) + "' is not a whole number");
    }
    for (const char* text : {"0", "-1", "10000", "99999999999999999999"}) {
        EXPECT_EQ(saidTo({"record", "--scenario", "clean", "--repeat=" + std::string(text)}),
                  "orvtrace: --repeat: must be from 1 to 9999");
    }
    EXPECT_EQ(saidTo({"burst", "x", "--to", "0"}), "orvtrace: --to: must be from 1 to 1000000000");
    EXPECT_EQ(saidTo({"tdf", "create", "x.tdf", "--data", "y", "--version", "4294967296"}),
              "orvtrace: --version: must be from 0 to 4294967295");
}

TEST(CommandLine, WholeNumbersAreDecimal) {
    const RunSpace space;
    const std::string file = space.file("a.tdf").string();
    const std::string data = space.write("data", "x").string();
    ASSERT_EQ(space.run({"tdf", "create", file, "--data", data, "--version", "010"}).code, 0);
    EXPECT_EQ(space.run({"tdf", "list", file, "--json"}).json.at("sections").at(0).at("version"), 10);
}

TEST(CommandLine, AFailureIsOneJsonObjectForAScript) {
    const RunSpace space;
    const Outcome run = space.run({"tdf", "list", "--json", space.file("none.tdf").string()});
    EXPECT_EQ(run.code, 3);
    ASSERT_TRUE(run.json.is_object()) << run.output;
    EXPECT_EQ(run.json.at("outcome"), "bad-input");
    EXPECT_EQ(run.json.at("exitCode"), 3);
    EXPECT_THAT(run.json.at("error").at("text").get<std::string>(), HasSubstr("none.tdf"));
}

TEST(ScenarioList, NamesEveryScenario) {
    const RunSpace space;
    const Outcome told = space.run({"scenarios", "--json"});
    ASSERT_EQ(told.code, 0) << told.errors;
    const std::string text = space.run({"scenarios"}).output;
    EXPECT_GE(told.json.at("scenarios").size(), 19U);
    for (const nlohmann::json& scenario : told.json.at("scenarios")) {
        EXPECT_FALSE(scenario.at("about").get<std::string>().empty());
        EXPECT_FALSE(scenario.at("expect").at("outcome").is_null()) << scenario;
        EXPECT_THAT(text, HasSubstr(scenario.at("name").get<std::string>() + " "));
    }
}

TEST(ScenarioList, OneIsExplained) {
    const RunSpace space;
    const Outcome told = space.run({"scenarios", "stuck-pin"});
    EXPECT_EQ(told.code, 0) << told.errors;
    EXPECT_THAT(told.output, HasSubstr("is stuck at "));
    EXPECT_THAT(told.output, testing::ContainsRegex("outcome  calibration-refused: failed to calibrate channel\r?\n"));
    EXPECT_THAT(told.output, HasSubstr("orvtrace record --scenario stuck-pin"));
    const Outcome unknown = space.run({"scenarios", "stuck"});
    EXPECT_EQ(unknown.code, 3);
    EXPECT_THAT(unknown.errors, HasSubstr("stuck-pin")) << "the known ones are listed";
}

TEST(Inputs, MissingAndDamagedFilesAreCodeThreeAndNamed) {
    const RunSpace space;
    const std::string damaged = space.write("damaged.toml", "name = \"x\ncpu = 1").string();
    const std::string empty = space.write("empty.bin", "").string();
    const std::string noSettings = space.write("no-settings.xml", "<a>\n</a>\n").string();
    for (const std::vector<std::string>& more : {std::vector<std::string>{"--scenario", "no-such"},
                                                 {"--scenario", damaged},
                                                 {"--scenario", "clean", "--settings", "no-such.xml"},
                                                 {"--scenario", "clean", "--settings", noSettings},
                                                 {"--scenario", "clean", "--play", empty},
                                                 {"--scenario", "clean", "--play", "no-such.bin"}}) {
        std::vector<std::string> arguments{"record", "--out", space.file("run").string()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome run = space.run(arguments);
        EXPECT_EQ(run.code, 3) << run.errors;
        EXPECT_EQ(lines(run.errors), 1U) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr(more.back()));
        EXPECT_FALSE(std::filesystem::exists(space.file("run"))) << "nothing may be started";
    }
}

TEST(Inputs, AFolderInABurstsPlaceNamesTheBurstsInIt) {
    const RunSpace space;
    const auto folder = space.file("run");
    const std::vector<std::string> arguments{"burst", folder.string(), "--vcd", space.file("x.vcd").string()};
    std::filesystem::create_directories(folder / "data");
    EXPECT_THAT(space.run(arguments).errors, HasSubstr(" is a folder without a burst"));
    EXPECT_EQ(space.run({"bursts", folder.string()}).code, 3);
    const auto second = space.write("run/data/b.cap.txt", "");
    const auto first = space.write("run/data/a.freq1.cap.txt", "");
    const Outcome run = space.run(arguments);
    EXPECT_EQ(run.code, 3);
    EXPECT_THAT(run.errors, HasSubstr(" is a folder; name one of its bursts: "));
    EXPECT_LT(run.errors.find("a.freq1.cap.txt"), run.errors.find("b.cap.txt")) << run.errors;
}

TEST(Outputs, ExistingOnesAreCodeEightBeforeAnythingStarts) {
    const RunSpace space;
    const auto file = space.write("old.tdf", "kept");
    const Outcome run = space.record("clean", {"--save", file.string()});
    EXPECT_EQ(run.code, 8) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("--force"));
    EXPECT_EQ(lines(run.errors), 1U) << run.errors;
    EXPECT_EQ(readBytes(file), "kept");
    EXPECT_FALSE(std::filesystem::exists(space.file("run") / "bench"));
}

TEST(Outputs, UnwritableOnesAreCodeNineBeforeAnythingStarts) {
    const RunSpace space;
    const auto wall = space.write("wall", "");
    const Outcome run = space.record("clean", {"--raw", (wall / "x.bin").string()});
    EXPECT_EQ(run.code, 9) << run.errors;
    EXPECT_FALSE(std::filesystem::exists(space.file("run") / "bench"));
}

} // namespace
