#include "common/source/source_utilities/uConfig.h"
#include "tests/support/failure/FailureText.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace VX_QRS {
namespace {

constexpr bool useXml = true;

using test_support::failureText;
using Sections = std::vector<uConfig::Section>;

class uConfigTest : public testing::Test {
protected:
    // Reads a text into the configuration.
    void read(uConfig& config, const std::string& text) {
        config.setPath(folder.write("config", text).c_str());
        config.read();
    }

    Sections plain(const std::string& text) {
        uConfig config;
        read(config, text);
        return config.getSections();
    }

    Sections xml(const std::string& text) {
        uConfig config(useXml);
        read(config, text);
        return config.getSections();
    }

    std::string written(uConfig& config, const char* header = nullptr) {
        config.setPath(folder.file("out").c_str());
        config.write(header);
        return folder.read("out");
    }

    test_support::TemporaryFolder folder;
};

TEST_F(uConfigTest, PlainLineIsSplitAtItsFirstEqualsSignAndTrimmed) {
    EXPECT_EQ(plain("a = b\n a==b\t\r\n c=d e f "), (Sections{{"", {{"a", "b"}, {"a", "=b"}, {"c", "d e f"}}}}));
    EXPECT_EQ(plain("a = b"), (Sections{{"", {{"a", "b"}}}}));
    EXPECT_EQ(plain("a==b"), (Sections{{"", {{"a", "=b"}}}}));
}

TEST_F(uConfigTest, PlainLineWithEmptyNameIsDroppedAndEmptyValueStays) {
    EXPECT_EQ(plain("=x\n  = y\nname=\n"), (Sections{{"", {{"name", ""}}}}));
}

TEST_F(uConfigTest, OnlyALineThatBeginsWithNumberSignIsAComment) {
    EXPECT_EQ(plain("#a=1\n  #b=2\nc=#3\n"), (Sections{{"", {{"c", "#3"}}}}));
}

TEST_F(uConfigTest, PlainHeadersRunFromFirstToLastBracket) {
    EXPECT_EQ(plain("[A]\na=1\nx [B [C] y] z\nb=2\n"), (Sections{{"A", {{"a", "1"}}}, {"B [C] y", {{"b", "2"}}}}));
}

TEST_F(uConfigTest, HeaderWithoutClosingBracketIsDropped) {
    EXPECT_EQ(plain("[x\na=1\n]y[\nb=2\nrubbish\n\n"), (Sections{{"", {{"a", "1"}, {"b", "2"}}}}));
}

TEST_F(uConfigTest, EqualsSignMakesAVariableOfAHeader) {
    EXPECT_EQ(plain("[a=b]\n"), (Sections{{"", {{"[a", "b]"}}}}));
}

TEST_F(uConfigTest, RepeatedNamesOfOneSectionAllStayInOrder) {
    EXPECT_EQ(plain("[S]\na=1\nb=2\na=3\na=3\n"), (Sections{{"S", {{"a", "1"}, {"b", "2"}, {"a", "3"}, {"a", "3"}}}}));
    EXPECT_EQ(xml("<S>\n<a>1</a>\n<b>2</b>\n<a>3</a>\n"), (Sections{{"S", {{"a", "1"}, {"b", "2"}, {"a", "3"}}}}));
    EXPECT_EQ(xml("<k>v</l>\n<k>v</l>\n"), (Sections{{"", {{"", ""}, {"", ""}}}}));
}

TEST_F(uConfigTest, TheFirstOfRepeatedNamesIsFoundAndReplaced) {
    uConfig config;
    read(config, "[S]\na=1\nb=2\na=3\n");
    EXPECT_EQ(config.getVariable("a").value, "1");
    EXPECT_EQ(config.getVariable("a", "S").value, "1");
    config.addVariable("a", "4", "S");
    EXPECT_EQ(written(config), "[S]\na=4\nb=2\na=3\n");
}

TEST_F(uConfigTest, RepeatedNamesOfTheFileReplaceASectionOfTheMemoryOnce) {
    uConfig config;
    config.addVariable("a", "old", "S");
    read(config, "[S]\na=1\na=2\n");
    EXPECT_EQ(config.getSections(), (Sections{{"S", {{"a", "1"}, {"a", "2"}}}}));
}

TEST_F(uConfigTest, NoByteEndsAFileAndBothLineEndsAreRead) {
    const std::string end("\x1A");
    EXPECT_EQ(plain("#" + end + "\r\na=1" + end + "2\r\nb=3\n"),
              (Sections{{"", {{"a", "1" + end + "2"}, {"b", "3"}}}}));
    EXPECT_EQ(xml("<!-- " + end + " -->\r\n<A>\r\n<a>1</a>\r\n"), (Sections{{"A", {{"a", "1"}}}}));
}

TEST_F(uConfigTest, SectionOfTheFileReplacesTheOneInMemory) {
    uConfig config;
    config.addVariable("known", "1", "S");
    config.addVariable("kept", "2", "T");
    config.addVariable("emptied", "3", "U");
    read(config, "[U]\n[S]\nnew=4\n");
    EXPECT_EQ(config.getSections(),
              (Sections{{"T", {{"kept", "2"}}}, {"U", {{"emptied", "3"}}}, {"S", {{"new", "4"}}}}));
    EXPECT_THROW(config.getVariable("known"), uConfig::name_error);
}

TEST_F(uConfigTest, SecondSectionOfANameReplacesTheFirst) {
    EXPECT_EQ(plain("[A]\nx=1\n[B]\ny=2\n[A]\nz=3\n"), (Sections{{"B", {{"y", "2"}}}, {"A", {{"z", "3"}}}}));
}

TEST_F(uConfigTest, XmlLinesMakeSectionsAndVariables) {
    EXPECT_EQ(xml("<?xml version=\"1.0\"?>\n<!-- x -->\n<A>\n\t<k>v w</k>\r\n  <e></e>\n</A>\n"),
              (Sections{{"A", {{"k", "v w"}, {"e", ""}}}}));
}

TEST_F(uConfigTest, XmlOpeningAndClosingOnOneLineIsAVariable) {
    EXPECT_EQ(xml("<A></A>\n"), (Sections{{"", {{"A", ""}}}}));
}

TEST_F(uConfigTest, XmlClosingTagClosesNothing) {
    EXPECT_EQ(xml("<A>\n<a>1</a>\n</A>\n<b>2</b>\n<B>\n<c>3</c>\n"),
              (Sections{{"A", {{"a", "1"}, {"b", "2"}}}, {"B", {{"c", "3"}}}}));
}

TEST_F(uConfigTest, XmlCommentAndDeclarationAmidASectionOpenNone) {
    EXPECT_EQ(xml("<A>\n<a>1</a>\n<!-- x -->\n<b>2</b>\n\t<?x?>\n<c>3</c>\n"),
              (Sections{{"A", {{"a", "1"}, {"b", "2"}, {"c", "3"}}}}));
}

TEST_F(uConfigTest, XmlAttributesBelongToTheName) {
    EXPECT_EQ(xml("<a b=\"1\">\n<k>v</k>\n"), (Sections{{"a b=\"1\"", {{"k", "v"}}}}));
}

TEST_F(uConfigTest, XmlVariableWithAnotherClosingTagLosesNameAndValue) {
    EXPECT_EQ(xml("<k>v</l>\n"), (Sections{{"", {{"", ""}}}}));
}

TEST_F(uConfigTest, XmlLinesOfAnyOtherShapeAreDropped) {
    EXPECT_EQ(xml("text\n<a>1\n<a>1</a><b>2</b>\n<>v</>\n<k>v</k> <!-- late -->\n"), Sections{});
}

TEST_F(uConfigTest, XmlHasNoPlainComments) {
    EXPECT_EQ(xml("#<k>v</k>\n"), (Sections{{"", {{"k", "v"}}}}));
}

TEST_F(uConfigTest, WritesThePlainForm) {
    uConfig config;
    config.addVariable("free", "0");
    config.addVariable("a", "1", "S");
    config.addVariable("b", "", "S");
    EXPECT_EQ(written(config), "free=0\n[S]\na=1\nb=\n");
    EXPECT_EQ(written(config, "# first"), "# first\nfree=0\n[S]\na=1\nb=\n");
}

TEST_F(uConfigTest, WritesTheXmlForm) {
    uConfig config(useXml);
    config.addVariable("free", "0");
    config.addVariable("", "skipped", "S");
    config.addVariable("a", "1", "S");
    EXPECT_EQ(written(config, "<?xml?>"), "<?xml?>\n<free>0</free>\n<S>\n\t<a>1</a>\n</S>\n");
}

TEST_F(uConfigTest, WritingTruncates) {
    folder.write("out", std::string(1000, 'x'));
    uConfig config;
    config.addVariable("a", "1");
    EXPECT_EQ(written(config), "a=1\n");
}

TEST_F(uConfigTest, WritingLeavesNothingElseInTheFolder) {
    uConfig config;
    config.addVariable("a", "1");
    written(config);
    written(config);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"out"}));
}

TEST_F(uConfigTest, LeftoversOfOtherWritersDoNotKeepItFromWriting) {
    folder.write("out.new", "left over");
    uConfig config;
    config.addVariable("a", "1");
    EXPECT_EQ(written(config), "a=1\n");
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"out", "out.new"}));
    EXPECT_EQ(folder.read("out.new"), "left over");
}

TEST_F(uConfigTest, FormatIsWhatIsWritten) {
    uConfig config(useXml);
    config.addVariable("a", "1", "S");
    EXPECT_EQ(config.format("<?xml?>"), "<?xml?>\n<S>\n\t<a>1</a>\n</S>\n");
    EXPECT_EQ(written(config, "<?xml?>"), config.format("<?xml?>"));
}

TEST_F(uConfigTest, AddVariableReplacesTheFirstOfThatName) {
    uConfig config;
    config.addVariable("a", "1", "S");
    config.addVariable("a", "2", "T");
    EXPECT_EQ(config.addVariable("a", "3").value, "3");
    EXPECT_EQ(config.getSections(), (Sections{{"S", {{"a", "3"}}}, {"T", {{"a", "2"}}}}));
    config.addVariable("a", "4", "T");
    EXPECT_EQ(config.getVariable("a", "T").value, "4");
    const uConfig::Variable& added = config.addVariable("b", "5");
    EXPECT_EQ(added.name, "b");
    EXPECT_EQ(config.getSections().back(), (uConfig::Section{"", {{"b", "5"}}}));
}

TEST_F(uConfigTest, GetVariableWithoutSectionFindsTheFirstOfAny) {
    uConfig config;
    config.addVariable("a", "1", "S");
    config.addVariable("b", "2", "T");
    config.addVariable("a", "3", "T");
    EXPECT_EQ(config.getVariable("a").value, "1");
    EXPECT_EQ(config.getVariable("b").value, "2");
    EXPECT_EQ(config.getVariable("a", "T").value, "3");
}

TEST_F(uConfigTest, NamesAreComparedWithCase) {
    uConfig config;
    config.addVariable("a", "1", "S");
    EXPECT_EQ(failureText<uConfig::name_error>([&] { config.getVariable("A"); }),
              "failed to retrieve configuration variable named \"A\"");
    EXPECT_EQ(failureText<uConfig::name_error>([&] { config.getVariable("a", "s"); }),
              "failed to retrieve configuration variable named \"s::a\"");
}

TEST_F(uConfigTest, GetVariablesAppends) {
    uConfig config;
    config.addVariable("a", "1", "S");
    config.addVariable("b", "2", "T");
    std::vector<uConfig::Variable> variables;
    config.getVariables(variables, "T");
    config.getVariables(variables);
    config.getVariables(variables, "none");
    EXPECT_EQ(variables, (std::vector<uConfig::Variable>{{"b", "2"}, {"a", "1"}, {"b", "2"}}));
}

TEST_F(uConfigTest, RemoveSectionIgnoresAnUnknownOne) {
    uConfig config;
    config.addVariable("a", "1", "S");
    config.addVariable("b", "2", "T");
    config.removeSection("none");
    config.removeSection(nullptr);
    config.removeSection("S");
    EXPECT_EQ(config.getSections(), (Sections{{"T", {{"b", "2"}}}}));
}

TEST_F(uConfigTest, NullArgumentsFail) {
    uConfig config;
    EXPECT_EQ(failureText<uConfig::error>([&] { config.setPath(nullptr); }),
              "failed to set null path for configuration file");
    EXPECT_EQ(failureText<uConfig::error>([&] { config.addVariable(nullptr, "v"); }),
              "failed to add configuration variable for null name");
    EXPECT_EQ(failureText<uConfig::error>([&] { config.addVariable("n", nullptr); }),
              "failed to add configuration variable for null value");
    EXPECT_EQ(failureText<uConfig::error>([&] { config.getVariable(nullptr); }),
              "failed to retrieve configuration variable for null name");
}

TEST_F(uConfigTest, WithoutAPathNothingIsReadOrWritten) {
    uConfig config;
    EXPECT_EQ(failureText<uConfig::error>([&] { config.read(); }),
              "failed to open configuration file for reading because its path was never set");
    EXPECT_EQ(failureText<uConfig::error>([&] { config.write(); }),
              "failed to open configuration file for writing because its path was never set");
}

TEST_F(uConfigTest, FilesThatCannotBeOpenedFail) {
    const std::string missing = folder.file("none") + "/config";
    uConfig config;
    config.setPath(missing.c_str());
    EXPECT_EQ(failureText<uConfig::error>([&] { config.read(); }), "failed to open \"" + missing + "\" for reading");
    EXPECT_EQ(failureText<uConfig::error>([&] { config.write(); }), "failed to open \"" + missing + "\" for writing");
    config.setPath(folder.path.string().c_str());
    EXPECT_EQ(failureText<uConfig::error>([&] { config.read(); }),
              "failed to open \"" + folder.path.string() + "\" for reading");
}

TEST_F(uConfigTest, MissingVariableAndMissingFileAreDifferentFailures) {
    uConfig config;
    config.setPath(folder.file("none").c_str());
    try {
        config.read();
        FAIL();
    } catch (const uConfig::name_error&) {
        FAIL();
    } catch (const uConfig::error&) {
    }
    EXPECT_THROW(config.getVariable("a"), uConfig::error);
    EXPECT_THROW(config.getVariable("a"), source_utilities_error);
}

} // namespace
} // namespace VX_QRS
