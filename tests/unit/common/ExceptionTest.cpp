#include "common/source/ChannelSettings.h"
#include "common/source/Exception.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <type_traits>

namespace VX_QRS::ORV::CLIENT {
namespace {

struct StatusCase {
    std::uint32_t status;
    const char* name;
    const char* text;
};

constexpr std::array<StatusCase, 16> statusCases{{
    {1, "eFAIL", "operation failed"},
    {2, "eVER", "incompatible version requested"},
    {3, "eALLOC", "memory allocation failed"},
    {4, "eNULL", "null parameter"},
    {5, "eNAME", "invalid variable name"},
    {6, "eVALUE", "invalid variable value"},
    {7, "eFILE", "invalid file"},
    {8, "eTYPE", "invalid type"},
    {9, "eSEQUENCE", "invalid sequence of calls"},
    {10, "eCONFIG", "invalid configuration"},
    {11, "eXMTR:", "transmitter failure"},
    {12, "eCALIBRATE", "failed to calibrate channel"},
    {13, "eOVS", "over sampling error"},
    {14, "eDATASERVER", "data server failure"},
    {15, "eTARGET", "invalid target state"},
    {16, "eLOAD", "dll load failure"},
}};

TEST(Status, EveryNumberHasItsNameAndText) {
    for (const StatusCase& expected : statusCases) {
        EXPECT_STREQ(statusName(expected.status), expected.name);
        EXPECT_STREQ(statusText(expected.status), expected.text);
        const Exception e(nullptr, 0, expected.status);
        EXPECT_EQ(e.status(), expected.status);
        EXPECT_STREQ(e.statusName(), expected.name);
        EXPECT_STREQ(e.statusText(), expected.text);
    }
}

TEST(Status, EnumeratorsHaveTheNumbersOfTheTable) {
    static_assert(std::is_same_v<std::underlying_type_t<Status>, std::uint32_t>);
    constexpr std::array<Status, 16> inOrder{eFAIL, eVER,        eALLOC,    eNULL,   eNAME, eVALUE,
                                             eFILE, eTYPE,       eSEQUENCE, eCONFIG, eXMTR, eCALIBRATE,
                                             eOVS,  eDATASERVER, eTARGET,   eLOAD};
    for (std::size_t i = 0; i < inOrder.size(); ++i) {
        EXPECT_EQ(inOrder[i], i + 1);
    }
}

TEST(Exception, NumbersOutsideTheTableAreUnknown) {
    EXPECT_STREQ(Exception("unit", 1, 0).what(), "UNKNOWN(0) : unknown status");
    EXPECT_STREQ(Exception("unit", 1, 17).what(), "UNKNOWN(17) : unknown status");
    EXPECT_STREQ(Exception("unit", 1, 0xFFFFFFFF).what(), "UNKNOWN(4294967295) : unknown status");
}

TEST(Exception, NameOfTransmitterFailureKeepsItsColon) {
    EXPECT_STREQ(Exception("unit", 1, eXMTR).what(), "eXMTR:(11) : transmitter failure");
}

TEST(Exception, EmptyAndNullDetailLeaveNoTrailingColon) {
    EXPECT_STREQ(Exception("unit", 1, eNULL, nullptr).what(), "eNULL(4) : null parameter");
    EXPECT_STREQ(Exception("unit", 1, eNULL, "").what(), "eNULL(4) : null parameter");
    EXPECT_STREQ(Exception("unit", 1, eNULL, "").detail(), "");
}

TEST(Exception, DetailFollowsTheText) {
    const Exception e("orv_client_frontend", 247, eVALUE, "numPins");
    EXPECT_STREQ(e.what(), "eVALUE(6) : invalid variable value : numPins");
    EXPECT_STREQ(e.detail(), "numPins");
    EXPECT_STREQ(e.file(), "orv_client_frontend");
    EXPECT_EQ(e.line(), 247U);
}

TEST(Exception, NullFileIsAnEmptyText) {
    EXPECT_STREQ(Exception(nullptr, 3, eFAIL).file(), "");
}

TEST(Exception, FailThrowsFromTheLineThatCalls) {
    std::uint32_t line = 0;
    try {
        line = __LINE__ + 1;
        fail("orv_client_patterns", eFILE, "a path");
    } catch (const std::exception& caught) {
        const auto* e = dynamic_cast<const Exception*>(&caught);
        ASSERT_NE(e, nullptr);
        EXPECT_STREQ(e->what(), "eFILE(7) : invalid file : a path");
        EXPECT_STREQ(e->file(), "orv_client_patterns");
        EXPECT_EQ(e->line(), line);
    }
    EXPECT_NE(line, 0U);
    EXPECT_THROW(fail("unit", eFAIL), Exception);
}

TEST(ChannelSettings, NewRecordHasTheDefaults) {
    const ChannelSettings settings;
    EXPECT_TRUE(settings.isSync);
    EXPECT_TRUE(settings.isStopOnFull);
    EXPECT_EQ(settings.numPins, 1U);
    EXPECT_EQ(settings.pinMap, "");
    EXPECT_EQ(settings.bufferSizeIndex, 0U);
    EXPECT_EQ(settings.bufferSizeChoices, (std::vector<std::string>{"256 kB", "512 kB", "1 MB", "2 MB", "4 MB", "8 MB",
                                                                    "16 MB", "32 MB", "64 MB", "128 MB"}));
    EXPECT_EQ(settings.transmitter, "pti");
    EXPECT_EQ(settings.startPort, 0U);
    EXPECT_FALSE(settings.stallCpu);
    EXPECT_FALSE(settings.monitorCprt);
    EXPECT_FALSE(settings.noDataTraceOnFifoFull);
    EXPECT_TRUE(settings.cycleAccurateTrace);
    EXPECT_EQ(settings.exportFrameSize, 0U);
}

} // namespace
} // namespace VX_QRS::ORV::CLIENT
