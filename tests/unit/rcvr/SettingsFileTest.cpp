#include "SettingsFixture.h"

#include <random>

namespace {

using namespace rcvr_test;
using testing::ElementsAre;

TEST_F(SettingsFile, DefaultsAreAsAUserMeetsThem) {
    ChannelSettings settings;
    settings.numPins = 4;
    settings.bufferSizeChoices.clear();
    SetDefaults(settings);
    EXPECT_TRUE(isDefault(settings));
    EXPECT_THAT(settings.bufferSizeChoices,
                ElementsAre("256 kB", "512 kB", "1 MB", "2 MB", "4 MB", "8 MB", "16 MB", "32 MB", "64 MB", "128 MB"));
    EXPECT_TRUE(settings.isSync && settings.isStopOnFull && settings.cycleAccurateTrace);
    EXPECT_EQ(settings.transmitter, "pti");
}

TEST_F(SettingsFile, AMissingFileGivesDefaultsAndIsWrittenWithItsSeventeenKeys) {
    EXPECT_TRUE(isDefault(load()));
    EXPECT_EQ(readText(path), defaultFile);
}

TEST_F(SettingsFile, AGoodFileIsTakenAndLeftAsItIs) {
    std::string text = replaced(defaultFile, "<num_pins>1</num_pins>", "<num_pins>4</num_pins>");
    text = replaced(text, "<pin_map></pin_map>", "<pin_map>0,1,2,3,4</pin_map>");
    text = replaced(text, "<is_sync>true", "<is_sync>FALSE");
    text = replaced(text, "<is_stop_on_full>true", "<is_stop_on_full>False");
    text = replaced(text, "<bufsize_current>0", "<bufsize_current>0x9");
    text = replaced(text, "<drm_xmtr>pti", "<drm_xmtr>tpiulite");
    text = replaced(text, "<start_port>0", "<start_port>3");
    text = replaced(text, "<ARM_STALL_CPU>false", "<ARM_STALL_CPU>true");
    text = replaced(text, "<ARM_MONITOR_CPRT>false", "<ARM_MONITOR_CPRT>true");
    text = replaced(text, "<ARM_NO_DATA_TRACE_ON_FIFO_FULL>false", "<ARM_NO_DATA_TRACE_ON_FIFO_FULL>true");
    text = replaced(text, "<ARM_CYCLE_ACCURATE_TRACE>true", "<ARM_CYCLE_ACCURATE_TRACE>false");
    text = replaced(text, "<ARM_EXPORT_FRAMESIZE>0", "<ARM_EXPORT_FRAMESIZE>32");
    const ChannelSettings settings = load(text);
    EXPECT_EQ(settings.numPins, 4U);
    EXPECT_EQ(settings.pinMap, "0,1,2,3,4");
    EXPECT_FALSE(settings.isSync || settings.isStopOnFull || settings.cycleAccurateTrace);
    EXPECT_TRUE(settings.stallCpu && settings.monitorCprt && settings.noDataTraceOnFifoFull);
    EXPECT_EQ(settings.bufferSizeIndex, 9U);
    EXPECT_EQ(settings.transmitter, "tpiulite");
    EXPECT_EQ(settings.startPort, 3U);
    EXPECT_EQ(settings.exportFrameSize, 32U);
    EXPECT_EQ(readText(path), text);
}

TEST_F(SettingsFile, WithoutTheTargetExportKeysItIsTakenWithTheirDefaults) {
    std::string text = defaultFile;
    text = text.substr(0, text.find("\t<ARM_STALL_CPU>")) + "</CHANNEL-SETUP>\n";
    text = replaced(text, "<num_pins>1", "<num_pins>2");
    const ChannelSettings settings = load(text);
    EXPECT_EQ(settings.numPins, 2U);
    EXPECT_TRUE(settings.cycleAccurateTrace);
    EXPECT_EQ(readText(path), text);
}

TEST_F(SettingsFile, OneMissingTargetExportKeyTakesTheDefaultsOfAllFive) {
    std::string changed = replaced(defaultFile, "<ARM_STALL_CPU>false", "<ARM_STALL_CPU>true");
    changed = replaced(changed, "<ARM_MONITOR_CPRT>false", "<ARM_MONITOR_CPRT>true");
    changed = replaced(changed, "<ARM_NO_DATA_TRACE_ON_FIFO_FULL>false", "<ARM_NO_DATA_TRACE_ON_FIFO_FULL>true");
    changed = replaced(changed, "<ARM_CYCLE_ACCURATE_TRACE>true", "<ARM_CYCLE_ACCURATE_TRACE>false");
    changed = replaced(changed, "<ARM_EXPORT_FRAMESIZE>0", "<ARM_EXPORT_FRAMESIZE>32");
    for (const char* key : {"ARM_STALL_CPU", "ARM_MONITOR_CPRT", "ARM_NO_DATA_TRACE_ON_FIFO_FULL",
                            "ARM_CYCLE_ACCURATE_TRACE", "ARM_EXPORT_FRAMESIZE"}) {
        const std::string text = replaced(changed, std::string(key) + ">", std::string("x") + key + ">");
        EXPECT_TRUE(isDefault(load(text))) << key;
        EXPECT_EQ(readText(path), text) << key;
    }
}

TEST_F(SettingsFile, ATargetExportKeyThatDoesNotConvertIsAFailure) {
    expectRefused(replaced(defaultFile, "<ARM_STALL_CPU>false", "<ARM_STALL_CPU>maybe"));
    expectRefused(replaced(defaultFile, "<ARM_EXPORT_FRAMESIZE>0", "<ARM_EXPORT_FRAMESIZE>"));
}

TEST_F(SettingsFile, EveryRequiredKeyIsNeeded) {
    for (const char* key : {"no_emu0", "drm_type", "drm_key", "is_sync", "is_stop_on_full", "num_pins", "pin_map",
                            "bufsize_current", "drm_xmtr", "start_port"}) {
        const std::string text = replaced(replaced(defaultFile, "<start_port>0", "<start_port>5"),
                                          std::string("<") + key + ">", std::string("<x") + key + ">");
        EXPECT_EQ(load(text).startPort, 0U) << key;
        EXPECT_NE(readText(path), text) << key;
    }
    for (const char* key : {"RCVRNAME", "no_emu1"}) {
        const std::string text = replaced(replaced(defaultFile, "<start_port>0", "<start_port>5"),
                                          std::string("<") + key + ">", std::string("<x") + key + ">");
        EXPECT_EQ(load(text).startPort, 5U) << key;
        EXPECT_EQ(readText(path), text) << key;
    }
}

TEST_F(SettingsFile, ThreePinsAreUnsupported) {
    TemporaryFolder logFolder;
    const LogCapture log(logFolder, "1");
    expectRefused(replaced(defaultFile, "<num_pins>1", "<num_pins>3"));
    EXPECT_THAT(log.lines(),
                ElementsAre("M ORV Receiver : loading settings from " + path,
                            "W ORV Receiver : failed to load settings, overwriting file with defaults : "
                            "unsupported number of pins requested (3)",
                            "M ORV Receiver : storing settings to " + path,
                            "W ORV Receiver : the file as it was is kept as " + path + ".before-defaults"));
    expectRefused(replaced(defaultFile, "<num_pins>1", "<num_pins>0"));
}

TEST_F(SettingsFile, AMapOfAnotherWidthIsRefused) {
    TemporaryFolder logFolder;
    const LogCapture log(logFolder, "1");
    expectRefused(replaced(replaced(defaultFile, "<num_pins>1", "<num_pins>2"), "<pin_map>", "<pin_map>0,1"));
    EXPECT_EQ(log.lines()[1], "W ORV Receiver : failed to load settings, overwriting file with defaults : pin map "
                              "(0,1) doesn't match requested number of pins (2)");
}

TEST_F(SettingsFile, TransmittersOtherThanTheThreeKindsAreRefused) {
    TemporaryFolder logFolder;
    const LogCapture log(logFolder, "1");
    expectRefused(replaced(defaultFile, "<drm_xmtr>pti", "<drm_xmtr>dsp"));
    EXPECT_EQ(log.lines()[1], "W ORV Receiver : failed to load settings, overwriting file with defaults : unsupported "
                              "transmitter (dsp)");
    expectRefused(replaced(defaultFile, "<drm_xmtr>pti", "<drm_xmtr>"));
    for (const char* kind : {"pti", "tpiu", "tpiulite"}) {
        EXPECT_EQ(load(replaced(defaultFile, "<drm_xmtr>pti", std::string("<drm_xmtr>") + kind)).transmitter, kind);
    }
}

TEST_F(SettingsFile, OfSeveralFaultsTheMapIsToldBeforeTheTransmitterAndThatBeforeThePins) {
    TemporaryFolder logFolder;
    const LogCapture log(logFolder, "1");
    const auto toldFor = [&](const std::string& text) {
        expectRefused(text);
        const auto lines = log.lines();
        const std::string& reason = lines[lines.size() - 3];
        return reason.substr(reason.rfind(" : ") + 3);
    };
    std::string text = replaced(defaultFile, "<num_pins>1", "<num_pins>3");
    text = replaced(text, "<drm_xmtr>pti", "<drm_xmtr>dsp");
    EXPECT_EQ(toldFor(text), "unsupported transmitter (dsp)");
    EXPECT_EQ(toldFor(replaced(text, "<pin_map>", "<pin_map>0")),
              "pin map (0) doesn't match requested number of pins (3)");
}

TEST_F(SettingsFile, KeysAreFoundInAnySection) {
    std::string text = replaced(defaultFile, "\t<num_pins>1</num_pins>\n", "");
    text += "<OTHER>\n\t<num_pins>2</num_pins>\n</OTHER>\n";
    EXPECT_EQ(load(text).numPins, 2U);
    EXPECT_EQ(readText(path), text);
}

TEST_F(SettingsFile, WhatFollowsTheFirstFaultIsNotCarried) {
    std::string text = replaced(defaultFile, "<no_emu0>false", "<no_emu0>maybe");
    load(replaced(text, "<drm_type>", "<drm_type>type"));
    EXPECT_EQ(g_drmType, "");
    EXPECT_EQ(readText(path), defaultFile);
    text = replaced(replaced(defaultFile, "drm_type>", "no_type>"), "<drm_key>", "<drm_key>key");
    load(replaced(text, "<no_emu0>false", "<no_emu0>true"));
    EXPECT_TRUE(g_noEmu0 && g_noEmu1);
    EXPECT_EQ(g_drmKey, "");
    load(replaced(replaced(defaultFile, "<drm_key>", "<drm_key>key"), "<ARM_STALL_CPU>false", "<ARM_STALL_CPU>maybe"));
    EXPECT_EQ(g_drmKey, "key") << "the target export's keys come last";
}

TEST_F(SettingsFile, TheSecondPinFlagFollowsTheFirstAtTheNextStore) {
    // A bad key after the carried ones makes the store follow the load.
    std::string text = replaced(defaultFile, "<no_emu0>false", "<no_emu0>true");
    text = replaced(text, "<drm_type>", "<drm_type>type");
    text = replaced(text, "<drm_key>", "<drm_key>key");
    text = replaced(text, "<num_pins>1", "<num_pins>3");
    load(text);
    EXPECT_TRUE(g_noEmu0 && g_noEmu1);
    std::string expected = replaced(defaultFile, "<no_emu0>false", "<no_emu0>true");
    expected = replaced(expected, "<no_emu1>false", "<no_emu1>true");
    expected = replaced(expected, "<drm_type>", "<drm_type>type");
    expected = replaced(expected, "<drm_key>", "<drm_key>key");
    EXPECT_EQ(readText(path), expected);
}

TEST_F(SettingsFile, CarriedValuesSurviveAFailureAndReachTheNextNewFile) {
    load(replaced(replaced(defaultFile, "<drm_key>", "<drm_key>K"), "<is_sync>true", "<is_sync>x"));
    EXPECT_EQ(g_drmKey, "K");
    writeBytes(path, "");
    std::filesystem::remove(path);
    load();
    EXPECT_EQ(readText(path), replaced(defaultFile, "<drm_key>", "<drm_key>K"));
}

TEST_F(SettingsFile, UnknownKeysAndTheOrderOfAnOldFileSurviveTheStore) {
    load("<CHANNEL-SETUP>\n\t<mine>x</mine>\n\t<num_pins>9</num_pins>\n</CHANNEL-SETUP>\n");
    EXPECT_EQ(readText(path).substr(0, readText(path).find("<no_emu0>")),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!-- This file defines the MPX Kite R2 STM receiver channel settings. -->\n"
              "<CHANNEL-SETUP>\n\t<mine>x</mine>\n\t<num_pins>1</num_pins>\n\t<RCVRNAME>Kite R2 Trace</RCVRNAME>\n\t");
}

TEST_F(SettingsFile, ThatCannotBeWrittenStillLoadsAsDefaults) {
    TemporaryFolder logFolder;
    const LogCapture log(logFolder, "1");
    ChannelSettings settings;
    settings.numPins = 4;
    const std::string unwritable = folder.file("no-such-folder") + "/chan.xml";
    LoadSettings(settings, unwritable.c_str(), "cpu");
    EXPECT_TRUE(isDefault(settings));
    EXPECT_EQ(log.lines().back(),
              "W ORV Receiver : error storing settings : failed to open \"" + unwritable + "\" for writing");
    settings.numPins = 4;
    LoadSettings(settings, nullptr, nullptr);
    EXPECT_TRUE(isDefault(settings));
    settings.numPins = 4;
    LoadSettings(settings, std::string(100000, 'x').c_str(), "cpu");
    EXPECT_TRUE(isDefault(settings));
}

TEST_F(SettingsFile, OfAnyBytesLoadsAsDefaultsOrAsWhatItSays) {
    using namespace std::string_literals;
    std::mt19937 random(16);
    const std::string good = defaultFile;
    int taken = 0;
    for (int round = 0; round < RCVR_TEST_RANDOM_FILES; ++round) {
        std::string text = good;
        if (round % 4 == 0) {
            // Nothing of a settings file; also parts of its syntax.
            const std::string alphabet = "<>/CHANELSTUP_numpis=1 \t\r\n\0\xff"s;
            text.clear();
            for (auto length = random() % 300; length != 0; --length) {
                text += round % 8 == 0 ? static_cast<char>(random() % 256) : alphabet[random() % alphabet.size()];
            }
        }
        for (auto changes = random() % 4; changes != 0 && !text.empty(); --changes) {
            const std::size_t at = random() % text.size();
            if (random() % 2 == 0) {
                text[at] = static_cast<char>(random() % 256);
            } else {
                text.erase(at, 1 + random() % 40);
            }
        }
        const ChannelSettings settings = load(text);
        std::filesystem::remove(path + ".before-defaults");
        ASSERT_TRUE(settings.numPins == 1 || settings.numPins == 2 || settings.numPins == 4) << round;
        ASSERT_TRUE(settings.transmitter == "pti" || settings.transmitter == "tpiu" ||
                    settings.transmitter == "tpiulite")
            << round;
        if (readBytes(path) == text) {
            ++taken;
        } else {
            ASSERT_TRUE(isDefault(settings)) << round;
        }
    }
    EXPECT_GT(taken, 0);
}

} // namespace
