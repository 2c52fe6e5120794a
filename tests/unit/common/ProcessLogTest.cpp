// The process's own log and the helpers that write to it; each case has a process of its own.
#include "common/source/source_utilities/uDll.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/common/DigitsHidden.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace VX_QRS {
namespace {

using test::digitsHidden;
using testing::EndsWith;
using testing::StartsWith;

class ProcessLog : public testing::Test {
protected:
    ~ProcessLog() override {
        if (uLogger* logger = getLogManager()->getLogger()) {
            logger->setEnabled(false); // closes the file, so that the folder can be removed
        }
    }

    void open(const char* level) {
        uEnvironment::set("USERPROFILE", folder.path.string().c_str());
        uEnvironment::set("ORV_TEST_DIR", folder.path.string().c_str());
        uEnvironment::set("ORV_TEST_LEVEL", level);
        testing::internal::CaptureStdout();
        constexpr bool shared = true;
        ASSERT_TRUE(getLogManager()->open("log", "ORV_TEST_LEVEL", "ORV_TEST_DIR", shared));
    }

    // The lines after the two of the opening.
    std::vector<std::string> lines() {
        testing::internal::GetCapturedStdout();
        std::vector<std::string> result;
        std::istringstream text(folder.read("log"));
        for (std::string line; std::getline(text, line);) {
            result.push_back(line);
        }
        EXPECT_GE(result.size(), 2U);
        result.erase(result.begin(), result.begin() + 2);
        return result;
    }

    static void logEverything() {
        logMessage("message %d", 1);
        logWarning("warning %s", "w");
        logError("error");
        logMessageAt(2, "message at %d", 2);
        logErrorAt(2, "error at 2");
        logMessageAt(3, "message at 3");
        logErrorAt(3, "error at 3");
        logEntry("unit", "Namespace::Class::function");
    }

    test_support::TemporaryFolder folder;
};

TEST_F(ProcessLog, ManagerIsOneObject) {
    EXPECT_EQ(getLogManager(), getLogManager());
}

TEST_F(ProcessLog, HelpersAreSilentWhileNoLogIsOpen) {
    EXPECT_EQ(getLogManager()->getLogger(), nullptr);
    logEverything();
}

TEST_F(ProcessLog, FirstThresholdPassesMessagesWarningsAndErrors) {
    open("1");
    logEverything();
    const std::vector<std::string> got = lines();
    ASSERT_EQ(got.size(), 3U);
    EXPECT_EQ(digitsHidden(got[0]), "M     99:99:99:999 | message 9");
    EXPECT_EQ(digitsHidden(got[1]), " W    99:99:99:999 | warning w");
    EXPECT_EQ(digitsHidden(got[2]), "    E 99:99:99:999 | error");
}

TEST_F(ProcessLog, SecondThresholdPassesTextsOfErrors) {
    open("3");
    logEverything();
    const std::vector<std::string> got = lines();
    ASSERT_EQ(got.size(), 5U);
    EXPECT_EQ(digitsHidden(got[3]), "M     99:99:99:999 | message at 9");
    EXPECT_EQ(digitsHidden(got[4]), "    E 99:99:99:999 | error at 9");
}

TEST_F(ProcessLog, ThirdThresholdPassesFunctionEntries) {
    open("6");
    logEverything();
    const int line = __LINE__ + 1;
    logEntry("orv_client_frontend", "VX_QRS::ORV::CLIENT::FrontEnd_1::alloc");
    const std::vector<std::string> got = lines();
    ASSERT_EQ(got.size(), 9U);
    EXPECT_THAT(digitsHidden(got[7]), StartsWith("  F    unit #9"));
    EXPECT_THAT(got[7], EndsWith("  Namespace::Class::function(...)"));
    EXPECT_EQ(got[8],
              "  F    orv_client_frontend #" + std::to_string(line) + "  VX_QRS::ORV::CLIENT::FrontEnd_1::alloc(...)");
}

TEST_F(ProcessLog, SwitchedOffLogGetsNothing) {
    open("9");
    EXPECT_EQ(getLogManager()->getThreshold(), 9);
    logEverything();
    EXPECT_FALSE(folder.has("log"));
    testing::internal::GetCapturedStdout();
}

TEST_F(ProcessLog, LoadingALibraryLogsItsSteps) {
    open("6");
    const std::string path = "a_folder_that_is_not_there";
    uEnvironment::set("PATH", path.c_str());
    uDll library("orv_no_such_library", -1);
    const std::vector<std::string> got = lines();
    ASSERT_EQ(got.size(), 6U);
    EXPECT_THAT(digitsHidden(got[0]), StartsWith("  F    uDll #9"));
    EXPECT_THAT(got[0], EndsWith("  VX_QRS::uDll::FindAndLoad(...)"));
    EXPECT_THAT(got[1], EndsWith("| uDll:  request to load \"orv_no_such_library\" in mode -1"));
    EXPECT_THAT(got[2], EndsWith("| uDll:  GetPlatformName returned \"orv_no_such_library.dll\""));
    std::string directory;
    uEnvironment::getCurrentDirectory(directory);
    EXPECT_THAT(got[3], EndsWith("| uDll:  Working Directory is: \"" + directory + "\""));
    EXPECT_THAT(got[4], EndsWith("| uDll:  PATH=" + path));
    EXPECT_THAT(got[5], EndsWith("| uDll: failed to load orv_no_such_library with error code 126"));
}

} // namespace
} // namespace VX_QRS
