#include "diagnosis/files/BurstFile.h"
#include "diagnosis/files/CalFile.h"
#include "diagnosis/files/PropertiesFile.h"
#include "diagnosis/files/RegisterFile.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"
#include "toolkit/ExitCode.h"

#include <gtest/gtest.h>

#include <cmath>

// Each reader on a sound file, and on files that are damaged in one place.

namespace diagnosis {
namespace {

template <class Reader>
std::string failureOf(const Reader& read) {
    try {
        read();
    } catch (const toolkit::Failure& failure) {
        EXPECT_EQ(failure.code, toolkit::ExitCode::BadInput);
        return failure.what();
    }
    return "no failure";
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), with);
}

TEST(CalFile, EveryFieldIsRead) {
    std::string text = drawn::report({{6, 5}, {0x7FFFFFFF, 0x7FFFFFFF}});
    text = replaced(text, "correlation=0.500,0.900\nedges=0\nmargin=-2147483647",
                    "correlation=-nan,nan\nglitches=3\n"
                    "ringing=2\nedges=9\n"
                    "margin=-2147483647");
    const CalFile cal = parseCalFile(text, "x.cal.txt");
    EXPECT_DOUBLE_EQ(cal.rates.exportFrequency, 50e6);
    EXPECT_DOUBLE_EQ(cal.rates.oversampling, 28.0);
    EXPECT_DOUBLE_EQ(cal.rates.sampleRate(), 1.4e9);
    EXPECT_EQ(cal.dataRate, "400.00 Mbits/second");
    EXPECT_EQ(cal.oversampling, "28.00 samples/bit");
    EXPECT_EQ(cal.exportKind, "pti");
    ASSERT_EQ(cal.pins.size(), 3U);
    EXPECT_EQ(cal.pins[0].name, "Clock");
    EXPECT_FALSE(cal.pins[0].correlation);
    EXPECT_EQ(cal.pins[1].holdMargin, 6U);
    EXPECT_EQ(cal.pins[1].setupMargin, 5U);
    EXPECT_DOUBLE_EQ(cal.pins[1].correlationAtZero.value_or(0.0), 0.9);
    EXPECT_EQ(cal.pins[1].delay, 1);
    EXPECT_EQ(cal.pins[1].stretch, -2);
    EXPECT_EQ(cal.pins[1].plateau, 7);
    EXPECT_FALSE(cal.pins[2].holdMargin) << "no change was seen";
    EXPECT_TRUE(std::isnan(cal.pins[2].correlation.value_or(0.0)));
    EXPECT_EQ(cal.pins[2].glitches, 3U);
    EXPECT_EQ(cal.pins[2].ringing, 2U);
    EXPECT_EQ(cal.properties.size(), 8U);
}

TEST(CalFile, LineEndsOfEitherSystemReadTheSame) {
    std::string text = drawn::report({{6, 5}});
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
        text.insert(at, "\r");
    }
    EXPECT_EQ(parseCalFile(text, "x").pins.size(), 2U);
}

TEST(CalFile, DamageIsNamedByFileLineAndWhat) {
    const std::string good = drawn::report({{6, 5}});
    const auto failure = [](const std::string& text) { return failureOf([&] { parseCalFile(text, "x.cal.txt"); }); };
    EXPECT_EQ(failure(replaced(good, "margin=-6,+5", "margin=6,5")), "x.cal.txt:12: expected margin=-NUMBER,+NUMBER");
    EXPECT_EQ(failure(replaced(good, "delays=1,1", "delays=1")), "x.cal.txt:18: delays has 1 values for 2 pins");
    EXPECT_EQ(failure(replaced(good, "delays=1,1", "delays=1,x")),
              "x.cal.txt:18: delays has a value that is no number: \"x\"");
    EXPECT_EQ(failure(replaced(good, "50.00 MHz", "50.00 QHz")),
              "x.cal.txt:1: expected exportFrequency=NUMBER Hz, found \"exportFrequency=50.00 QHz\"");
    EXPECT_EQ(failure(replaced(good, "edges=0", "hedges=0")), "x.cal.txt:7: unknown line \"hedges\"");
    EXPECT_EQ(failure(replaced(good, "edges=0", "gibberish\x01")),
              "x.cal.txt:7: expected a section or KEY=VALUE, found \"gibberish?\"");
    EXPECT_EQ(failure(good.substr(0, good.find("plateaus"))),
              "x.cal.txt:21: the file is cut off; take it from the receiver's folder again");
    EXPECT_EQ(failure(""), "x.cal.txt:1: the file ends before exportFrequency=");
}

TEST(CalFile, AMissingFileIsNamed) {
    EXPECT_EQ(failureOf([] { readCalFile("no-such.cal.txt"); }),
              "cannot read no-such.cal.txt; check the name and the folder");
}

TEST(Rates, ARoundRateOfTheUnitIsFoundDespiteTheRounding) {
    const auto rate = [](const char* clock, const char* oversampling) {
        return parseCalFile(drawn::report({{1, 1}}, drawn::head(clock, oversampling)), "x").rates.sampleRate();
    };
    EXPECT_DOUBLE_EQ(rate("95.00 MHz", "14.74 "), 1.4e9);
    EXPECT_DOUBLE_EQ(rate("9.00 MHz", "155.56 "), 1.4e9);
    EXPECT_DOUBLE_EQ(rate("2.00 kHz", "700.00 k"), 1.4e9);
    EXPECT_DOUBLE_EQ(rate("50.00 MHz", "25.00 "), 1.25e9);
    EXPECT_DOUBLE_EQ(rate("0.00 yHz", "0.00 y"), usualSampleRate);
}

TEST(BurstFile, PinsAndLevelsAreRead) {
    const Burst burst = parseBurst(drawn::burst({"0011", "0101", "1111"}), "x.cap.txt");
    ASSERT_EQ(burst.pins.size(), 3U);
    EXPECT_EQ(burst.samples(), 4U);
    EXPECT_EQ(burst.dataPins(), 2U);
    EXPECT_EQ(burst.pins[1].rcvrpin, 6);
    EXPECT_EQ(burst.pins[2].delay, 2);
    EXPECT_EQ(burst.pins[1].levels, (std::vector<std::uint8_t>{0, 1, 0, 1}));
    EXPECT_EQ(emuOfInput(burst.pins[1].rcvrpin), 4);
    EXPECT_EQ(emuOfInput(99), -1);
}

TEST(BurstFile, DamageIsNamedByFileLineAndWhat) {
    const std::string good = drawn::burst({"0011", "0101"});
    const auto failure = [](const std::string& text) { return failureOf([&] { parseBurst(text, "x.cap.txt"); }); };
    EXPECT_EQ(failure(replaced(good, " 0  1    1", " 0  2    1")),
              "x.cap.txt:9: expected 2 levels of 0 or 1, found \" 0  2    1\"");
    EXPECT_EQ(failure(replaced(good, " 1  0    2", " 1  0    7")), "x.cap.txt:10: expected sample 2, found \"7\"");
    EXPECT_EQ(failure(replaced(good, "P1 : rcvrpin=6", "P1 : rcvrpin=six")),
              "x.cap.txt:6: expected rcvrpin=NUMBER in the settings of P1");
    EXPECT_EQ(failure(replaced(good, "P0 P1 Sample", "P0 Sample")),
              "x.cap.txt:7: expected the heading of the samples, \"P0 P1 Sample\"");
    EXPECT_EQ(failure(good.substr(0, good.find("Sample\n") + 7)),
              "x.cap.txt:7: there are no samples; take the file from the receiver's folder again");
    EXPECT_EQ(failure(good.substr(0, good.size() - 4)).substr(0, 12), "x.cap.txt:11") << "a last line that is cut off";
    EXPECT_EQ(failure(replaced(good, " 1  0    2", " 1  0    ")),
              "x.cap.txt:10: sample 2 has all levels but no number: the file is cut off; take it from the receiver's "
              "folder again");
}

/// Of a run with four data pins.
RegisterText described(const RegisterValue& entry, unsigned channel) {
    return describe(entry, channel, [](std::size_t proc) { return toolkit::laneLabel({proc, 4, {}}); });
}

TEST(RegisterFile, RegistersHaveNamesAndMeanings) {
    const RegisterDump dump =
        parseRegisters("\n0x08000000=0x0000\n0x08000008=0x0000\n0x0800000c=0x0000\n"
                       "0x0800000e=0x0000\n0x08008030=0x0000\n0x08008040=0x3fe3\n"
                       "0x08008050=0x01ed\n0x0800811e=0x841f\n0x08008100=0x8602\n"
                       "0x0800813e=0x7848\n0x08008120=0x7248\n0x08008152=0x0001\n0x0badcafe=0x1\n",
                       "x.reg.txt");
    ASSERT_EQ(dump.size(), 13U);
    const unsigned channel = channelOf(dump);
    EXPECT_EQ(channel, 0U);
    EXPECT_EQ(described(dump[7], channel).name, "CLK input");
    EXPECT_EQ(described(dump[7], channel).meaning, "enabled, input 4 (EMU0), delay 31");
    EXPECT_EQ(described(dump[8], channel).name, "D3 input");
    EXPECT_EQ(described(dump[9], channel).meaning, "filter 7, stretch 0, plateau 7, debounce 8");
    EXPECT_EQ(described(dump[10], channel).meaning, "filter 7, stretch -2, plateau 7, debounce 8");
    EXPECT_EQ(described(dump[5], channel).meaning, "period 16352 word clocks, on zeros yes, on a still clock yes");
    EXPECT_EQ(described(dump[6], channel).meaning,
              "capture on, sync period 14336 word clocks, periodic sync, diagnostic timing, protocol bypassed");
    EXPECT_EQ(described(dump[11], channel).name, "capture block 140 [9]");
    EXPECT_EQ(described(dump[12], channel).name, "not named");
    const auto pin = pinRegisters(dump, channel, 1);
    ASSERT_TRUE(pin);
    EXPECT_TRUE(pin->enabled);
    EXPECT_EQ(pin->input, 6U);
    EXPECT_EQ(pin->stretch, -2);
    EXPECT_FALSE(pinRegisters(dump, channel, 2));
}

TEST(RegisterFile, TheChannelIsToldByTheClocksRegister) {
    RegisterDump dump(7, {0x08000000, 0});
    dump.push_back({0x0800815E, 0x8400});
    EXPECT_EQ(channelOf(dump), 1U);
    EXPECT_EQ(described(dump[7], 1).name, "CLK input");
}

TEST(RegisterFile, DamageIsNamedByFileLineAndWhat) {
    EXPECT_EQ(failureOf([] { parseRegisters("\n0x08000000=12\n", "x.reg.txt"); }),
              "x.reg.txt:2: expected 0xADDRESS=0xVALUE, found \"0x08000000=12\"");
    EXPECT_EQ(failureOf([] { parseRegisters("\n\n", "x.reg.txt"); }),
              "x.reg.txt:2: there are no registers; take the file from the receiver's folder again");
}

TEST(PropertiesFile, SectionsAndTheLastValueOfAKeyAreRead) {
    const PropertiesFile file =
        parseProperties("# about\n[Global]\norv=a,b\n\n[Channel 0]\npinMap=0,1\nx=1\nx=2\n", "x");
    ASSERT_EQ(file.sections.size(), 2U);
    EXPECT_EQ(file.sections[1].name, "Channel 0");
    EXPECT_EQ(file.value("orv"), "a,b");
    EXPECT_EQ(file.value("x"), "2");
    EXPECT_FALSE(file.value("y"));
    EXPECT_EQ(failureOf([] { parseProperties("[Global]\nnonsense\n", "x.cfg"); }),
              "x.cfg:2: expected [SECTION] or KEY=VALUE, found \"nonsense\"");
    EXPECT_EQ(failureOf([] { parseProperties("[Global\n", "x.cfg"); }),
              "x.cfg:1: a section without its \"]\": \"[Global\"");
}

} // namespace
} // namespace diagnosis
