#include "common/source/Exception.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <utility>

namespace VX_QRS::ORV::CLIENT {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

// Records its calls and runs an optional action in each.
class Recorder : public Property {
public:
    void setProperty(const char* name, const char* value) override {
        seen.emplace_back(name, value);
        if (reaction) {
            reaction(name, value);
        }
    }
    void getProperty(const char*, const char**) override {}

    Pairs seen;
    std::function<void(const std::string&, const std::string&)> reaction;
};

template <class Call>
void expectFailure(Call call, Status status, const std::string& detail) {
    try {
        call();
        ADD_FAILURE() << "no failure was thrown";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), status);
        EXPECT_EQ(e.detail(), detail);
    }
}

class PropertyParserTest : public testing::Test {
protected:
    void readText(const std::string& text) { parser.readFile(folder.write("props", text).c_str()); }

    // All pairs of the current section.
    Pairs section() {
        Pairs pairs;
        for (std::uint32_t i = 0; i < parser.countLines(); ++i) {
            const char* key = nullptr;
            const char* value = nullptr;
            parser.getLine(i, &key, &value);
            pairs.emplace_back(key, value);
        }
        return pairs;
    }

    Pairs whole(const std::string& text) {
        readText(text);
        parser.setSection(nullptr);
        return section();
    }

    std::string value(const char* key) {
        const char* text = nullptr;
        parser.getValue(key, &text);
        return text;
    }

    test_support::TemporaryFolder folder;
    PropertyParser_1 parser;
};

TEST_F(PropertyParserTest, LongLineIsCutAndItsRestBecomesAKey) {
    const Pairs pairs = whole("k=" + std::string(1998, 'v') + "\nnext=1\n");
    ASSERT_EQ(pairs.size(), 3U);
    EXPECT_EQ(pairs[0], std::make_pair(std::string("k"), std::string(1021, 'v')));
    EXPECT_EQ(pairs[1], std::make_pair(std::string(977, 'v'), std::string()));
    EXPECT_EQ(pairs[2].first, "next");
}

TEST_F(PropertyParserTest, LineOfExactlyTheLimitStaysWhole) {
    const Pairs pairs = whole(std::string(1023, 'k') + "\r\n" + std::string(1024, 'j') + "\n");
    ASSERT_EQ(pairs.size(), 3U);
    EXPECT_EQ(pairs[0].first.size(), 1023U);
    EXPECT_EQ(pairs[1].first.size(), 1023U);
    EXPECT_EQ(pairs[2].first, "j");
}

TEST_F(PropertyParserTest, LinesAreSplitAtTheFirstEqualsSign) {
    EXPECT_EQ(whole("key=\n=value\na=b=c\nalone\n"), (Pairs{{"key", ""}, {"", "value"}, {"a", "b=c"}, {"alone", ""}}));
}

TEST_F(PropertyParserTest, CommentsAndBlankLinesAreDropped) {
    EXPECT_EQ(whole("#a=1\n\n \t \n #b=2\nc=3#4\n"), (Pairs{{" #b", "2"}, {"c", "3#4"}}));
}

TEST_F(PropertyParserTest, TrailingBlanksGoAndLeadingOnesBelongToTheKey) {
    EXPECT_EQ(whole(" \ta= b \t \n"), (Pairs{{" \ta", " b"}}));
}

TEST_F(PropertyParserTest, EveryKindOfLineEndEndsALine) {
    EXPECT_EQ(whole("a=1\r\nb=2\rc=3\nd=4"), (Pairs{{"a", "1"}, {"b", "2"}, {"c", "3"}, {"d", "4"}}));
}

TEST_F(PropertyParserTest, TextEndsAtAZeroByte) {
    using namespace std::string_literals;
    EXPECT_EQ(whole("a=1\0b=2\nc=3\0\n\0\n"s), (Pairs{{"a", "1"}, {"c", "3"}}));
}

TEST_F(PropertyParserTest, SectionRunsToTheNextHeader) {
    readText("free=0\n[Global]\na=1\nb=2\n[Channel 0]\nc=3\n");
    parser.setSection("Global");
    EXPECT_EQ(section(), (Pairs{{"a", "1"}, {"b", "2"}}));
    parser.setSection("Channel 0");
    EXPECT_EQ(section(), (Pairs{{"c", "3"}}));
    EXPECT_EQ(parser.countLines(), 1U);
}

TEST_F(PropertyParserTest, SectionNameIsSearchedAsAPartOfTheHeader) {
    readText("[Channel 10]\nten=1\n[Channel 1]\none=1\nChannel 2=x\n");
    parser.setSection("Channel 1");
    EXPECT_EQ(section(), (Pairs{{"ten", "1"}}));
    EXPECT_EQ(parser.countSections("Channel"), 2U);
    EXPECT_EQ(parser.countSections("Channel 10"), 1U);
    EXPECT_EQ(parser.countSections("Channel 2"), 0U);
    EXPECT_EQ(parser.countSections(""), 2U);
}

TEST_F(PropertyParserTest, NullSectionIsTheWholeFileHeadersIncluded) {
    readText("[A]\na=1\n[B=x]\n");
    parser.setSection(nullptr);
    EXPECT_EQ(parser.countLines(), 3U);
    EXPECT_EQ(section(), (Pairs{{"[A]", ""}, {"a", "1"}, {"[B", "x]"}}));
    Recorder object;
    object.reaction = [](const std::string& name, const std::string&) {
        if (name.starts_with('[')) {
            fail("test", eNAME, name);
        }
    };
    parser.apply(&object);
    EXPECT_EQ(object.seen, (Pairs{{"[A]", ""}, {"a", "1"}, {"[B", "x]"}}));
}

TEST_F(PropertyParserTest, MissingSectionFailsAndLeavesNone) {
    readText("[A]\na=1\n");
    parser.setSection("A");
    expectFailure([&] { parser.setSection("B"); }, eCONFIG, "B");
    expectFailure([&] { parser.countLines(); }, eSEQUENCE, "must call setSection first");
}

TEST_F(PropertyParserTest, EmptySectionCountsAsNone) {
    readText("[A]\n[B]\nb=1\n");
    parser.setSection("A");
    const char* text = nullptr;
    Recorder object;
    expectFailure([&] { parser.countLines(); }, eSEQUENCE, "must call setSection first");
    expectFailure([&] { parser.getLine(0, &text, &text); }, eSEQUENCE, "must call setSection first");
    expectFailure([&] { parser.getValue("b", &text); }, eSEQUENCE, "must call setSection first");
    expectFailure([&] { parser.apply(&object); }, eSEQUENCE, "must call setSection first");
}

TEST_F(PropertyParserTest, WithoutAFileThereAreNoSections) {
    EXPECT_EQ(parser.getFileName(), nullptr);
    expectFailure([&] { parser.setSection("A"); }, eSEQUENCE, "must call readFile first");
    expectFailure([&] { parser.setSection(nullptr); }, eSEQUENCE, "must call readFile first");
    expectFailure([&] { parser.countSections("A"); }, eSEQUENCE, "must call readFile first");
    expectFailure([&] { parser.countLines(); }, eSEQUENCE, "must call setSection first");
}

TEST_F(PropertyParserTest, ReadingAgainForgetsLinesAndSection) {
    EXPECT_EQ(whole("a=1\n").size(), 1U);
    readText("b=2\n");
    expectFailure([&] { parser.countLines(); }, eSEQUENCE, "must call setSection first");
    parser.setSection(nullptr);
    EXPECT_EQ(section(), (Pairs{{"b", "2"}}));
}

TEST_F(PropertyParserTest, NullPathForgetsTheLinesAndKeepsTheName) {
    readText("a=1\n");
    parser.readFile(nullptr);
    EXPECT_EQ(parser.getFileName(), folder.file("props"));
    EXPECT_EQ(parser.countSections(""), 0U);
    parser.setSection(nullptr);
    expectFailure([&] { parser.countLines(); }, eSEQUENCE, "must call setSection first");
}

TEST_F(PropertyParserTest, FileThatCannotBeOpenedLeavesItsPathAndNoLines) {
    readText("[A]\na=1\n");
    const std::string missing = folder.file("none");
    expectFailure([&] { parser.readFile(missing.c_str()); }, eFILE, missing);
    EXPECT_EQ(parser.getFileName(), missing);
    EXPECT_EQ(parser.countSections("A"), 0U);
    expectFailure([&] { parser.readFile(folder.path.string().c_str()); }, eFILE, folder.path.string());
}

TEST_F(PropertyParserTest, GetLineReturnsTheTextVerbatim) {
    readText("a=$PATH\n");
    parser.setSection(nullptr);
    EXPECT_EQ(section(), (Pairs{{"a", "$PATH"}}));
    const char* key = nullptr;
    parser.getLine(0, &key, nullptr);
    EXPECT_STREQ(key, "a");
    const char* text = nullptr;
    expectFailure([&] { parser.getLine(1, &key, &text); }, eVALUE, "invalid index");
    expectFailure([&] { parser.getLine(0xFFFFFFFF, &key, &text); }, eVALUE, "invalid index");
    expectFailure([&] { parser.getLine(0, nullptr, &text); }, eNULL, "");
}

TEST_F(PropertyParserTest, FirstOccurrenceOfAKeyWins) {
    readText("[A]\na=1\nb=2\na=3\n[B]\nc=4\n");
    parser.setSection("A");
    EXPECT_EQ(value("a"), "1");
    EXPECT_EQ(value("b"), "2");
    expectFailure([&] { value("c"); }, eNAME, "c");
}

TEST_F(PropertyParserTest, NullArgumentsFail) {
    readText("a=1\n");
    parser.setSection(nullptr);
    const char* text = nullptr;
    expectFailure([&] { parser.getValue(nullptr, &text); }, eNULL, "");
    expectFailure([&] { parser.getValue("a", nullptr); }, eNULL, "");
    expectFailure([&] { parser.apply(nullptr); }, eNULL, "");
    expectFailure([&] { parser.countSections(nullptr); }, eNULL, "");
}

TEST_F(PropertyParserTest, DollarValueNamesAVariable) {
    ASSERT_NE(std::getenv("PATH"), nullptr);
    readText("a=$PATH\nb=x$PATH\n$PATH=c\n");
    parser.setSection(nullptr);
    EXPECT_EQ(value("a"), std::getenv("PATH"));
    EXPECT_EQ(value("b"), "x$PATH");
    EXPECT_EQ(value("$PATH"), "c");
    Recorder object;
    parser.apply(&object);
    EXPECT_EQ(object.seen, (Pairs{{"a", std::getenv("PATH")}, {"b", "x$PATH"}, {"$PATH", "c"}}));
}

TEST_F(PropertyParserTest, UndefinedVariableFails) {
    readText("a=$ORV_NO_SUCH_VARIABLE\nb=$\n");
    parser.setSection(nullptr);
    expectFailure([&] { value("a"); }, eVALUE, "$ORV_NO_SUCH_VARIABLE not defined in environment variables");
    expectFailure([&] { value("b"); }, eVALUE, "$ not defined in environment variables");
    Recorder object;
    expectFailure([&] { parser.apply(&object); }, eVALUE, "$ORV_NO_SUCH_VARIABLE not defined in environment variables");
    EXPECT_TRUE(object.seen.empty());
}

TEST_F(PropertyParserTest, ApplySetsEveryOccurrenceInOrder) {
    readText("[A]\nb=2\na=1\nb=3\n[B]\nc=4\n");
    parser.setSection("A");
    Recorder object;
    parser.apply(&object);
    EXPECT_EQ(object.seen, (Pairs{{"b", "2"}, {"a", "1"}, {"b", "3"}}));
}

TEST_F(PropertyParserTest, ApplyPassesOverUnknownNamesAndNothingElse) {
    readText("a=1\nb=2\nc=3\n");
    parser.setSection(nullptr);
    Recorder object;
    object.reaction = [](const std::string& name, const std::string&) {
        fail("test", name == "b" ? eVALUE : eNAME, name);
    };
    expectFailure([&] { parser.apply(&object); }, eVALUE, "b");
    EXPECT_EQ(object.seen, (Pairs{{"a", "1"}, {"b", "2"}}));
}

TEST_F(PropertyParserTest, FileReadDuringApplyEndsTheWalk) {
    const std::string other = folder.write("other", "[X]\nx=1\n");
    readText("[A]\nfirst=1\npropsFile=" + other + "\nnever=2\n" + std::string(5000, 'n') + "=3\n");
    parser.setSection("A");
    Recorder object;
    object.reaction = [&](const std::string& name, const std::string& text) {
        if (name == "propsFile") {
            parser.readFile(text.c_str());
        }
    };
    parser.apply(&object);
    EXPECT_EQ(object.seen, (Pairs{{"first", "1"}, {"propsFile", other}}));
    EXPECT_EQ(parser.getFileName(), other);
}

TEST_F(PropertyParserTest, SectionChosenDuringApplyGoesOnAtTheSameIndex) {
    const std::string other = folder.write("other", "[X]\nx0=0\nx1=1\nx2=2\nx3=3\n");
    readText("[A]\nfirst=1\npropsFile=" + other + "\nnever=2\n");
    parser.setSection("A");
    Recorder object;
    object.reaction = [&](const std::string& name, const std::string& text) {
        if (name == "propsFile") {
            parser.readFile(text.c_str());
            parser.setSection("X");
        }
    };
    parser.apply(&object);
    EXPECT_EQ(object.seen, (Pairs{{"first", "1"}, {"propsFile", other}, {"x2", "2"}, {"x3", "3"}}));
}

TEST_F(PropertyParserTest, TextsGivenToTheObjectOutliveItsOwnQueries) {
    readText("first=" + std::string(900, 'v') + "\n" + std::string(1000, 'k') + "=1\n");
    parser.setSection(nullptr);
    class Asking : public Property {
    public:
        explicit Asking(PropertyParser& asked) : parser(asked) {}
        void setProperty(const char* name, const char* value) override {
            const char* text = nullptr;
            parser.getLine(1, &text, nullptr);
            parser.getValue("first", &text);
            pairs.emplace_back(name, value);
        }
        void getProperty(const char*, const char**) override {}
        PropertyParser& parser;
        Pairs pairs;
    } object(parser);
    parser.apply(&object);
    EXPECT_EQ(object.pairs, (Pairs{{"first", std::string(900, 'v')}, {std::string(1000, 'k'), "1"}}));
}

TEST_F(PropertyParserTest, PathMayBeATextOfTheParser) {
    const std::string other = folder.write("other", "b=2\n");
    readText("a=" + other + "\n");
    parser.setSection(nullptr);
    const char* text = nullptr;
    parser.getValue("a", &text);
    parser.readFile(text);
    EXPECT_EQ(parser.getFileName(), other);
    parser.readFile(parser.getFileName());
    parser.setSection(nullptr);
    EXPECT_EQ(section(), (Pairs{{"b", "2"}}));
}

TEST(SharedPropertyParser, OneObjectServesAllCallers) {
    const test_support::TemporaryFolder folder;
    PropertyParser* first = createPropertyParser();
    PropertyParser* second = createPropertyParser();
    EXPECT_EQ(first, second);
    first->readFile(folder.write("props", "[A]\na=1\n").c_str());
    first->setSection("A");
    EXPECT_EQ(second->countLines(), 1U);
    destroyPropertyParser(first);
    EXPECT_EQ(second->countLines(), 1U); // still valid for the second user
    destroyPropertyParser(second);
    PropertyParser* fresh = createPropertyParser();
    EXPECT_EQ(fresh->getFileName(), nullptr);
    destroyPropertyParser(fresh);
}

TEST(SharedPropertyParser, ForeignPointerFailsUnlessThereIsNoUse) {
    PropertyParser_1 foreign;
    destroyPropertyParser(&foreign);
    destroyPropertyParser(nullptr);
    PropertyParser* shared = createPropertyParser();
    expectFailure([&] { destroyPropertyParser(&foreign); }, eFAIL, "");
    expectFailure([&] { destroyPropertyParser(nullptr); }, eFAIL, "");
    destroyPropertyParser(shared);
}

} // namespace
} // namespace VX_QRS::ORV::CLIENT
