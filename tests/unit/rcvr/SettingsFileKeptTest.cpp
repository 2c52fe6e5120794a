#include "OpenElsewhere.h"
#include "SettingsFixture.h"
#include "tests/unit/tdf/FileFaults.h"

// No text of the user's is lost when a settings file is replaced.

namespace {

using namespace rcvr_test;
using tdf_test::FileFault;
using tdf_test::Function;
using testing::ElementsAre;

// The first so many readings of a file fail as if it could not be opened.
struct UnreadableFor {
    explicit UnreadableFor(int readings) : data(Function::Read, 1, readings), report(Function::Error, 1, readings) {}
    FileFault data;
    FileFault report;
};

class KeptSettings : public SettingsFile {
protected:
    const std::string users =
        replaced(replaced(defaultFile, "<num_pins>1", "<num_pins>4"), "\t<no_emu1>", "\t<mine>x</mine>\n\t<no_emu1>");
    const std::string bad = replaced(users, "<num_pins>4", "<num_pins>3");
    const std::string copy = path + ".before-defaults";
};

TEST_F(KeptSettings, ABadFileIsKeptBesideItsDefaults) {
    expectRefused(bad);
    EXPECT_EQ(readBytes(copy), bad);
    EXPECT_THAT(names(), ElementsAre("chan.xml", "chan.xml.before-defaults"));
}

TEST_F(KeptSettings, AMissingFileLeavesNoCopy) {
    load();
    EXPECT_THAT(names(), ElementsAre("chan.xml"));
}

TEST_F(KeptSettings, ASecondFailureKeepsTheFirstCopy) {
    const std::string worse = replaced(bad, "<num_pins>3", "<num_pins>5");
    expectRefused(bad);
    expectRefused(worse);
    EXPECT_EQ(readBytes(copy), bad);
    EXPECT_EQ(readBytes(copy + ".2"), worse);
    expectRefused(bad);
    EXPECT_THAT(names(), ElementsAre("chan.xml", "chan.xml.before-defaults", "chan.xml.before-defaults.2"));
}

TEST_F(KeptSettings, AGoodFileThatCannotBeReadOnceIsKept) {
    writeBytes(path, users);
    {
        const UnreadableFor passing(1);
        EXPECT_TRUE(isDefault(load()));
    }
    EXPECT_EQ(readBytes(copy), users);
    EXPECT_EQ(readText(path), replaced(users, "<num_pins>4", "<num_pins>1"));
}

TEST_F(KeptSettings, AGoodFileThatCannotBeReadTwiceIsKept) {
    writeBytes(path, users);
    {
        const UnreadableFor passing(2);
        EXPECT_TRUE(isDefault(load()));
    }
    EXPECT_EQ(readBytes(copy), users);
    EXPECT_EQ(readText(path), defaultFile);
}

TEST_F(KeptSettings, AGoodFileThatCannotBeReadAtAllIsKept) {
    writeBytes(path, users);
    {
        const UnreadableFor ever(1000);
        EXPECT_TRUE(isDefault(load()));
    }
    EXPECT_EQ(readBytes(copy), users);
    EXPECT_EQ(readText(path), defaultFile);
}

TEST_F(KeptSettings, CopiesThatCannotBeComparedAreTwo) {
    writeBytes(path, bad);
    load();
    writeBytes(path, users);
    {
        const UnreadableFor ever(1000);
        EXPECT_TRUE(isDefault(load()));
    }
    EXPECT_EQ(readBytes(copy), bad);
    EXPECT_EQ(readBytes(copy + ".2"), users);
}

// Files are read in blocks of 64 KiB; here the second block of one reading fails.
struct SecondBlockFails {
    explicit SecondBlockFails(int reading)
        : data(Function::Read, 2 * reading, 1), report(Function::Error, reading, 1) {}
    FileFault data;
    FileFault report;
};
constexpr std::size_t blockSize = 65536;

TEST_F(KeptSettings, AFileThatIsReadInPartIsNotTakenForItsBeginning) {
    const std::string text = bad + std::string(blockSize, '\n');
    writeBytes(path, text);
    writeBytes(copy, text.substr(0, blockSize));
    {
        const SecondBlockFails third(3); // after the loading and the storing
        EXPECT_TRUE(isDefault(load()));
    }
    EXPECT_EQ(readBytes(copy + ".2"), text);
}

TEST_F(KeptSettings, ACopyThatIsReadInPartIsNotTakenForItsBeginning) {
    const std::string text = bad + std::string(blockSize - bad.size(), '\n');
    writeBytes(path, text);
    writeBytes(copy, text + "more");
    {
        const SecondBlockFails fourth(4);
        EXPECT_TRUE(isDefault(load()));
    }
    EXPECT_EQ(readBytes(copy + ".2"), text);
}

TEST_F(KeptSettings, OurOwnDefaultsAreNotKept) {
    load();
    const UnreadableFor passing(1);
    EXPECT_TRUE(isDefault(load()));
    EXPECT_THAT(names(), ElementsAre("chan.xml"));
}

TEST_F(KeptSettings, AFullDiskLeavesTheFileAndNothingElse) {
    writeBytes(path, bad);
    {
        const FileFault full(Function::Write, 1);
        EXPECT_TRUE(isDefault(load()));
    }
    EXPECT_EQ(readBytes(path), bad);
    EXPECT_THAT(names(), ElementsAre("chan.xml"));
}

TEST_F(KeptSettings, AFullDiskLeavesNoEmptyFileForAMissingOne) {
    {
        const FileFault full(Function::Write, 1);
        EXPECT_TRUE(isDefault(load()));
    }
    EXPECT_THAT(names(), ElementsAre());
}

TEST_F(KeptSettings, AFileThatAnotherProgramHasOpenIsLeftAsItIs) {
    writeBytes(path, bad);
    {
        const OpenElsewhere other(path);
        EXPECT_TRUE(isDefault(load()));
    }
    if (OpenElsewhere::refusesOthers()) {
        EXPECT_EQ(readBytes(path), bad);
        EXPECT_THAT(names(), ElementsAre("chan.xml"));
    } else {
        EXPECT_EQ(readBytes(copy), bad);
    }
}

// A key is looked up in all sections and set in its own.
TEST_F(KeptSettings, ABadKeyOfAnEarlierSectionFailsEveryLoadAndCostsNothing) {
    const std::string foreign = "<OTHER>\n\t<num_pins>3</num_pins>\n</OTHER>\n";
    const std::string text = replaced(users, "<CHANNEL-SETUP>\n", foreign + "<CHANNEL-SETUP>\n");
    EXPECT_TRUE(isDefault(load(text)));
    const std::string stored = readText(path);
    EXPECT_EQ(stored, replaced(text, "<num_pins>4", "<num_pins>1"));
    EXPECT_TRUE(isDefault(load()));
    EXPECT_TRUE(isDefault(load()));
    EXPECT_EQ(readText(path), stored);
    EXPECT_EQ(readBytes(copy), text);
    EXPECT_THAT(names(), ElementsAre("chan.xml", "chan.xml.before-defaults"));
}

TEST_F(KeptSettings, AGoodKeyOfAnEarlierSectionCountsBeforeTheOneOfTheSetup) {
    const std::string text =
        replaced(users, "<CHANNEL-SETUP>\n", "<OTHER>\n\t<num_pins>2</num_pins>\n</OTHER>\n<CHANNEL-SETUP>\n");
    EXPECT_EQ(load(text).numPins, 2U);
    EXPECT_EQ(readBytes(path), text);
}

TEST_F(KeptSettings, AFileThatIsValidByTheFirstOfARepeatedKeyIsUsed) {
    const std::string text =
        replaced(users, "<num_pins>4</num_pins>\n", "<num_pins>4</num_pins>\n\t<num_pins>3</num_pins>\n");
    EXPECT_EQ(load(text).numPins, 4U);
    EXPECT_EQ(readBytes(path), text);
}

TEST_F(KeptSettings, AFileThatIsBadByTheFirstOfARepeatedKeyIsReplacedOnce) {
    const std::string text =
        replaced(users, "<num_pins>4</num_pins>\n", "<num_pins>3</num_pins>\n\t<num_pins>4</num_pins>\n");
    EXPECT_TRUE(isDefault(load(text)));
    EXPECT_EQ(readText(path), replaced(text, "<num_pins>3", "<num_pins>1"));
    EXPECT_EQ(load().numPins, 1U);
    EXPECT_THAT(names(), ElementsAre("chan.xml", "chan.xml.before-defaults"));
}

TEST_F(KeptSettings, AByte1AEndsNoFile) {
    const std::string text = replaced(users, "<CHANNEL-SETUP>\n", "<!-- \x1A -->\n<CHANNEL-SETUP>\n");
    EXPECT_EQ(load(text).numPins, 4U);
    EXPECT_EQ(readBytes(path), text);
}

} // namespace
