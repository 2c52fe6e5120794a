#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// Faults of a scenario are reported before anything starts, in the words of the server that reads it.

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

struct Wrong {
    const char* text;
    const char* reported; ///< after "FILE:"
};

constexpr Wrong wrongScenarios[]{
    {"name = \"x\"\ncpu = \"bench/app\"\nspeed = 2\n", "3: 'speed' is not known here; known are name, about, cpu, "},
    {"cpu = \"bench/app\"\n[wiring]\n[[wiring.pin]]\nemu = 1\nslew = 2\n",
     "5: 'wiring.pin.slew' is not known here; known are emu, skew, "},
    {"cpu = \"bench/app\"\npins = \"four\"\n", "2: 'pins' must be a whole number from 1 to 7"},
    {"cpu = 5\n", "1: 'cpu' must be a text"},
    {"cpu = \"bench/app\"\n[settings]\nbuffer = 10\n", "3: 'settings.buffer' must be a whole number from 0 to 9"},
    {"cpu = \"bench/app\"\nkind = \"stm\"\n", "2: 'kind' must be one of \"pti\", \"tpiu\", \"tpiulite\""},
    {"cpu = \"bench/app\"\n[server]\nspeed = 0\n", "3: 'server.speed' must be a number from 1e-06 to 1000000"},
    {"cpu = \"bench/app\"\n[[faults.at]]\naction = \"vanish\"\n", "3: 'faults.at.action' must be one of die, close, "},
    {"cpu = \"bench/app\"\npins = \n", "2: Error while parsing "},
    {"cpu = \"bench/app\"\n[settings\n", "2: Error while parsing "},
};

TEST(BadScenario, FileLineKeyAndWhatIsAllowedAreOneLineAndNothingStarts) {
    const RunSpace space;
    for (const Wrong& wrong : wrongScenarios) {
        const auto file = space.write("my own.toml", wrong.text);
        const Outcome run = space.record(file.string());
        EXPECT_EQ(run.code, 3) << run.errors;
        EXPECT_THAT(run.errors, StartsWith("orvtrace: " + file.string() + ":" + wrong.reported));
        EXPECT_EQ(lines(run.errors), 1U) << run.errors;
        EXPECT_EQ(run.json.at("outcome"), "bad-input");
        EXPECT_THAT(run.json.at("error").at("text").get<std::string>(), HasSubstr(wrong.reported));
        EXPECT_FALSE(std::filesystem::exists(space.file("run")));
    }
}

TEST(BadScenario, EveryCommandThatTakesOneTellsTheSame) {
    const RunSpace space;
    const auto file = space.write("my.toml", "cpu = \"fpga\"\nspeed = 2\n");
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"record", "--scenario", file.string()},
                                                      {"calibrate", "--scenario", file.string()},
                                                      {"soak", "--scenario", file.string()},
                                                      {"scenarios", file.string()}}) {
        const Outcome run = space.run(arguments);
        EXPECT_EQ(run.code, 3) << run.errors;
        EXPECT_THAT(run.errors, StartsWith("orvtrace: " + file.string() + ":2: 'speed' is not known here"));
        EXPECT_EQ(lines(run.errors), 1U) << run.errors;
        EXPECT_THAT(run.output, IsEmpty());
    }
}

} // namespace
