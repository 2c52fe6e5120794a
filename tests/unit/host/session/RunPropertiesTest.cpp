#include "host/platform/Platform.h"
#include "host/session/RunProperties.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "toolkit/ExitCode.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace host {
namespace {

using toolkit::ExitCode;
using toolkit::Failure;

constexpr const char* variable = "VX_TRACE_PROPERTIES";

class RunPropertiesTest : public testing::Test {
protected:
    RunPropertiesTest() { setEnvironment(variable, ""); }
    ~RunPropertiesTest() override { setEnvironment(variable, ""); }

    void give(const std::string& text) { setEnvironment(variable, folder.write("given.txt", text)); }
    static std::string textOf(const std::vector<std::string>& own) { return propertiesText(RunProperties(own).all()); }

    test_support::TemporaryFolder folder;
};

TEST_F(RunPropertiesTest, NoneAreSetUnlessAskedFor) {
    EXPECT_EQ(textOf({}), "");
    EXPECT_TRUE(RunProperties::givenFile().empty());
}

TEST_F(RunPropertiesTest, TheUsersOwnFollowThoseOfTheFileAndWin) {
    give("cpi=1\nfrequencyLimit=5\n");
    EXPECT_EQ(textOf({"cpi=2", "archive=3", "archive=4"}), "with frequencyLimit=5, cpi=2, archive=4\n");
}

TEST_F(RunPropertiesTest, OthersReplaceThoseOfTheirNames) {
    RunProperties properties({"cpi=2", "archive=3"});
    const std::vector<SetProperty> own = properties.all();
    properties.replace(own, {{"archive", "4"}, {"calMode", "manual"}});
    EXPECT_EQ(propertiesText(properties.all()), "with cpi=2, archive=4, calMode=manual\n");
    properties.replace(own, {});
    EXPECT_EQ(propertiesText(properties.all()), "with cpi=2, archive=3\n");
}

TEST_F(RunPropertiesTest, TheReceiverGetsOneFileAndTheVariableIsRestored) {
    give("cpi=1\n");
    const std::string given = getEnvironment(variable);
    {
        RunProperties properties({"archive=2"});
        properties.writeTo(folder.path / "run.properties");
        EXPECT_EQ(getEnvironment(variable), folder.file("run.properties"));
        EXPECT_EQ(folder.read("run.properties"), "cpi=1\narchive=2\n");
    }
    EXPECT_EQ(getEnvironment(variable), given);
    EXPECT_EQ(folder.read("given.txt"), "cpi=1\n");
}

TEST_F(RunPropertiesTest, AVariablesNameReachesTheReceiver) {
    setEnvironment("ORV_TEST_ADDED", "7");
    EXPECT_EQ(textOf({"cpi=$ORV_TEST_ADDED"}), "with cpi=$ORV_TEST_ADDED\n");
    setEnvironment("ORV_TEST_ADDED", "x");
    EXPECT_EQ(propertyFault("cpi=$ORV_TEST_ADDED"), "cpi must be a whole number, not 'x'");
    setEnvironment("ORV_TEST_ADDED", "");
}

TEST_F(RunPropertiesTest, ABadFileIsBadInputAndABadOwnOneWrongUsage) {
    try {
        textOf({"cpi"});
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, ExitCode::Usage);
        EXPECT_STREQ(failure.what(), "'cpi' is not NAME=VALUE");
    }
    give("\ncpi=x\n");
    try {
        textOf({});
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, ExitCode::BadInput);
        EXPECT_EQ(failure.what(),
                  folder.file("given.txt") + ":2: cpi must be a whole number, not 'x'; correct or remove the line");
    }
}

TEST_F(RunPropertiesTest, OnlyPropertiesThatCanBeSetAreOffered) {
    const std::vector<std::string> names = settableProperties();
    EXPECT_NE(std::find(names.begin(), names.end(), "frequencyLimit"), names.end());
    for (const char* other : {"frequencies", "pinMap", "file"}) {
        EXPECT_EQ(std::find(names.begin(), names.end(), other), names.end()) << other;
    }
    for (const std::string& name : names) {
        EXPECT_EQ(propertyFault(name + "=?").find("there is no property"), std::string::npos) << name;
    }
}

} // namespace
} // namespace host
