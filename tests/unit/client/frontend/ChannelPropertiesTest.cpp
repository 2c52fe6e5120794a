#include "common/source/source_utilities/source_utilities_error.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "tests/unit/client/frontend/ChannelFixture.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace client_test {

using testing::ElementsAre;

namespace {

class PropertiesTest : public ChannelTest {
protected:
    void set(const char* name, const std::string& value) { channel->setProperty(name, value.c_str()); }
    static constexpr std::size_t mostItems = 10;
    /// The number of pins, as far as a list shows it: lists read for the pins in use.
    std::size_t pinsInUse() {
        set("delays", "0,0,0,0,0,0,0,0,0,0");
        const std::string items = get("delays");
        return static_cast<std::size_t>(std::count(items.begin(), items.end(), '0'));
    }
    /// What the channel reads from its section when it does not know a key.
    void useFile() {
        writeText(propsPath, "[Channel 0]\nstartPort=from file\nfrequencyLimit=from file\nnumPins=from file\n"
                             "propsFile=from file\nstmSyncPeriod=from file\nstmTimeoutPeriod=from file\n"
                             "stmClockTimeoutEnable=from file\nstmZeroTimeoutEnable=from file\n"
                             "stmPeriodicSyncEnable=from file\nstmDiagnosticTimingEnable=from file\n"
                             "stm32BitDataLimit=from file\nxmtrMode=from file\n");
        frontEnd->setProperty("propsFile", propsPath.c_str());
    }
};

struct Words {
    const char* name;
    std::vector<const char*> accepted;
    const char* refusal;
    bool readable;
};

const std::vector<const char*> trueFalse{"false", "true"};

const Words wordProperties[] = {
    {"stmClockTimeoutEnable", trueFalse, "stmClockTimeoutEnable must be true|false", false},
    {"stmZeroTimeoutEnable", trueFalse, "stmZeroTimeoutEnable must be true|false", false},
    {"stmPeriodicSyncEnable", trueFalse, "stmPeriodicSyncEnable must be true|false", false},
    {"stmDiagnosticTimingEnable", trueFalse, "stmDiagnosticTimingEnable must be true|false", false},
    {"stm32BitDataLimit", trueFalse, "stm32BitDataLimit must be true|false", false},
    {"orvBufMode", {"wrap", "stop"}, "orvBufMode must be stop|wrap", true},
    {"calMode", {"manual", "automatic"}, "calMode must be automatic|manual", true},
    {"verifyCal", trueFalse, "verifyCal must be true|false", true},
    {"verifyPattern", {"f0", "a5", "ramp", "walk", "lfsr"}, "verifyPattern must be f0|a5|ramp|walk|lfsr", true},
    {"testPattern",
     {"f0", "a5", "ramp", "walk", "lfsr", "none"},
     "testPattern must be none|f0|a5|ramp|walk|lfsr",
     true},
    {"deskewStrategy", {"clock", "data"}, "deskewStrategy must be clock|data", true},
    {"samplingPos", {"center", "edge", "detect"}, "samplingPos must be detect|center|edge", true},
};

} // namespace

// ---- words ----

class WordProperty : public PropertiesTest, public testing::WithParamInterface<Words> {};

TEST_P(WordProperty, TakesItsWordsAndReadsThemBack) {
    for (const char* word : GetParam().accepted) {
        EXPECT_NO_THROW(set(GetParam().name, word)) << word;
        if (GetParam().readable) {
            EXPECT_EQ(get(GetParam().name), word);
        }
    }
}

TEST_P(WordProperty, RefusesEverythingElseAndKeepsItsValue) {
    for (const std::string word : {"", "TRUE", "True", "1", "stop|wrap", "true|false", "true ", "noise", "|", "f"}) {
        const std::string before = GetParam().readable ? get(GetParam().name) : "";
        expectFailure([&] { set(GetParam().name, word); }, eVALUE, GetParam().refusal);
        if (GetParam().readable) {
            EXPECT_EQ(get(GetParam().name), before);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, WordProperty, testing::ValuesIn(wordProperties),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(PropertiesTest, DefaultOfVerifyPatternCannotBeSetAgain) {
    EXPECT_EQ(get("verifyPattern"), "verification");
    expectFailure([&] { set("verifyPattern", "verification"); }, eVALUE, "verifyPattern must be f0|a5|ramp|walk|lfsr");
    expectFailure([&] { set("verifyPattern", "none"); }, eVALUE, "verifyPattern must be f0|a5|ramp|walk|lfsr");
}

// ---- texts and numbers ----

TEST_F(PropertiesTest, TextsAreStoredAsTheyAre) {
    EXPECT_EQ(get("file"), "");
    EXPECT_EQ(get("drmXmtr"), "");
    EXPECT_EQ(get("targetSync"), "true");
    for (const char* name : {"drmXmtr", "targetSync", "file"}) {
        set(name, stem + " any, text=");
        EXPECT_EQ(get(name), stem + " any, text=");
    }
    set("file", stem);
}

TEST_F(PropertiesTest, DefaultsReadAsTheyShould) {
    EXPECT_EQ(get("orvBufMode"), "stop");
    EXPECT_EQ(get("orvBufHasWrapped"), "false");
    EXPECT_EQ(get("orvBufSize"), "4194304");
    EXPECT_EQ(get("orvBufSizes"), "262144,524288,1048576,2097152,4194304,8388608,16777216,33554432,67108864,134217728");
    EXPECT_EQ(get("calMode"), "automatic");
    EXPECT_EQ(get("verifyCal"), "true");
    EXPECT_EQ(get("testPattern"), "none");
    EXPECT_EQ(get("deskewStrategy"), "data");
    EXPECT_EQ(get("samplingPos"), "detect");
    EXPECT_EQ(get("ovsMargin"), "0");
    EXPECT_EQ(get("archive"), "0");
    EXPECT_EQ(get("cpi"), "1000000");
    EXPECT_EQ(get("frequencies"), "");
    EXPECT_EQ(get("pinMap"), "");
    EXPECT_EQ(pinsInUse(), 0u);
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_EQ(channel->getChannelNumber(), 0u);
}

TEST_F(PropertiesTest, NumbersTakeAllThreeBases) {
    set("ovsMargin", "-3");
    EXPECT_EQ(get("ovsMargin"), "-3");
    set("archive", "0x10");
    EXPECT_EQ(get("archive"), "16");
    set("cpi", "017");
    EXPECT_EQ(get("cpi"), "15");
    set("startPort", "55");
    EXPECT_EQ(inside().settings().startPort, 55u) << "stored only";
}

TEST_F(PropertiesTest, EmptyNumbersFailAsTheParserDoesAndKeepTheValue) {
    set("archive", "5");
    for (const char* name : {"ovsMargin", "archive", "cpi", "startPort", "stmSyncPeriod", "stmTimeoutPeriod",
                             "frequencyLimit", "orvBufSize", "numPins"}) {
        EXPECT_THROW(set(name, ""), VX_QRS::source_utilities_error) << name;
    }
    EXPECT_EQ(get("archive"), "5");
    EXPECT_EQ(pinsInUse(), 0u);
}

TEST_F(PropertiesTest, MeasuredFrequenciesAreListed) {
    inside().clocking().frequencies = {1000000.0, 2500000.5};
    EXPECT_EQ(get("frequencies"), "1000000.000000,2500000.500000");
}

// ---- names ----

TEST_F(PropertiesTest, NullArgumentsAreRefused) {
    const char* value = nullptr;
    const std::string text = "property name or value";
    expectFailure([&] { channel->setProperty(nullptr, "x"); }, eNULL, text);
    expectFailure([&] { channel->setProperty("file", nullptr); }, eNULL, text);
    expectFailure([&] { channel->getProperty(nullptr, &value); }, eNULL, text);
    expectFailure([&] { channel->getProperty("file", nullptr); }, eNULL, text);
}

TEST_F(PropertiesTest, UnknownAndReadOnlyNamesFailByName) {
    for (const char* name : {"orvBufHasWrapped", "orvBufSizes", "frequencies", "File", "file ", "", "pins", "xmtrType",
                             "xmtrMode", "orv", "maxChnls", "keepFiles", "onesRatio", "xmtrName"}) {
        expectFailure([&] { set(name, "1"); }, eNAME, name);
    }
}

TEST_F(PropertiesTest, KeysThatTheChannelDoesNotReadComeFromItsSection) {
    useFile();
    for (const char* name : {"startPort", "frequencyLimit", "numPins", "propsFile", "stmSyncPeriod", "stmTimeoutPeriod",
                             "stmClockTimeoutEnable", "stmZeroTimeoutEnable", "stmPeriodicSyncEnable",
                             "stmDiagnosticTimingEnable", "stm32BitDataLimit", "xmtrMode"}) {
        EXPECT_EQ(get(name), "from file") << name;
    }
    EXPECT_THROW(get("no such key"), Exception);
}

TEST_F(PropertiesTest, KeysOutOfTheFileFailWithoutAFile) {
    try {
        get("startPort");
        FAIL() << "there is no file";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), eSEQUENCE);
    }
}

TEST_F(PropertiesTest, ReadingAnUnknownKeyMovesTheSharedParserToTheChannelsSection) {
    writeText(propsPath, "[Global]\nfilters=global\n[Channel 0]\nfilters=own\n");
    frontEnd->setProperty("propsFile", propsPath.c_str());
    PropertyParser* shared = createPropertyParser();
    shared->setSection("Global");
    EXPECT_THROW(get("no such key"), Exception);
    const char* value = nullptr;
    shared->getValue("filters", &value);
    EXPECT_STREQ(value, "own");
    destroyPropertyParser(shared);
}

// ---- buffer size ----

TEST_F(PropertiesTest, BufferSizeIsAnIndexOrASize) {
    set("orvBufSize", "9");
    EXPECT_EQ(get("orvBufSize"), "134217728");
    set("orvBufSize", "0");
    EXPECT_EQ(get("orvBufSize"), "262144");
    set("orvBufSize", "3");
    EXPECT_EQ(get("orvBufSize"), "2097152");
    set("orvBufSize", "0x40000");
    EXPECT_EQ(get("orvBufSize"), "262144");
    set("orvBufSize", "0x200000");
    EXPECT_EQ(get("orvBufSize"), "2097152");
    for (const char* value : {"10", "0x40001", "4294967295", "262143"}) {
        expectFailure([&] { set("orvBufSize", value); }, eVALUE,
                      "orvBufSize must be greter than or equal to 0 and less than 10");
    }
    EXPECT_EQ(get("orvBufSize"), "2097152");
}

TEST_F(PropertiesTest, WrappingBufferReadsOneBlockSmaller) {
    set("orvBufMode", "wrap");
    EXPECT_EQ(get("orvBufSize"), "4177920");
    set("orvBufMode", "stop");
    EXPECT_EQ(get("orvBufSize"), "4194304");
}

// ---- pins and lists ----

TEST_F(PropertiesTest, NumPinsCountsTheClockAndEmptiesThePinMap) {
    set("pinMap", "0,1,2");
    EXPECT_EQ(pinsInUse(), 3u);
    EXPECT_EQ(get("pinMap"), "0,1,2");
    set("numPins", "4");
    EXPECT_EQ(pinsInUse(), 5u);
    EXPECT_EQ(get("pinMap"), "");
}

TEST_F(PropertiesTest, EmptyPinMapLeavesTheNumberOfPins) {
    set("numPins", "2");
    set("pinMap", "");
    EXPECT_EQ(pinsInUse(), 3u);
    EXPECT_EQ(get("pinMap"), "");
}

TEST_F(PropertiesTest, NumberOfPinsWithTheClockHas32Bits) {
    set("numPins", "4294967294");
    EXPECT_EQ(pinsInUse(), mostItems) << "all of the list";
    for (const char* none : {"4294967295", "-1"}) {
        set("numPins", "3");
        set("numPins", none);
        EXPECT_EQ(pinsInUse(), 0u) << none;
    }
}

TEST_F(PropertiesTest, ListsAreReplacedAndReadForThePinsInUse) {
    for (const char* name : {"delays", "stretches", "plateaus", "debounces", "filters"}) {
        set("numPins", "2");
        set(name, "1,x,-3,4");
        EXPECT_EQ(get(name), "1,x,-3") << name;
        set("numPins", "7");
        EXPECT_EQ(get(name), "1,x,-3,4") << "ends with the list";
        set(name, "5");
        EXPECT_EQ(get(name), "5");
        set(name, "");
        EXPECT_EQ(get(name), "");
    }
}

TEST_F(PropertiesTest, ListsReadEmptyWithoutPins) {
    set("delays", "1,2,3");
    EXPECT_EQ(get("delays"), "");
}

TEST_F(PropertiesTest, EachListHasItsOwnStorage) {
    set("numPins", "1");
    set("delays", "1,1");
    set("stretches", "2,2");
    set("plateaus", "3,3");
    set("debounces", "4,4");
    set("filters", "5,5");
    EXPECT_EQ(get("delays"), "1,1");
    EXPECT_EQ(get("stretches"), "2,2");
    EXPECT_EQ(get("plateaus"), "3,3");
    EXPECT_EQ(get("debounces"), "4,4");
    EXPECT_EQ(get("filters"), "5,5");
}

// ---- properties file ----

TEST_F(PropertiesTest, PropsFileSetsTheStemUpToItsLastPoint) {
    writeText(folder.file("a.b.txt"), "[Global]\n");
    set("propsFile", folder.file("a.b.txt"));
    EXPECT_EQ(get("file"), folder.file("a.b"));
}

TEST_F(PropertiesTest, SecondPropsFileKeepsTheFirstStem) {
    writeText(folder.file("a.txt"), "[Global]\n");
    writeText(folder.file("b.txt"), "[Channel 0]\nstartPort=second\n");
    set("propsFile", folder.file("a.txt"));
    set("propsFile", folder.file("b.txt"));
    EXPECT_EQ(get("file"), folder.file("a"));
    EXPECT_EQ(get("startPort"), "second");
}

TEST_F(PropertiesTest, PropsFileThatCannotBeReadSetsNoStem) {
    try {
        set("propsFile", folder.file("missing.txt"));
        FAIL() << "there is no such file";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), eFILE);
        EXPECT_EQ(e.detail(), folder.file("missing.txt"));
    }
    EXPECT_EQ(get("file"), "");
    set("file", stem);
}

TEST_F(PropertiesTest, PathWithoutExtensionIsCutAtItsLastPointWhereverThatIs) {
    const std::filesystem::path dotted = folder.path / "v1.2";
    std::filesystem::create_directories(dotted);
    const std::string path = (dotted / "props").string();
    writeText(path, "[Global]\n");
    set("propsFile", path);
    EXPECT_EQ(get("file"), (folder.path / "v1").string());
}

// ---- construction ----

TEST_F(PropertiesTest, FilesSurviveTheObjectOnlyWhileItIsLogged) {
    for (const char* level : {"0", ""}) {
        writeText(stem + ".cal.txt", "report");
        {
            VX_QRS::uEnvironment::set("VX_TRACE_LOGGING", level);
            FrontEndChannel_1 made(frontEnd.get(), &transmitter);
            VX_QRS::uEnvironment::set("VX_TRACE_LOGGING", "");
            made.setProperty("file", stem.c_str());
        }
        EXPECT_EQ(exists(stem + ".cal.txt"), *level != '\0');
    }
}

} // namespace client_test
