#include "tests/unit/client/frontend/ChannelFixture.h"

#include <array>
#include <filesystem>
#include <string>

// Properties that the channel stores and does not read back, and texts that it keeps whole.

namespace client_test {

namespace {

class StoredProperties : public ChannelTest {
protected:
    void set(const char* name, const std::string& value) { channel->setProperty(name, value.c_str()); }
};

struct Flag {
    const char* name;
    bool usual;
};

constexpr std::array flags{Flag{"stmClockTimeoutEnable", true}, Flag{"stmZeroTimeoutEnable", true},
                           Flag{"stmPeriodicSyncEnable", false}, Flag{"stmDiagnosticTimingEnable", false},
                           Flag{"stm32BitDataLimit", false}};

} // namespace

TEST_F(StoredProperties, BeginWithTheirDefaults) {
    const auto& settings = inside().settings();
    EXPECT_EQ(settings.frequencyLimit, 0.0);
    EXPECT_EQ(settings.startPort, 0u);
    EXPECT_EQ(settings.numPins, 0u);
    EXPECT_EQ(settings.referencePin, 1u);
    EXPECT_EQ(settings.stmTimeoutPeriod, 0x7FFFFFFFu);
    EXPECT_EQ(settings.stmSyncPeriod, 0x7FFFFFFFu);
    for (const auto* list :
         {&settings.delays, &settings.stretches, &settings.plateaus, &settings.debounces, &settings.filters}) {
        EXPECT_TRUE(list->empty());
    }
    EXPECT_EQ(inside().limits().orvBufSizeMin, 0x40000u);
    EXPECT_EQ(inside().limits().orvBufSizeMax, 0x8000000u);
}

TEST_F(StoredProperties, EachFlagSetsItselfOnly) {
    const auto values = [this] {
        const auto& s = inside().settings();
        return std::array{s.stmClockTimeoutEnable, s.stmZeroTimeoutEnable, s.stmPeriodicSyncEnable,
                          s.stmDiagnosticTimingEnable, s.stm32BitDataLimit};
    };
    std::array<bool, flags.size()> expected{};
    for (std::size_t i = 0; i < flags.size(); ++i) {
        expected[i] = flags[i].usual;
    }
    EXPECT_EQ(values(), expected);
    for (std::size_t i = 0; i < flags.size(); ++i) {
        expected[i] = !flags[i].usual;
        set(flags[i].name, expected[i] ? "true" : "false");
        EXPECT_EQ(values(), expected) << flags[i].name;
        expected[i] = flags[i].usual;
        set(flags[i].name, expected[i] ? "true" : "false");
        EXPECT_EQ(values(), expected) << flags[i].name;
    }
}

TEST_F(StoredProperties, EachNumberSetsItselfOnly) {
    set("startPort", "1");
    set("stmSyncPeriod", "0x2");
    set("stmTimeoutPeriod", "03");
    set("frequencyLimit", "4.5e6");
    const auto& settings = inside().settings();
    EXPECT_EQ(settings.startPort, 1u);
    EXPECT_EQ(settings.stmSyncPeriod, 2u);
    EXPECT_EQ(settings.stmTimeoutPeriod, 3u);
    EXPECT_EQ(settings.frequencyLimit, 4.5e6);
}

TEST_F(StoredProperties, ARejectedFlagKeepsItsValue) {
    set("stmDiagnosticTimingEnable", "true");
    EXPECT_THROW(set("stmDiagnosticTimingEnable", "1"), Exception);
    EXPECT_TRUE(inside().settings().stmDiagnosticTimingEnable);
}

TEST_F(StoredProperties, WrapTurnsPeriodicSynchronisationOnAndStopLeavesIt) {
    set("orvBufMode", "stop");
    EXPECT_FALSE(inside().settings().stmPeriodicSyncEnable);
    set("orvBufMode", "wrap");
    EXPECT_TRUE(inside().settings().stmPeriodicSyncEnable);
    set("orvBufMode", "stop");
    EXPECT_TRUE(inside().settings().stmPeriodicSyncEnable);
}

TEST_F(StoredProperties, UnsignedNumbersOf31BitsAndMoreReadAsNegative) {
    set("archive", "0xFFFFFFFF");
    EXPECT_EQ(get("archive"), "-1");
    EXPECT_EQ(inside().settings().archive, 0xFFFFFFFFu);
    set("cpi", "2147483648");
    EXPECT_EQ(get("cpi"), "-2147483648");
}

TEST_F(StoredProperties, APinMapIsStoredWholeAndCountedByItsItems) {
    set("pinMap", "0x0, 1,two,");
    EXPECT_EQ(get("pinMap"), "0x0, 1,two,");
    EXPECT_EQ(inside().settings().numPins, 3u) << "nothing follows the last comma";
}

TEST_F(StoredProperties, TheSmallestWrappingBufferLosesItsBlockToo) {
    set("orvBufSize", "0");
    set("orvBufMode", "wrap");
    EXPECT_EQ(get("orvBufSize"), "245760");
    EXPECT_EQ(inside().settings().orvBufSize, 262144u) << "stored as set";
}

TEST_F(StoredProperties, AReadNameAnswersFromTheChannelAndNotFromItsSection) {
    writeText(propsPath, "[Channel 0]\ncalMode=from file\ndelays=from file\nfrequencies=from file\n");
    frontEnd->setProperty("propsFile", propsPath.c_str());
    EXPECT_EQ(get("calMode"), "automatic");
    EXPECT_EQ(get("delays"), "");
    EXPECT_EQ(get("frequencies"), "");
}

TEST_F(StoredProperties, APropertiesFileWithoutAPointInItsPathGivesTheWholeStem) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    writeText("props", "[Global]\n");
    set("propsFile", "props");
    std::filesystem::current_path(before);
    EXPECT_EQ(get("file"), "props");
}

} // namespace client_test
