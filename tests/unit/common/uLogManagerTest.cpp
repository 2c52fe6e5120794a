#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <optional>

namespace VX_QRS {
namespace {

// Of uLogManager::open.
constexpr bool separate = false;
constexpr bool shared = true;

// A manager whose free disk space the test sets.
class Manager : public uLogManager {
public:
    std::optional<std::uint64_t> freeBytes = 5120000;
    mutable std::string askedFor;

protected:
    bool getFreeSpace(const char* directory, std::uint64_t& bytes) const override {
        askedFor = directory;
        bytes = freeBytes.value_or(0);
        return freeBytes.has_value();
    }
};

class uLogManagerTest : public testing::Test {
protected:
    uLogManagerTest() : profile(uEnvironment::get("USERPROFILE")) {
        uEnvironment::set("USERPROFILE", folder.file("home").c_str());
        uEnvironment::set("ORV_TEST_DIR", folder.path.string().c_str());
        setLevel("1");
    }
    ~uLogManagerTest() override { uEnvironment::set("USERPROFILE", profile.c_str()); }

    static void setLevel(const char* level) { uEnvironment::set("ORV_TEST_LEVEL", level); }

    bool open(uLogManager& which, const char* name, bool isShared = shared) const {
        return which.open(name, "ORV_TEST_LEVEL", "ORV_TEST_DIR", isShared);
    }

    std::string profile;
    test_support::TemporaryFolder folder;
    Manager manager;
};

TEST_F(uLogManagerTest, StartsClosed) {
    EXPECT_EQ(manager.getLogger(), nullptr);
    EXPECT_EQ(manager.getThreshold(), 0);
    EXPECT_EQ(manager.getOpenCount(), 0U);
}

TEST_F(uLogManagerTest, FirstLinesNameTheDirectories) {
    ASSERT_TRUE(open(manager, "log"));
    const std::string separator = uEnvironment::separator();
    const std::string base = folder.file("home") + separator + ".VX-trace" + separator;
    const std::string text = folder.read("log");
    EXPECT_THAT(text, testing::StartsWith("M     "));
    EXPECT_THAT(text, testing::HasSubstr(" | Logger : trace user settings directory is " + base + "settings\n"));
    EXPECT_THAT(text, testing::EndsWith(" | Logger : trace temporary data directory is " + base + "data\n"));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
    EXPECT_EQ(manager.getLogger()->getPath(), folder.path.string() + separator + "log");
}

TEST_F(uLogManagerTest, NullNamesOpenNothing) {
    EXPECT_FALSE(open(manager, nullptr));
    EXPECT_FALSE(manager.open("log", nullptr, "ORV_TEST_DIR", shared));
    EXPECT_EQ(manager.getLogger(), nullptr);
    EXPECT_EQ(manager.getOpenCount(), 0U);
}

TEST_F(uLogManagerTest, EveryLevelSetsItsFlagsAndThreshold) {
    struct Case {
        const char* level;
        bool enabled;
        bool toStdout;
        bool toDebugger;
        int threshold;
    };
    constexpr std::array<Case, 11> cases{{{"1", true, false, false, 1},
                                          {"2", true, true, false, 1},
                                          {"3", true, false, false, 2},
                                          {"4", true, true, false, 2},
                                          {"5", true, true, true, 2},
                                          {"6", true, true, true, 3},
                                          {"0", false, false, false, 0},
                                          {"7", false, false, false, 7},
                                          {"-3", false, false, false, -3},
                                          {"", false, false, false, 0},
                                          {"text", false, false, false, 0}}};
    for (const Case& expected : cases) {
        setLevel(expected.level);
        Manager fresh;
        testing::internal::CaptureStdout();
        ASSERT_TRUE(open(fresh, "log")) << expected.level;
        const std::string console = testing::internal::GetCapturedStdout();
        EXPECT_EQ(fresh.getLogger()->isEnabled(), expected.enabled) << expected.level;
        EXPECT_EQ(fresh.getLogger()->isToStdout(), expected.toStdout) << expected.level;
        EXPECT_EQ(fresh.getLogger()->isToDebugger(), expected.toDebugger) << expected.level;
        EXPECT_EQ(fresh.getThreshold(), expected.threshold) << expected.level;
        EXPECT_EQ(console.empty(), !expected.toStdout) << expected.level;
    }
}

TEST_F(uLogManagerTest, WithoutALevelTheLogIsThereAndSwitchedOff) {
    setLevel("");
    ASSERT_TRUE(open(manager, "log"));
    ASSERT_NE(manager.getLogger(), nullptr);
    EXPECT_FALSE(manager.getLogger()->isEnabled());
    manager.getLogger()->log(1, 0, "a");
    EXPECT_FALSE(folder.has("log"));
    EXPECT_EQ(manager.getOpenCount(), 1U);
}

TEST_F(uLogManagerTest, FullDiskGivesNoLog) {
    manager.freeBytes = 5119999;
    EXPECT_FALSE(open(manager, "log"));
    EXPECT_EQ(manager.getLogger(), nullptr);
    EXPECT_EQ(manager.getOpenCount(), 0U);
    EXPECT_FALSE(folder.has("log"));
    EXPECT_EQ(manager.askedFor, folder.path.string());
    manager.freeBytes = 5120000;
    EXPECT_TRUE(open(manager, "log"));
}

TEST_F(uLogManagerTest, UnknownFreeSpaceGivesNoLog) {
    manager.freeBytes.reset();
    EXPECT_FALSE(open(manager, "log"));
    EXPECT_EQ(manager.getLogger(), nullptr);
}

TEST_F(uLogManagerTest, DirectoryThatIsNotThereGivesNoLog) {
    uEnvironment::set("ORV_TEST_DIR", folder.file("none").c_str());
    uLogManager real;
    EXPECT_FALSE(open(real, "log"));
    EXPECT_FALSE(folder.has("none"));
    uEnvironment::set("ORV_TEST_DIR", folder.path.string().c_str());
    EXPECT_TRUE(open(real, "log"));
    EXPECT_TRUE(folder.has("log"));
}

TEST_F(uLogManagerTest, DirectoryIsCreatedWhereItsVolumeIsKnown) {
    uEnvironment::set("ORV_TEST_DIR", folder.file("new").c_str());
    ASSERT_TRUE(open(manager, "log"));
    EXPECT_TRUE(folder.has("new/log"));
}

TEST_F(uLogManagerTest, SharedOpensOfOneNameGiveOneLog) {
    ASSERT_TRUE(open(manager, "log"));
    uLogger* first = manager.getLogger();
    ASSERT_TRUE(open(manager, "log"));
    EXPECT_EQ(manager.getLogger(), first);
    EXPECT_EQ(manager.getOpenCount(), 1U);
    EXPECT_TRUE(manager.isShared());
}

TEST_F(uLogManagerTest, KnownLogBecomesTheCurrentOneAgain) {
    ASSERT_TRUE(open(manager, "first"));
    uLogger* first = manager.getLogger();
    ASSERT_TRUE(open(manager, "second"));
    EXPECT_NE(manager.getLogger(), first);
    EXPECT_EQ(manager.getOpenCount(), 2U);
    manager.freeBytes = 0; // not queried for an open log
    ASSERT_TRUE(open(manager, "first"));
    EXPECT_EQ(manager.getLogger(), first);
    EXPECT_EQ(manager.getOpenCount(), 2U);
}

TEST_F(uLogManagerTest, OpenWithoutSharingAlwaysMakesALog) {
    ASSERT_TRUE(open(manager, "log", separate));
    EXPECT_FALSE(manager.isShared());
    uLogger* first = manager.getLogger();
    ASSERT_TRUE(open(manager, "log", separate));
    EXPECT_NE(manager.getLogger(), first);
    EXPECT_EQ(manager.getOpenCount(), 2U);
    ASSERT_TRUE(open(manager, "log", shared));
    EXPECT_EQ(manager.getOpenCount(), 3U);
    ASSERT_TRUE(open(manager, "log", separate)); // sharing is per call
    EXPECT_EQ(manager.getOpenCount(), 4U);
    EXPECT_FALSE(manager.isShared());
}

TEST_F(uLogManagerTest, WithoutADirectoryThePathIsTheBareName) {
    const uEnvironment::ScopedDirectoryChanger changer(folder.path.string().c_str());
    ASSERT_TRUE(manager.open("bare", "ORV_TEST_LEVEL", nullptr, shared));
    EXPECT_EQ(manager.getLogger()->getPath(), "bare");
    EXPECT_TRUE(folder.has("bare"));
    ASSERT_TRUE(manager.open("bare2", "ORV_TEST_LEVEL", "ORV_NO_SUCH_VARIABLE", shared));
    EXPECT_EQ(manager.getLogger()->getPath(), "bare2");
    manager.getLogger()->setEnabled(false);
}

TEST_F(uLogManagerTest, MissingProfileDoesNotKeepTheLogFromOpening) {
    const std::string home = uEnvironment::get("HOME");
    uEnvironment::set("USERPROFILE", "");
    uEnvironment::set("HOME", "");
    EXPECT_TRUE(open(manager, "log"));
    uEnvironment::set("HOME", home.c_str());
    EXPECT_THAT(folder.read("log"), testing::HasSubstr("trace user settings directory is \n"));
}

} // namespace
} // namespace VX_QRS
