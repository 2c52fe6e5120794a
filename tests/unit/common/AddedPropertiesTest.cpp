#include "common/source/properties/AddedProperties.h"
#include "common/source/properties/ChannelProperties.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <stdexcept>

// A user's NAME=VALUE lines.

namespace VX_QRS::ORV::CLIENT {
namespace {

std::string faultOf(const std::string& text) {
    try {
        parseAddedProperty(text);
        return "";
    } catch (const std::runtime_error& fault) {
        return fault.what();
    }
}

/// A value of each kind that the property has.
std::string goodValue(const ChannelProperty& property) {
    if (property.words != nullptr) {
        const std::string words = property.words;
        return words.substr(0, words.find('|'));
    }
    return property.value == ChannelProperty::Value::List ? "1,-2,0x3" : "1";
}

class AddedPropertiesFile : public testing::Test {
protected:
    std::vector<AddedProperty> read(const std::string& text) {
        return readAddedProperties(folder.write("added.txt", text));
    }
    std::string faultOfFile(const std::string& text) {
        try {
            read(text);
            return "";
        } catch (const std::runtime_error& fault) {
            return fault.what();
        }
    }

    test_support::TemporaryFolder folder;
    const std::string path = folder.file("added.txt");
};

} // namespace

TEST(AddedProperty, EveryPropertyIsAcceptedUnlessItIsReadOnlyOrFollowsFromTheSettings) {
    for (const ChannelProperty& property : channelProperties) {
        const std::string name = property.name;
        const std::string fault = faultOf(name + "=" + goodValue(property));
        if (property.isReadOnly) {
            EXPECT_EQ(fault, name + " is read only");
        } else if (property.follows != nullptr) {
            EXPECT_TRUE(fault.starts_with(name + " cannot be added: it follows from ")) << fault;
        } else {
            EXPECT_EQ(fault, "") << name;
        }
    }
}

TEST(AddedProperty, ExactlyTheseFollowFromTheSettings) {
    std::string names;
    for (const ChannelProperty& property : channelProperties) {
        names += property.follows != nullptr ? std::string(property.name) + " " : "";
    }
    EXPECT_EQ(names, "file drmXmtr numPins pinMap propsFile ");
    EXPECT_EQ(faultOf("file=x"), "file cannot be added: it follows from the name of the channel settings file");
    EXPECT_EQ(faultOf("drmXmtr=pti"), "drmXmtr cannot be added: it follows from drm_xmtr of the channel settings file");
}

TEST(AddedProperty, IsSplitAtTheFirstEqualSignAndLosesBlanksAtItsEnd) {
    EXPECT_EQ(parseAddedProperty("delays=1,2 \t"), (AddedProperty{"delays", "1,2"}));
    EXPECT_EQ(parseAddedProperty("delays="), (AddedProperty{"delays", ""})) << "an empty list";
    EXPECT_EQ(faultOf("delays=1=2"), "delays must be whole numbers separated by commas, not '1=2'");
}

TEST(AddedProperty, NamesAreExact) {
    for (const std::string name :
         {"frequencylimit", " frequencyLimit", "frequencyLimit ", "", "orv", "xmtrType", "pins", "xmtrMode"}) {
        EXPECT_EQ(faultOf(name + "=1"), "there is no property '" + name + "'");
    }
    EXPECT_EQ(faultOf("frequencyLimit"), "'frequencyLimit' is not NAME=VALUE");
}

TEST(AddedProperty, WordsAreThoseOfTheProperty) {
    EXPECT_EQ(faultOf("calMode=Manual"), "calMode must be automatic|manual");
    EXPECT_EQ(faultOf("calMode= manual"), "calMode must be automatic|manual");
    EXPECT_EQ(faultOf("calMode="), "calMode must be automatic|manual");
    EXPECT_EQ(faultOf("verifyPattern=verification"), "verifyPattern must be f0|a5|ramp|walk|lfsr");
    EXPECT_EQ(faultOf("targetSync=yes"), "targetSync must be true|false") << "though the channel stores any text";
}

TEST(AddedProperty, NumbersAreNumbersToTheirEnd) {
    for (const char* value : {"", "60M", "-1", "1 2", "0x", "09", "4294967296", "1.5", " 1", "+1"}) {
        EXPECT_EQ(faultOf(std::string("archive=") + value),
                  std::string("archive must be a whole number, not '") + value + "'");
    }
    for (const char* value : {"0", "007", "0xFF", "4294967295"}) {
        EXPECT_EQ(faultOf(std::string("archive=") + value), "") << value;
    }
    for (const char* value : {"-2147483648", "2147483647"}) {
        EXPECT_EQ(faultOf(std::string("ovsMargin=") + value), "") << value;
    }
    for (const char* value : {"-2147483649", "2147483648", "-", "--1"}) {
        EXPECT_EQ(faultOf(std::string("ovsMargin=") + value),
                  std::string("ovsMargin must be a whole number, with or without a sign, not '") + value + "'");
    }
    for (const char* value : {"", "60 MHz", "60MHz", "0x10", "nan", "inf", "1e999", "1,5", "e", "-"}) {
        EXPECT_EQ(faultOf(std::string("frequencyLimit=") + value),
                  std::string("frequencyLimit must be a decimal number, not '") + value + "'");
    }
    for (const char* value : {"0", "60000000", "60e6", "0.5"}) {
        EXPECT_EQ(faultOf(std::string("frequencyLimit=") + value), "") << value;
    }
}

TEST(AddedProperty, ABufferSizeIsAnIndexOrASize) {
    for (const char* value : {"0", "9", "262144", "0x8000000"}) {
        EXPECT_EQ(faultOf(std::string("orvBufSize=") + value), "") << value;
    }
    for (const char* value : {"10", "262145", "0x10000000", "-1", "1M", ""}) {
        EXPECT_EQ(
            faultOf(std::string("orvBufSize=") + value),
            std::string("orvBufSize must be a number from 0 to 9, or a size of the unit's buffer in bytes, not '") +
                value + "'");
    }
}

TEST(AddedProperty, ListsHaveANumberInEveryPlace) {
    for (const char* value : {"1", "1,2,3", "-1,0x10"}) {
        EXPECT_EQ(faultOf(std::string("stretches=") + value), "") << value;
    }
    for (const char* value : {",", "1,", "1,,2", "1, 2", "a", "1;2"}) {
        EXPECT_EQ(faultOf(std::string("stretches=") + value),
                  std::string("stretches must be whole numbers separated by commas, not '") + value + "'");
    }
}

TEST(AddedProperty, AVariableIsCheckedByItsContent) {
    EXPECT_EQ(faultOf("cpi=$ORV_TEST_NONE"), "$ORV_TEST_NONE not defined in environment variables");
    EXPECT_EQ(faultOf("cpi=$"), "$ not defined in environment variables");
    EXPECT_EQ(faultOf("calMode=$PATH"), "calMode must be automatic|manual");
}

TEST(AddedProperty, IsOneLineOfPlainText) {
    const std::string fault = "control characters are not expected here, only plain text";
    EXPECT_EQ(faultOf("cpi=1\nnumPins=2"), fault);
    EXPECT_EQ(faultOf("cpi=1\r"), fault);
    EXPECT_EQ(faultOf(std::string("c\0p\0i\0", 6)), fault);
    EXPECT_EQ(faultOf("[Channel 0]"),
              "a section header is not expected here: the properties are added to every channel's");
    EXPECT_EQ(faultOf("delays=" + std::string(1017, '1')), "a property has 1023 characters at most");
}

TEST(AddedProperty, OfOneNameTheLastCountsInItsOwnPlace) {
    std::vector<AddedProperty> all;
    addProperty(all, {"cpi", "1"});
    addProperty(all, {"archive", "2"});
    addProperty(all, {"cpi", "3"});
    EXPECT_EQ(all, (std::vector<AddedProperty>{{"archive", "2"}, {"cpi", "3"}}));
}

TEST_F(AddedPropertiesFile, KeepsItsOrderWithoutCommentsAndBlankLines) {
    const std::vector<AddedProperty> expected{{"frequencyLimit", "60e6"}, {"calMode", "manual"}};
    EXPECT_EQ(read("# limit\nfrequencyLimit=60e6\n\n \t\n#cpi=1\ncalMode=manual\n"), expected);
    EXPECT_EQ(read("frequencyLimit=60e6\r\n\r\ncalMode=manual"), expected) << "of another system, and cut off";
    EXPECT_EQ(read("\xEF\xBB\xBF"
                   "frequencyLimit=60e6\ncalMode=manual\n"),
              expected)
        << "of an editor";
    EXPECT_EQ(read("frequencyLimit=1\ncalMode=automatic\nfrequencyLimit=60e6\ncalMode=manual\n"), expected);
    EXPECT_TRUE(read("").empty());
    EXPECT_TRUE(read("# nothing\n").empty());
}

TEST_F(AddedPropertiesFile, OneBadLineRejectsItAndIsNamed) {
    EXPECT_EQ(faultOfFile("cpi=5\r\n\r\n# x\r\nfrequncyLimit=1\r\ncalMode=x\r\n"),
              path + ":4: there is no property 'frequncyLimit'; correct or remove the line");
    EXPECT_EQ(faultOfFile("[Channel 0]\ncpi=5\n"), path + ":1: a section header is not expected here: the properties "
                                                          "are added to every channel's; correct or remove the line");
    EXPECT_EQ(faultOfFile(" # indented\n"), path + ":1: ' # indented' is not NAME=VALUE; correct or remove the line");
}

TEST_F(AddedPropertiesFile, ThatCannotBeReadIsNamedWithTheVariable) {
    for (const std::string& unreadable : {folder.file("none"), folder.path.string()}) {
        try {
            readAddedProperties(unreadable);
            FAIL() << unreadable;
        } catch (const std::runtime_error& fault) {
            EXPECT_EQ(fault.what(), "cannot read " + unreadable +
                                        ", which VX_TRACE_PROPERTIES names; correct the variable or unset it");
        }
    }
}

} // namespace VX_QRS::ORV::CLIENT
