#include "TestSupport.h"
#include "common/source/Exception.h"
#include "rcvr/Error.h"
#include "rcvr/Guard.h"

#include <stdexcept>
#include <thread>

namespace {

using namespace Vx::Qrs::Trace::OrvRcvr;
using namespace rcvr_test;
using testing::ElementsAre;
using testing::IsEmpty;
using VX_QRS::ORV::CLIENT::Exception;

TEST(Error, EveryCodeHasItsWords) {
    const std::vector<std::pair<std::uint32_t, std::string>> expected{
        {0, "operation failed"}, {1, "operation failed"},          {2, "memory allocation failed"},
        {3, "null parameter"},   {4, "invalid variable name"},     {5, "operation failed"},
        {6, "invalid file"},     {7, "invalid sequence of calls"}, {8, "invalid target state"},
        {9, "dll load failure"}, {10, "operation failed"},         {0xFFFFFFFF, "operation failed"}};
    for (const auto& [code, words] : expected) {
        EXPECT_EQ(Error(nullptr, 0, code, nullptr).GetErrorText(), words) << code;
        EXPECT_EQ(Error(nullptr, 0, code, "why").GetErrorText(), words + " : why") << code;
        EXPECT_EQ(Error(nullptr, 0, code, nullptr).GetCode(), code);
    }
}

TEST(Error, IsAnErrorOfSeverityTwoHoweverItIsMade) {
    const std::runtime_error standard("standard");
    for (const Error& error : {Error(), Error("file", 1, 8, "detail"), Error(standard)}) {
        EXPECT_STREQ(error.GetTitle(), "error");
        EXPECT_EQ(error.GetSeverity(), 2U);
    }
    EXPECT_STREQ(Error().GetErrorText(), "operation failed");
    EXPECT_EQ(Error().GetCode(), 1U);
    EXPECT_EQ(Error().GetDetailedText(), nullptr);
}

TEST(Error, TellsItsPlaceInTheDetailedText) {
    EXPECT_STREQ(Error("OrvRcvr_Receiver", 12, 1, nullptr).GetDetailedText(), "OrvRcvr_Receiver(12)");
    EXPECT_EQ(Error(nullptr, 12, 1, nullptr).GetDetailedText(), nullptr);
}

TEST(Error, FromAnExceptionTakesMessageDetailAndPlaceButNotTheStatus) {
    const Error plain(Exception("unit", 34, 4, nullptr));
    EXPECT_STREQ(plain.GetErrorText(), "null parameter");
    EXPECT_STREQ(plain.GetDetailedText(), "unit(34)");
    EXPECT_EQ(plain.GetCode(), 1U);
    EXPECT_STREQ(Error(Exception("unit", 34, 11, "no link")).GetErrorText(), "transmitter failure : no link");
    EXPECT_STREQ(Error(Exception("unit", 34, 11, "")).GetErrorText(), "transmitter failure");
    EXPECT_STREQ(Error(Exception("unit", 34, 17, "")).GetErrorText(), "unknown status");
}

TEST(Error, FromAnyOtherExceptionCarriesItsTextAndNoPlace) {
    const Error error(std::runtime_error("it broke"));
    EXPECT_STREQ(error.GetErrorText(), "it broke");
    EXPECT_EQ(error.GetDetailedText(), nullptr);
}

TEST(Error, FormatsOneLineForTheLog) {
    Error error("OrvRcvr_ChannelDriver", 247, 8, "StartRecording bad state - disconnected");
    EXPECT_STREQ(error.FormatForLog(), "ORV Receiver : error(2) : invalid target state : StartRecording bad state - "
                                       "disconnected : OrvRcvr_ChannelDriver(247)");
    EXPECT_STREQ(Error().FormatForLog(), "ORV Receiver : error(2) : operation failed");
}

TEST(Error, IsLoggedWhenMadeAndNotWhenCopied) {
    TemporaryFolder folder;
    const LogCapture log(folder);
    const Error error("unit", 5, 6, "x");
    const Error copy(error); // NOLINT: the copy is the point
    EXPECT_STREQ(copy.GetErrorText(), "invalid file : x");
    EXPECT_STREQ(copy.GetDetailedText(), "unit(5)");
    EXPECT_EQ(copy.GetCode(), 6U);
    EXPECT_THAT(log.lines(), ElementsAre("E ORV Receiver : error(2) : invalid file : x : unit(5)"));
}

TEST(Error, IsNotLoggedBelowThresholdTwo) {
    TemporaryFolder folder;
    const LogCapture log(folder, "1");
    const Error error("unit", 5, 6, "x");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(Error, ThrownFromALineCarriesThatLine) {
    std::uint32_t line = 0;
    try {
        line = __LINE__ + 1;
        throwError(receiverUnit, eNoLibrary, std::string("detail"));
    } catch (const Error& error) {
        EXPECT_EQ(error.GetDetailedText(), "OrvRcvr_Receiver(" + std::to_string(line) + ")");
        EXPECT_STREQ(error.GetErrorText(), "dll load failure : detail");
    }
}

TEST(Error, IsCaughtAsTheFrameworksClassAndDeleteDoesNothing) {
    try {
        throwError(receiverUnit, eFailed);
    } catch (Vx::Qrs::Zarn::cZarnErrorIF& error) {
        error.Delete();
        error.PushText("above");
        EXPECT_STREQ(error.GetErrorText(), "above : operation failed");
    }
}

TEST(Error, KeepsTextsOfAnyLengthThroughCopiesAndChanges) {
    for (const std::size_t length : {0U, 1U, 190U, 191U, 192U, 193U, 100000U}) {
        const std::string text(length, 't');
        Vx::Qrs::Zarn::cZarnError error(text.c_str(), Vx::Qrs::Zarn::eSeverityError);
        EXPECT_EQ(error.GetErrorText(), text);
        error.SetErrorText(error.GetErrorText());
        EXPECT_EQ(error.GetErrorText(), text);
        error.AddDetailedInfo(text);
        error.AddDetailedInfo("+");
        error.SetTitle(text.c_str());
        error.PushText("above");
        Vx::Qrs::Zarn::cZarnError copy(error);
        EXPECT_EQ(copy.GetErrorText(), length == 0 ? "above" : "above : " + text);
        EXPECT_EQ(copy.GetDetailedText(), text + "+");
        EXPECT_EQ(copy.GetTitle(), text);
        error.SetErrorText("other");
        copy = error;
        EXPECT_STREQ(copy.GetErrorText(), "other");
        const auto& same = copy;
        copy = same;
        EXPECT_EQ(copy.GetDetailedText(), text + "+");
    }
}

class GuardTest : public testing::Test {
protected:
    bool mutexIsFree() {
        bool free = false;
        std::thread other([&] {
            // A lock that is held shows in that the thread never gets here; the test's time limit would tell.
            free = mutex.lock();
            mutex.unlock();
        });
        other.join();
        return free;
    }

    TemporaryFolder folder;
    LogCapture log{folder};
    VX_QRS::uMutex mutex;
};

TEST_F(GuardTest, HandsTheResultOnAndFreesTheMutex) {
    EXPECT_EQ(guarded("Label", &mutex, [] { return 7; }), 7);
    EXPECT_TRUE(mutexIsFree());
    EXPECT_FALSE(mutex.unlock());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GuardTest, AStandardExceptionIsLoggedAndBecomesAnError) {
    EXPECT_THROW(guarded("Label", &mutex, [] { throw std::runtime_error("it broke"); }), Error);
    EXPECT_TRUE(mutexIsFree());
    EXPECT_FALSE(mutex.unlock());
    EXPECT_THAT(log.lines(),
                ElementsAre("E ORV Receiver : Label std exception : it broke", "E ORV Receiver : error(2) : it broke"));
}

TEST_F(GuardTest, AnErrorPassesUnchanged) {
    try {
        guarded("Label", &mutex, [] { throw Error("unit", 9, 6, "x"); });
        FAIL();
    } catch (const Error& error) {
        EXPECT_EQ(error.GetCode(), 6U);
        EXPECT_STREQ(error.GetErrorText(), "invalid file : x");
    }
    EXPECT_TRUE(mutexIsFree());
    EXPECT_THAT(log.lines(), ElementsAre("E ORV Receiver : error(2) : invalid file : x : unit(9)",
                                         "E ORV Receiver : Label unknown exception"));
}

TEST_F(GuardTest, AnythingElsePassesAsItIs) {
    EXPECT_THROW(guarded("Label", nullptr, [] { throw 42; }), int);
    EXPECT_THAT(log.lines(), ElementsAre("E ORV Receiver : Label unknown exception"));
}

TEST_F(GuardTest, ACallerMayHaveItLoggedAsAWarning) {
    EXPECT_THROW(guarded("Label", &mutex, [] { throw std::runtime_error("x"); }, logStandardAsWarning), Error);
    EXPECT_EQ(log.lines().front(), "W ORV Receiver : Label std exception : x");
}

} // namespace
