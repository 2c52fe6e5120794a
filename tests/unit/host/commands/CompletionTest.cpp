#include "host/commands/Completion.h"

#include <gmock/gmock.h>

namespace host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const CommandFacts& program() {
    static const CommandFacts all = [] {
        CommandFacts list{"list", "Print the sections", "", {{"FILE.tdf", "", "FILE.tdf", "", {}, true}}, {}, {}};
        CommandFacts tdf{"tdf", "Files", "", {}, {{"--help", "-h", "", "Print this help", {}}}, {list}};
        CommandFacts record{"record",
                            "Record",
                            "",
                            {{"NAME", "", "NAME", "", {}}, {"DIR", "", "DIR", "", {}}},
                            {{"--help", "-h", "", "Print this help", {}},
                             {"--mode", "", "KIND", "Kind", {"pti", "tpiu"}},
                             {"--set", "", "NAME=VALUE", "Set", {}, false, true},
                             {"--save", "-s", "FILE", "Save", {}}},
                            {}};
        return CommandFacts{"orvtrace", "", "", {}, {{"--json", "", "", "JSON", {}}}, {record, tdf}};
    }();
    return all;
}

std::vector<std::string> valuesOf(const std::string& name) {
    return name == "NAME=VALUE" ? std::vector<std::string>{"delays=", "cpi="} : std::vector<std::string>{};
}

std::vector<std::string> wordsFor(const std::vector<std::string>& line) {
    std::vector<std::string> words;
    for (const Candidate& candidate : candidatesFor(program(), line, valuesOf)) {
        words.push_back(candidate.word);
    }
    return words;
}

TEST(Completion, SubcommandsComeWithTheirLineOfTheHelp) {
    EXPECT_THAT(candidatesFor(program(), {"re"}, valuesOf), ElementsAre(Candidate{"record", "Record"}));
    EXPECT_THAT(wordsFor({""}), ElementsAre("record", "tdf"));
    EXPECT_THAT(wordsFor({}), ElementsAre("record", "tdf"));
    EXPECT_THAT(wordsFor({"--json", "t"}), ElementsAre("tdf"));
    EXPECT_THAT(wordsFor({"tdf", ""}), ElementsAre("list"));
    EXPECT_THAT(wordsFor({"-"}), ElementsAre("--json"));
}

TEST(Completion, OptionsAreThoseOfTheSubcommandOnceEachUnlessRepeatable) {
    EXPECT_THAT(wordsFor({"record", "--"}), ElementsAre("--help", "--mode", "--set", "--save"));
    EXPECT_THAT(wordsFor({"record", "--mode", "pti", "--set", "cpi=1", "-s", "x", "--"}),
                ElementsAre("--help", "--set"));
    EXPECT_THAT(wordsFor({"record", "--mode=pti", "--m"}), IsEmpty());
    EXPECT_THAT(wordsFor({"tdf", "list", "x.tdf", ""}), IsEmpty());
}

TEST(Completion, ValuesAreChoicesOwnOnesOrFiles) {
    EXPECT_THAT(wordsFor({"record", "--mode", ""}), ElementsAre("pti", "tpiu"));
    EXPECT_THAT(wordsFor({"record", "--mode", "t"}), ElementsAre("tpiu"));
    EXPECT_THAT(wordsFor({"record", "--set", "d"}), ElementsAre("delays="));
    EXPECT_THAT(wordsFor({"record", "-s", "x"}), ElementsAre(completeFiles));
    EXPECT_THAT(wordsFor({"tdf", "list", ""}), ElementsAre(completeFiles));
}

TEST(Completion, ArgumentsAreCounted) {
    EXPECT_THAT(wordsFor({"record", "--json", "name", ""}), ElementsAre(completeFolders));
    EXPECT_THAT(wordsFor({"record", "--mode", "pti", "name", "folder", ""}), ElementsAre("--help", "--set", "--save"));
}

TEST(Completion, AValueMayShareTheOptionsWord) {
    EXPECT_THAT(wordsFor({"record", "--mode=t"}), ElementsAre("--mode=tpiu"));
    EXPECT_THAT(wordsFor({"record", "--mode="}), ElementsAre("--mode=pti", "--mode=tpiu"));
    EXPECT_THAT(wordsFor({"record", "--mode", "=", "t"}), ElementsAre("--mode=tpiu")) << "as bash splits it";
    EXPECT_THAT(wordsFor({"record", "--mode", "="}), ElementsAre("--mode=pti", "--mode=tpiu"));
    EXPECT_THAT(wordsFor({"record", "--bogus=t"}), IsEmpty());
}

} // namespace
} // namespace host
