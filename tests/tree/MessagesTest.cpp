#include "tests/tree/Messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The document that explains every message, and the code that says them.

namespace tree {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* document = "docs/troubleshooting.md";

const Files& sources() {
    static const Files files = readFiles(ORV_SOURCE_ROOT);
    return files;
}

const std::vector<Exception>& exceptions() {
    static const std::vector<Exception> all{
        {"ORV Receiver", "a label in front of log lines"},
        {"OrvRcvr :", "a label in front of a log line"},
        {"AllocateChannel", "the operation's name in a log line"},
        {"orv_client_utilities", "the source unit's name, which goes into the place of an error"},
        {"reading", "a word that is filled in"},
        {"writing", "a word that is filled in"},
        {"pause", "the name of a mode in the condition of a call"},
        {"glitch_length", "the key that the failure is about"},
        {"command", "the key that the failure is about"},
        {"action", "the key that the failure is about"},
        {"against the other pin", "behind a finding about an early or late pin"},
        {"against most other pins", "behind a finding about an early or late pin"},
        {"Sample", "the heading that is filled in"},
        {"orvtrace:", "in front of each line of orvtrace"},
        {"Exit codes:", "the heading of a table"},
        {"section", "a word that is counted"},
        {"data pin", "a word that is counted"},
        {"word", "a word that is counted"},
    };
    return all;
}

std::vector<std::string> textsOf(const std::vector<Literal>& literals) {
    std::vector<std::string> texts;
    for (const Literal& literal : literals)
        texts.push_back(literal.text);
    return texts;
}

} // namespace

TEST(MessageRules, PiecesStandBetweenValues) {
    EXPECT_THAT(piecesOf("cpu %s has %3.0f%% of %-20s.\n", true), ElementsAre("cpu", "has", "% of", "."));
    EXPECT_THAT(piecesOf("pin <number> of <cpu name>: 50% off", false), ElementsAre("pin", "of", ": 50% off"));
    EXPECT_THAT(piecesOf("usage: server 1 <port>\n", true), ElementsAre("usage: server 1"));
}

TEST(MessageRules, LiteralsAreReadAsTheCompilerDoes) {
    EXPECT_THAT(textsOf(literalsOf("#include \"a.h\"\n// \"b\"\n/* \"c\" */ f(\"d\\\"e\" \"f\", '\"', 1'000, \"g\");")),
                ElementsAre("d\"ef", "g"));
}

TEST(MessageRules, TextsThatLeaveASourceAreFound) {
    const std::string source =
        "constexpr const char* name = \"named\";\n"
        "const char* other = \"kept\";\n"
        "void a() { if (b(\"asked\")) fail(unit, eFAIL, \"failed \" + c(1) + \" here\"); }\n"
        "void d() { throw Failure(name); }\n"
        "void e() { std::fprintf(stderr, \"printed %d\\n\", 1); std::fprintf(file, \"written\"); }\n"
        "void f() { std::cerr << \"said\" << 1 << \"loud\"; std::cout << \"shown\"; }\n";
    EXPECT_THAT(textsOf(thrownTexts(source)), ElementsAre("failed ", " here", "named", "printed %d\n", "said", "loud"));
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
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md", {}), ElementsAre("rcvr/a.cpp:3: not in doc.md: lost"));
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md", {{"lost", "known"}}), IsEmpty());
    EXPECT_THAT(messagesThatNothingExplains(files, "doc.md", {{"lost", "known"}, {"never", "said"}}),
                ElementsAre("no message holds the exception: never"));
}

TEST(Messages, OfTheDocumentAreSpelledInTheCode) {
    EXPECT_GT(messagesOf(sources().at(document)).size(), 100U);
    EXPECT_THAT(messagesThatNothingSays(sources(), document), IsEmpty());
}

// A new message needs its row in the document: what it means and what to do.
TEST(Messages, OfTheCodeAreExplainedInTheDocument) {
    EXPECT_THAT(messagesThatNothingExplains(sources(), document, exceptions()), IsEmpty());
}

} // namespace tree
