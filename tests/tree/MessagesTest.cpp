#include "tests/tree/Messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The document that explains every message, and the code that says them.

namespace tree {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr const char* document = "docs/troubleshooting.md";

const Files& sources() {
    static const Files files = readFiles(ORV_SOURCE_ROOT);
    return files;
}

std::vector<std::string> textsOf(const std::vector<Literal>& literals) {
    std::vector<std::string> texts;
    for (const Literal& literal : literals) {
        texts.push_back(literal.text);
    }
    return texts;
}

} // namespace

TEST(MessageRules, PiecesStandBetweenValues) {
    EXPECT_THAT(piecesOf("cpu %s has %3.0f%% of %-20s.\n", true), ElementsAre("cpu", "has", "% of", "."));
    EXPECT_THAT(piecesOf("pin <number> of <cpu name>: 50% off", false), ElementsAre("pin", "of", ": 50% off"));
    EXPECT_THAT(piecesOf("{:g} Hz of {}: {:04x}.\n", true), ElementsAre("Hz of", ":", "."));
    EXPECT_THAT(piecesOf("usage: server 1 <port>\n", true), ElementsAre("usage: server 1"));
}

TEST(MessageRules, LiteralsAreReadAsTheCompilerDoes) {
    EXPECT_THAT(textsOf(literalsOf("#include \"a.h\"\n// \"b\"\n/* \"c\" */ f(\"d\\\"e\" \"f\", '\"', 1'000, \"g\");")),
                ElementsAre("d\"ef", "g"));
}

TEST(MessageRules, TextsThatASourceReportsAreFound) {
    const std::string source =
        "constexpr const char* name = \"named\";\n"
        "const char* other = \"kept\";\n"
        "void a() { if (b(\"asked\")) fail(unit, eFAIL, \"failed \" + c(1) + \" here\"); }\n"
        "void d() { throw Failure(name); }\n"
        "void e() { std::fprintf(stderr, \"printed %d\\n\", 1); std::fprintf(file, \"written\"); }\n"
        "void f() { std::cerr << \"said\" << 1 << \"loud\"; std::cout << \"shown\"; }\n";
    EXPECT_THAT(textsOf(reportedTexts(source)),
                ElementsAre("failed ", " here", "named", "printed %d\n", "said", "loud"));
}

TEST(MessageRules, AMessageThatNothingSaysIsFound) {
    const Files files{{"doc.md", "| `no pin <number> here` | a |\n| `no pin <number> there` | b |\n`not in a table`\n"},
                      {"rcvr/a.cpp", "f(\"no pin \" + n + \" here\");\n"}};
    EXPECT_THAT(messagesThatNothingSays(files, "doc.md"), ElementsAre("doc.md:2: nothing says no pin <number> there"));
}

TEST(MessageRules, AMessageThatNothingExplainsIsFound) {
    const Files files{
        {"doc.md", "| `no pin <number> here` | a |\n"},
        {"rcvr/a.cpp", "void a() { throw E(\"no pin \" + n + \" here\"); }\n\nvoid b() { fail(\"lost\"); }"},
        {"tests/b.cpp", "void c() { fail(\"elsewhere\"); }\n"}};
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md"), ElementsAre("rcvr/a.cpp:3: not in doc.md: lost"));
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md", {{"lost", "known"}}), IsEmpty());
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md", {{"lost", "known"}, {"never", "said"}}),
                ElementsAre("no message holds the exception: never"));
}

TEST(MessageRules, ASentenceIsAMessageWhereverItStands) {
    const auto breachesOf = [](const std::string& source) {
        return messagesThatNothingExplains({{"doc.md", ""}, {"host/a.cpp", source}}, "doc.md");
    };
    EXPECT_THAT(breachesOf("std::string a() { return b ? \"the \" \"wire\" : \"no-wire\"; }"),
                ElementsAre("host/a.cpp:1: not in doc.md: the wire"));
    EXPECT_THAT(breachesOf("constexpr std::array a{Entry{1, \"quite new\"}};\n"), SizeIs(1));
    EXPECT_THAT(breachesOf("out << \"<p class=\\\"hint one\\\">a new hint</p>\";\n"),
                ElementsAre("host/a.cpp:1: not in doc.md: a new hint"));
    EXPECT_THAT(breachesOf("logStep(here(), \"done\");\n"), ElementsAre("host/a.cpp:1: not in doc.md: done"));
    EXPECT_THAT(breachesOf("syntax.addFlag(\"--x\", x, \"Do the thing\"); static_assert(a, \"is so\");\n"), IsEmpty());
    EXPECT_THAT(breachesOf("f(\"one\"); g(\", x\"); // it is \"in here\"\n"), IsEmpty());
}

TEST(MessageRules, SentencesOfAnExceptedSourceCountWhenTheyAreReported) {
    const Files files{{"doc.md", ""}, {"host/a.cpp", "f(\"unit id\");\nvoid a() { throw E(\"not there\"); }\n"}};
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md", {}, {{"host/a.cpp", "names"}}),
                ElementsAre("host/a.cpp:2: not in doc.md: not there"));
    EXPECT_THAT(messagesThatNothingExplains({{"doc.md", ""}}, "doc.md", {}, {{"host/a.cpp", "names"}}),
                ElementsAre("no message holds the exception: host/a.cpp"));
}

TEST(MessageRules, RowsAreSortedByTheirFirstFixedWord) {
    const Files files{{"doc.md", "| message | meaning |\n|---|---|\n| `<a> apple` | x |\n| `, Bread` | x |\n"
                                 "\n| text | x |\n|---|---|\n| `z` | x |\n| `y` | x |\n"
                                 "\n| message | x |\n|---|---|\n| `b` | x |\n| `a` | x |\n| `z` | x |\n"}};
    EXPECT_THAT(rowsOutOfOrder(files, "doc.md"),
                ElementsAre("doc.md:14: out of order: a", "doc.md:15: stands twice: z"));
}

TEST(MessageRules, HeadingsOutsideTheIndexAreFound) {
    const Files files{{"doc.md", "# A\n| [B](#b) | [C](#c) |\n\n## B\n\n### C\n\n### D\n"}};
    EXPECT_THAT(headingsOutsideTheIndex(files, "doc.md"), ElementsAre("doc.md: not in the index: D"));
}

TEST(Messages, OfTheDocumentAreSpelledInTheCode) {
    EXPECT_GT(messagesOf(sources().at(document)).size(), 600U);
    EXPECT_THAT(messagesThatNothingSays(sources(), document), IsEmpty());
}

// A new message needs its row in the document: what it means and what to do.
TEST(Messages, OfTheCodeAreExplainedInTheDocument) {
    EXPECT_THAT(messagesThatNothingExplains(sources(), document, piecesThatAreNoMessages(), filesWithoutMessages()),
                IsEmpty());
}

TEST(Messages, CanBeLookedUp) {
    EXPECT_THAT(rowsOutOfOrder(sources(), document), IsEmpty());
    EXPECT_THAT(headingsOutsideTheIndex(sources(), document), IsEmpty());
}

} // namespace tree
