#include "DriverFixture.h"
#include "common/source/source_utilities/uTime.h"
#include "rcvr/framework/CReceiver.h"

#include <gtest/gtest.h>

// What a process does once is tested in processes of their own.

namespace {

using namespace rcvr_test;
using testing::Contains;

class EntryPoints : public DriverFixture {
protected:
    EntryPoints() : DriverFixture({"part", "adapter", "driver", "source"}) {}
    ~EntryPoints() override {
        if (auto* logger = VX_QRS::getLogManager()->getLogger()) {
            logger->setEnabled(false);
        }
    }

    std::string base() const { return (std::filesystem::path(folder.path.string()) / ".VX-trace").string(); }
    std::string logPath(const std::string& pidText) const {
        const VX_QRS::uTime now;
        std::string name = "vx_trace_log_";
        name.append(std::to_string(now.getMonth())).append(std::to_string(now.getDay()));
        name.append(std::to_string(now.getYear())).append("_").append(pidText).append(".txt");
        return (std::filesystem::path(base()) / name).string();
    }
    static std::string ownPid() { return std::to_string(uEnvironment::getCurrentProcessId()); }
    std::vector<std::string> messages(const std::string& path) {
        std::vector<std::string> found;
        for (const std::string& line : readLines(path)) {
            const std::size_t bar = line.find("| ");
            found.push_back(bar != std::string::npos ? line.substr(bar + 2) : line.substr(7));
        }
        return found;
    }

    ScopedVariable level{"VX_TRACE_LOGGING", "1"};
    ScopedVariable pid{"VX_TRACE_DEBUGCLIENT_PID", ""};
};

TEST_F(EntryPoints, TheSecondCreateGivesTheSameReceiverAndTheLastDestroyEndsIt) {
    CReceiver* first = CreateRcvr();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(CreateRcvr(), first);
    EXPECT_EQ(frontEndSource().created, 1);
    DestroyRcvr(first);
    EXPECT_EQ(frontEndSource().destroyed, 0);
    EXPECT_EQ(first->GetNumAttachedCpus(), 0U);
    DestroyRcvr(first);
    EXPECT_EQ(frontEndSource().destroyed, 1);
}

TEST_F(EntryPoints, ADestroyWithAForeignPointerOrWithoutAUserChangesNothing) {
    DestroyRcvr(nullptr);
    DestroyRcvr(reinterpret_cast<CReceiver*>(std::uintptr_t{8}));
    CReceiver* made = CreateRcvr();
    DestroyRcvr(reinterpret_cast<CReceiver*>(std::uintptr_t{8}));
    DestroyRcvr(nullptr);
    EXPECT_EQ(frontEndSource().destroyed, 0);
    DestroyRcvr(made);
    EXPECT_EQ(frontEndSource().destroyed, 1);
    DestroyRcvr(made);
    EXPECT_EQ(frontEndSource().destroyed, 1);
}

TEST_F(EntryPoints, TheFirstCreateSettlesTheEnvironment) {
    CReceiver* made = CreateRcvr();
    const std::filesystem::path tree = base();
    EXPECT_EQ(uEnvironment::get("VX_TRACE_LOGGING_DIR"), tree.string());
    EXPECT_EQ(uEnvironment::get("VX_TRACE_DATA_DIR"), (tree / "data").string());
    EXPECT_EQ(uEnvironment::get("VX_TRACE_SETTINGS_DIR"), (tree / "settings").string());
    EXPECT_TRUE(std::filesystem::is_directory(tree / "data"));
    EXPECT_TRUE(std::filesystem::is_directory(tree / "settings"));
    EXPECT_EQ(uEnvironment::get("VX_TRACE_DEBUGCLIENT_PID"), ownPid());
    DestroyRcvr(made);
    const auto lines = messages(logPath(ownPid()));
    ASSERT_GT(lines.size(), 4U);
    EXPECT_EQ(lines[0], "Logger : trace user settings directory is " + (tree / "settings").string());
    EXPECT_EQ(lines[1], "Logger : trace temporary data directory is " + (tree / "data").string());
    EXPECT_EQ(lines[2], "on entry g_refCnt=0");
    EXPECT_THAT(lines, Contains("created"));
    EXPECT_THAT(lines, Contains("on entry g_refCnt=1"));
    EXPECT_THAT(lines, Contains("destroyed"));
}

TEST_F(EntryPoints, TheDirectoriesOfAProfileOnANetworkShareKeepTheirTwoSeparators) {
    // Here on a path that every machine has.
    const std::string separator = uEnvironment::separator();
    const std::string start = separator == "/" ? "/" : "\\\\?\\";
    const std::string profilePath = start + folder.path.string();
    uEnvironment::set("USERPROFILE", profilePath.c_str());
    DestroyRcvr(CreateRcvr());
    const std::string tree = profilePath + separator + ".VX-trace";
    EXPECT_EQ(uEnvironment::get("VX_TRACE_LOGGING_DIR"), tree);
    EXPECT_EQ(uEnvironment::get("VX_TRACE_DATA_DIR"), tree + separator + "data");
    EXPECT_EQ(uEnvironment::get("VX_TRACE_SETTINGS_DIR"), tree + separator + "settings");
    EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::path(base()) / "data"));
    EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::path(base()) / "settings"));
    EXPECT_TRUE(std::filesystem::exists(logPath(ownPid())));
}

TEST_F(EntryPoints, WithoutKnownSpaceForItsLogItWorksWithoutOne) {
    const std::filesystem::path profilePath = folder.path / "profile";
    writeBytes(profilePath.string(), "a file, in which no folder can be made");
    uEnvironment::set("USERPROFILE", profilePath.string().c_str());
    const std::string name = std::filesystem::path(logPath(ownPid())).filename().string();
    CReceiver* made = CreateRcvr();
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->GetNumAttachedCpus(), 0U);
    DestroyRcvr(made);
    std::filesystem::remove(profilePath);
    std::filesystem::create_directories(profilePath / ".VX-trace");
    DestroyRcvr(CreateRcvr());
    EXPECT_EQ(messages((profilePath / ".VX-trace" / name).string()).front().rfind("Logger : ", 0), 0U)
        << "the next life opens it";
}

TEST_F(EntryPoints, AStaleDebugClientIsReplacedByThisProcess) {
    // No process has the greatest number.
    uEnvironment::set("VX_TRACE_DEBUGCLIENT_PID", "4294967294");
    DestroyRcvr(CreateRcvr());
    EXPECT_EQ(uEnvironment::get("VX_TRACE_DEBUGCLIENT_PID"), ownPid());
    EXPECT_TRUE(std::filesystem::exists(logPath(ownPid())));
}

TEST_F(EntryPoints, RubbishForADebugClientIsReplacedByThisProcess) {
    uEnvironment::set("VX_TRACE_DEBUGCLIENT_PID", "rubbish");
    DestroyRcvr(CreateRcvr());
    EXPECT_EQ(uEnvironment::get("VX_TRACE_DEBUGCLIENT_PID"), ownPid());
}

TEST_F(EntryPoints, ALivingDebugClientIsKeptWithItsNumberInTheLogsName) {
    // Written with a leading blank it is the same process, but another text.
    const std::string living = " " + ownPid();
    uEnvironment::set("VX_TRACE_DEBUGCLIENT_PID", living.c_str());
    DestroyRcvr(CreateRcvr());
    EXPECT_EQ(uEnvironment::get("VX_TRACE_DEBUGCLIENT_PID"), living);
    EXPECT_TRUE(std::filesystem::exists(logPath(living)));
}

TEST_F(EntryPoints, ASecondLifeIsANewReceiverInTheSameEnvironmentAndLog) {
    DestroyRcvr(CreateRcvr());
    TemporaryFolder elsewhere;
    uEnvironment::set("USERPROFILE", elsewhere.path.string().c_str());
    uEnvironment::set("VX_TRACE_LOGGING_DIR", "changed");
    CReceiver* second = CreateRcvr();
    EXPECT_EQ(frontEndSource().created, 2);
    EXPECT_STREQ(uEnvironment::get("VX_TRACE_LOGGING_DIR"), "changed");
    EXPECT_FALSE(std::filesystem::exists(elsewhere.path / ".VX-trace"));
    DestroyRcvr(second);
    const auto lines = messages(logPath(ownPid()));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "created"), 2);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "destroyed"), 2);
    const auto opened = [](const std::string& line) { return line.rfind("Logger : ", 0) == 0; };
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), opened), 2) << "one log is opened once, with its two lines";
}

TEST_F(EntryPoints, ASecondLifeGoesOnInTheOneLogAtTheLevelThatItWasOpenedWith) {
    // All that a log could be opened with anew is still there.
    auto* const manager = VX_QRS::getLogManager();
    DestroyRcvr(CreateRcvr());
    const VX_QRS::uLogger* const log = manager->getLogger();
    const std::uint32_t opened = manager->getOpenCount();
    uEnvironment::set("VX_TRACE_LOGGING", "3");
    DestroyRcvr(CreateRcvr());
    EXPECT_EQ(manager->getLogger(), log);
    EXPECT_EQ(manager->getOpenCount(), opened);
    EXPECT_EQ(manager->getThreshold(), 1);
    const auto lines = messages(logPath(ownPid()));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "created"), 2);
    EXPECT_THAT(lines, testing::Contains(testing::StartsWith("Logger : ")).Times(2));
}

TEST_F(EntryPoints, WithoutAProfileItWorksWithoutALogAndTriesAgain) {
    const ScopedVariable home("HOME", "");
    uEnvironment::set("USERPROFILE", "");
    DestroyRcvr(CreateRcvr());
    EXPECT_EQ(VX_QRS::getLogManager()->getLogger(), nullptr);
    uEnvironment::set("USERPROFILE", folder.path.string().c_str());
    DestroyRcvr(CreateRcvr());
    EXPECT_TRUE(std::filesystem::exists(logPath(ownPid())));
}

TEST_F(EntryPoints, AFailedConstructionThrowsAnErrorAndLeavesNoReceiver) {
    frontEndSource().onCreate = [] { throw failure(); };
    EXPECT_EQ(failureOf([] { CreateRcvr(); }), "Error 1: data server failure : no answer");
    frontEndSource().onCreate = [] { throw 42; };
    EXPECT_EQ(failureOf([] { CreateRcvr(); }), "Error 1: operation failed : unknown exception while creating receiver");
    frontEndSource().onCreate = nullptr;
    {
        const ScopedVariable behaviour("FAKE_PART", "zarn");
        EXPECT_EQ(failureOf([] { CreateRcvr(); }),
                  "Error 1: operation failed : unknown exception while creating receiver");
    }
    {
        const Siblings nothing({"nowhere"});
        EXPECT_EQ(failureOf([] { CreateRcvr(); }), "Error 9: dll load failure : PartIdentifier");
    }
    CReceiver* made = CreateRcvr(); // the count is as it was
    DestroyRcvr(made);
    EXPECT_EQ(frontEndSource().created, frontEndSource().destroyed + 2);
}

TEST_F(EntryPoints, ATeardownThatFailsLetsNothingOutAndTheNextLifeWorks) {
    uEnvironment::set("VX_TRACE_LOGGING", "3");
    CReceiver* made = CreateRcvr();
    made->AllocateChannel("a", &xmtr, 0, 0);
    EXPECT_CALL(frontEnd, release).Times(1);
    frontEndSource().onDestroy = [] { throw failure(); };
    DestroyRcvr(made);
    DestroyRcvr(made); // no user any more
    frontEndSource().onDestroy = [] { throw 42; };
    CReceiver* second = CreateRcvr();
    DestroyRcvr(second);
    frontEndSource().onDestroy = [] { throw Error(); };
    DestroyRcvr(CreateRcvr());
    frontEndSource().onDestroy = nullptr;
    DestroyRcvr(CreateRcvr());
    EXPECT_EQ(frontEndSource().created, 4);
    EXPECT_EQ(frontEndSource().destroyed, 4);
    const auto lines = messages(logPath(ownPid()));
    EXPECT_THAT(lines, Contains("eDATASERVER(14) : data server failure : no answer"));
    EXPECT_THAT(lines, Contains("unknown exception").Times(1)) << "the Error is dropped without a word";
}

TEST_F(EntryPoints, AtTheLowestLevelAFailedTeardownIsNotTold) {
    frontEndSource().onDestroy = [] { throw failure(); };
    DestroyRcvr(CreateRcvr());
    frontEndSource().onDestroy = [] { throw 42; };
    DestroyRcvr(CreateRcvr());
    const auto lines = messages(logPath(ownPid()));
    EXPECT_THAT(lines, Contains("destroyed").Times(2));
    EXPECT_THAT(lines, testing::Not(Contains(testing::HasSubstr("no answer"))));
    EXPECT_THAT(lines, testing::Not(Contains("unknown exception")));
}

TEST_F(EntryPoints, AFailedCreateAfterAFailedTeardownDeletesNothingTwice) {
    CReceiver* made = CreateRcvr();
    frontEndSource().onDestroy = [] { throw failure(); };
    DestroyRcvr(made);
    frontEndSource().onCreate = [] { throw failure(); };
    EXPECT_NE(failureOf([] { CreateRcvr(); }), "");
    EXPECT_NE(failureOf([] { CreateRcvr(); }), "");
    EXPECT_EQ(frontEndSource().destroyed, 1);
}

TEST_F(EntryPoints, ASecondCreateAndARefusedDestroyAreLogged) {
    uEnvironment::set("VX_TRACE_LOGGING", "6");
    testing::internal::CaptureStdout();
    CReceiver* made = CreateRcvr();
    const auto linesOf = [&](const std::function<void()>& call) {
        const std::size_t before = readLines(logPath(ownPid())).size();
        call();
        auto lines = readLines(logPath(ownPid()));
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
        return lines;
    };
    const auto expectTwoLines = [](const std::vector<std::string>& lines, const char* function, const char* count) {
        ASSERT_EQ(lines.size(), 2U) << function;
        EXPECT_THAT(lines[0], testing::StartsWith("  F "));
        EXPECT_THAT(lines[0], testing::HasSubstr("OrvRcvr_Receiver #"));
        EXPECT_THAT(lines[0], testing::EndsWith("  " + std::string(function) + "(...)"));
        EXPECT_THAT(lines[1], testing::EndsWith(std::string("| on entry g_refCnt=") + count));
    };
    expectTwoLines(linesOf([] { CreateRcvr(); }), "CreateRcvr", "1");
    expectTwoLines(linesOf([] { DestroyRcvr(nullptr); }), "DestroyRcvr", "2");
    expectTwoLines(linesOf([&] { DestroyRcvr(made); }), "DestroyRcvr", "2");
    DestroyRcvr(made);
    expectTwoLines(linesOf([&] { DestroyRcvr(made); }), "DestroyRcvr", "0");
    testing::internal::GetCapturedStdout();
}

TEST_F(EntryPoints, EntryLinesNameTheFunctions) {
    uEnvironment::set("VX_TRACE_LOGGING", "6");
    testing::internal::CaptureStdout();
    DestroyRcvr(CreateRcvr());
    testing::internal::GetCapturedStdout();
    const std::string log = readText(logPath(ownPid()));
    for (const char* name :
         {"  CreateRcvr(...)\n", "  DestroyRcvr(...)\n", "  Vx::Qrs::Trace::OrvRcvr::Receiver::Receiver(...)\n",
          "  Vx::Qrs::Trace::OrvRcvr::Receiver::~Receiver(...)\n"}) {
        EXPECT_NE(log.find(name), std::string::npos) << name;
    }
    EXPECT_NE(log.find("  F    OrvRcvr_Receiver #"), std::string::npos);
}

} // namespace
