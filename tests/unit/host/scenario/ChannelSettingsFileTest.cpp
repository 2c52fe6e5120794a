#include "host/scenario/ChannelSettingsFile.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "toolkit/ExitCode.h"
#include "toolkit/TextFile.h"

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(ChannelSettingsFile, TheTextHasTheReceiversOwnForm) {
    ChannelSettings settings;
    settings.dataPins = 2;
    settings.pinMap = "5,2,3";
    settings.exportKind = "tpiu";
    settings.bufferIndex = 4;
    settings.stopOnFull = false;
    EXPECT_EQ(channelSettingsText(settings),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!-- This file defines the MPX Kite R2 STM receiver channel settings. -->\n"
              "<CHANNEL-SETUP>\n"
              "\t<RCVRNAME>Kite R2 Trace</RCVRNAME>\n"
              "\t<no_emu0>false</no_emu0>\n"
              "\t<no_emu1>false</no_emu1>\n"
              "\t<drm_type></drm_type>\n"
              "\t<drm_key></drm_key>\n"
              "\t<num_pins>2</num_pins>\n"
              "\t<pin_map>5,2,3</pin_map>\n"
              "\t<is_stop_on_full>false</is_stop_on_full>\n"
              "\t<is_sync>true</is_sync>\n"
              "\t<bufsize_current>4</bufsize_current>\n"
              "\t<drm_xmtr>tpiu</drm_xmtr>\n"
              "\t<start_port>0</start_port>\n"
              "</CHANNEL-SETUP>\n");
}

TEST(ChannelSettingsFile, TheFileHoldsTheTextByteForByte) {
    const test_support::TemporaryFolder folder;
    writeChannelSettings(ChannelSettings(), folder.path / "a.xml");
    EXPECT_EQ(toolkit::readText(folder.path / "a.xml"), channelSettingsText(ChannelSettings()));
}

TEST(ChannelSettingsFile, AFolderThatIsNotThereIsAnUnwritableOutput) {
    const test_support::TemporaryFolder folder;
    try {
        writeChannelSettings(ChannelSettings(), (folder.path / "none") / "a.xml");
        FAIL();
    } catch (const toolkit::Failure& failure) {
        EXPECT_EQ(failure.code, toolkit::ExitCode::OutputUnwritable);
    }
}

TEST(ChannelSettingsFile, WhatTheReceiverCouldNotReadIsNamedBeforehand) {
    const std::string good = channelSettingsText(ChannelSettings());
    EXPECT_EQ(settingsFault(good), "");
    EXPECT_EQ(settingsFault(""), "it is no channel settings file");
    EXPECT_EQ(settingsFault("\x01\xFF nothing of the kind"), "it is no channel settings file");
    EXPECT_EQ(settingsFault("<CHANNEL-SETUP>\n\t<num_pins>3</num_pins>\n</CHANNEL-SETUP>\n"),
              "it lacks <no_emu0>, <drm_type>, <drm_key>, <is_sync>, <is_stop_on_full>, <pin_map>, <bufsize_current>, "
              "<drm_xmtr>, <start_port>");
    std::string without = good;
    without.replace(without.find("<pin_map>"), 4, "<pun");
    EXPECT_EQ(settingsFault(without), "it lacks <pin_map>");
}

TEST(BufferSize, EveryNameAndItsShortFormsAreUnderstood) {
    for (unsigned index = 0; index < bufferSizes.size(); ++index) {
        EXPECT_EQ(bufferIndexOf(bufferSizes[index]), index);
    }
    EXPECT_EQ(bufferIndexOf("4M"), 4U);
    EXPECT_EQ(bufferIndexOf("4mb"), 4U);
    EXPECT_EQ(bufferIndexOf("4 MiB"), 4U);
    EXPECT_EQ(bufferIndexOf("256K"), 0U);
    EXPECT_EQ(bufferIndexOf("128 MB"), 9U);
}

TEST(BufferSize, WhatTheUnitDoesNotHaveIsNone) {
    for (const char* text : {"", "3M", "256", "256M", "M", "4 Mi B i", "-4M"}) {
        EXPECT_FALSE(bufferIndexOf(text)) << text;
    }
}

TEST(PinChoices, ANumberLeavesThePinsToTheReceiver) {
    for (const unsigned count : {1U, 2U, 4U}) {
        const auto choice = pinChoiceOf(std::to_string(count));
        ASSERT_TRUE(choice) << count;
        EXPECT_EQ(choice->dataPins, count);
        EXPECT_EQ(choice->pinMap, "");
    }
}

TEST(PinChoices, AListHasTheClockFirst) {
    const auto choice = pinChoiceOf("5,2,3");
    ASSERT_TRUE(choice);
    EXPECT_EQ(choice->dataPins, 2U);
    EXPECT_EQ(choice->pinMap, "5,2,3");
}

TEST(PinChoices, WhatChannelSettingsCannotHoldIsRefused) {
    for (const char* text : {"", "0", "3", "5", "a", "-1", "1 ", "0,", ",1", "0,1,2,3", "0,0", "0,6", "0,1,1",
                             "0,1,2,3,4,5", "1.5", "0;1"}) {
        EXPECT_FALSE(pinChoiceOf(text)) << "'" << text << "'";
    }
}

} // namespace
} // namespace host
