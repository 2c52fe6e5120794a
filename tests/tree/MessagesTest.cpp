#include "tests/tree/ExpectNone.h"
#include "tests/tree/Messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The document that explains the messages, and the code that holds them.

namespace tree {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr const char* document = "docs/troubleshooting.md";

std::vector<std::string> textsOf(const std::vector<Literal>& literals) {
    std::vector<std::string> texts;
    for (const Literal& literal : literals) {
        texts.push_back(literal.text);
    }
    return texts;
}

} // namespace

TEST(MessageRules, PiecesAreTheTextsBetweenValues) {
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
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md", {{"known", {"lost"}}}), IsEmpty());
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md", {{"known", {"lost", "never"}}}),
                ElementsAre("no message holds the exception: never"));
}

TEST(MessageRules, StepsOfTheLogAreNoMessagesButItsErrorsAre) {
    const Files files{{"doc.md", ""},
                      {"client/a.cpp",
                       "void a() { logStep(here(), \"called ds_start\"); logMessage(\"opened a file\"); }\n"
                       "void b() { logStepError(here(), \"lost\"); }\n"
                       "void c() { logWarning(\"half\"); }\n"}};
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md"),
                ElementsAre("client/a.cpp:2: not in doc.md: lost", "client/a.cpp:3: not in doc.md: half"));
}

TEST(MessageRules, TheTextOfAFindingIsAMessageButNotItsEvidence) {
    const Files files{{"doc.md", ""},
                      {"diagnosis/doctor/a.cpp", "finding.text = pin + \" is stuck\";\n"
                                                 "finding.text += \" again\";\n"
                                                 "finding.remedy = \"Look at the wire.\";\n"
                                                 "finding.evidence.push_back(\"burst of \" + name);\n"}};
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md"),
                ElementsAre("diagnosis/doctor/a.cpp:1: not in doc.md: is stuck",
                            "diagnosis/doctor/a.cpp:2: not in doc.md: again"));
}

TEST(MessageRules, ASentenceIsAMessageAnywhere) {
    const auto breachesOf = [](const std::string& source) {
        return messagesThatNothingExplains({{"doc.md", ""}, {"host/a.cpp", source}}, "doc.md");
    };
    EXPECT_THAT(breachesOf("std::string a() { return b ? \"the \" \"wire\" : \"no-wire\"; }"),
                ElementsAre("host/a.cpp:1: not in doc.md: the wire"));
    EXPECT_THAT(breachesOf("constexpr std::array a{Entry{1, \"quite new\"}};\n"), SizeIs(1));
    EXPECT_THAT(breachesOf("syntax.addFlag(\"--x\", x, \"Do the thing\"); static_assert(a, \"is so\");\n"), IsEmpty());
    EXPECT_THAT(breachesOf("f(\"one\"); g(\", x\"); // it is \"in here\"\n"), IsEmpty());
}

TEST(MessageRules, InAnAreaOfReportedTextsSentencesAreNoMessages) {
    const std::vector<Area> areas{{"host/", Scope::sentences, ""}, {"host/page/", Scope::reported, "a page"}};
    const Files files{{"doc.md", ""},
                      {"host/page/a.cpp", "f(\"unit id\");\nvoid a() { throw E(\"not there\"); }\n"},
                      {"host/b.cpp", "f(\"unit id\");\n"}};
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md", {}, areas),
                ElementsAre("host/b.cpp:1: not in doc.md: unit id", "host/page/a.cpp:2: not in doc.md: not there"));
}

TEST(MessageRules, AreasAndSourcesFit) {
    const std::vector<Area> areas{{"host/", Scope::sentences, ""}, {"gone/", Scope::reported, "moved"}};
    const Files files{{"host/a.cpp", ""}, {"new/b.cpp", ""}, {"README.md", ""}};
    EXPECT_THAT(areasThatDoNotFit(files, areas),
                ElementsAre("new/b.cpp: in no area of messages", "no source is in the area gone/"));
}

TEST(MessageRules, RowsAreSortedByTheirFirstFixedWord) {
    const Files files{{"doc.md", "| message | meaning |\n|---|---|\n| `<a> apple` | x |\n| `, Bread` | x |\n"
                                 "\n| text | x |\n|---|---|\n| `z` | x |\n| `y` | x |\n"
                                 "\n| message | x |\n|---|---|\n| `b` | x |\n| `a` | x |\n| `z` | x |\n"}};
    EXPECT_THAT(rowsOutOfOrder(files, "doc.md"),
                ElementsAre("doc.md:14: out of order: a", "doc.md:15: begins two rows: z"));
}

TEST(MessageRules, HeadingsOutsideTheIndexAreFound) {
    const Files files{{"doc.md", "# A\n| [B](#b) | [C](#c) |\n\n## B\n\n### C\n\n### D\n"}};
    EXPECT_THAT(headingsOutsideTheIndex(files, "doc.md"), ElementsAre("doc.md: not in the index: D"));
}

TEST(Messages, OfTheDocumentAreSpelledInTheCode) {
    EXPECT_GT(messagesOf(sourcesOfThisTree().at(document)).size(), 400U);
    expectNone(messagesThatNothingSays(sourcesOfThisTree(), document));
}

// A new message needs its row in the document: what it means and what to do.
TEST(Messages, OfTheCodeAreExplainedInTheDocument) {
    expectNone(messagesThatNothingExplains(sourcesOfThisTree(), document, piecesThatAreNoMessages()));
}

// A folder that is moved or added has to be named there, or its messages would go unchecked.
TEST(Messages, AreLookedForInEverySource) {
    expectNone(areasThatDoNotFit(sourcesOfThisTree(), messageAreas()));
}

TEST(Messages, CanBeLookedUp) {
    expectNone(rowsOutOfOrder(sourcesOfThisTree(), document));
    expectNone(headingsOutsideTheIndex(sourcesOfThisTree(), document));
}

} // namespace tree
