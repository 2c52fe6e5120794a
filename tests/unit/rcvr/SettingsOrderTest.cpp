#include "SettingsFixture.h"

// Of several faults in a settings file the first one in the order of reading is reported, and the keys of the target's
// export come last.

namespace {

using namespace rcvr_test;

class SettingsOrder : public SettingsFile {
protected:
    /// The reason that the log has for the defaults; empty when the file was accepted.
    std::string reasonFor(const std::string& text) {
        std::filesystem::remove(path + ".before-defaults");
        const std::size_t before = log.lines().size();
        load(text);
        const auto lines = log.lines();
        const std::string mark = "failed to load settings, overwriting file with defaults : ";
        for (std::size_t i = before; i < lines.size(); ++i) {
            if (const std::size_t at = lines[i].find(mark); at != std::string::npos) {
                return lines[i].substr(at + mark.size());
            }
        }
        return "";
    }
    static std::string without(const std::string& text, const std::string& key) {
        return replaced(replaced(text, "<" + key + ">", "<no-" + key + ">"), "</" + key + ">", "</no-" + key + ">");
    }
    static std::string withValue(const std::string& text, const std::string& key, const std::string& value) {
        const std::size_t begin = text.find("<" + key + ">") + key.size() + 2;
        return text.substr(0, begin) + value + text.substr(text.find("</" + key + ">"));
    }

    TemporaryFolder logFolder;
    const LogCapture log{logFolder, "1"};
};

TEST_F(SettingsOrder, OfSeveralMissingKeysTheFirstReadIsNamed) {
    const std::vector<std::string> keys{"no_emu0",  "drm_type", "drm_key",         "is_sync",  "is_stop_on_full",
                                        "num_pins", "pin_map",  "bufsize_current", "drm_xmtr", "start_port"};
    std::string text = defaultFile;
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
        text = without(text, *key);
        EXPECT_EQ(reasonFor(text), "failed to retrieve configuration variable named \"" + *key + "\"");
    }
}

TEST_F(SettingsOrder, ABadRequiredValueIsReportedBeforeTheTargetExport) {
    const std::string text = withValue(withValue(defaultFile, "ARM_STALL_CPU", "maybe"), "start_port", "");
    EXPECT_EQ(reasonFor(text), "unable to convert empty string to numeric");
}

TEST_F(SettingsOrder, AMissingTargetExportKeyEndsTheReadingOfTheirs) {
    const std::vector<std::string> keys{"ARM_STALL_CPU", "ARM_MONITOR_CPRT", "ARM_NO_DATA_TRACE_ON_FIFO_FULL",
                                        "ARM_CYCLE_ACCURATE_TRACE"};
    for (std::size_t missing = 0; missing < keys.size(); ++missing) {
        const std::string text = without(defaultFile, keys[missing]);
        for (std::size_t bad = 0; bad < keys.size(); ++bad) {
            if (bad != missing) {
                EXPECT_EQ(reasonFor(withValue(text, keys[bad], "maybe")),
                          bad < missing ? "unable to convert \"maybe\" to boolean" : "")
                    << keys[missing] << " missing, " << keys[bad] << " bad";
            }
        }
        EXPECT_EQ(reasonFor(withValue(text, "ARM_EXPORT_FRAMESIZE", "")), "") << keys[missing];
    }
    for (const std::string& bad : keys) {
        EXPECT_NE(reasonFor(withValue(without(defaultFile, "ARM_EXPORT_FRAMESIZE"), bad, "maybe")), "") << bad;
    }
}

TEST_F(SettingsOrder, ValuesAreCheckedAfterAllAreRead) {
    const std::string text = withValue(withValue(defaultFile, "num_pins", "3"), "ARM_EXPORT_FRAMESIZE", "");
    EXPECT_EQ(reasonFor(text), "unable to convert empty string to numeric");
}

TEST_F(SettingsOrder, BooleansAndNumbersHaveTheSpellingsOfTheConversions) {
    for (const char* word : {"1", "yes", "tRUE", ""}) {
        EXPECT_NE(reasonFor(withValue(defaultFile, "is_sync", word)), "") << word;
    }
    for (const char* word : {"true", "TRUE", "True"}) {
        EXPECT_TRUE(load(withValue(defaultFile, "is_sync", word)).isSync) << word;
        EXPECT_TRUE(load(withValue(defaultFile, "no_emu0", word)).isSync && g_noEmu0) << word;
    }
    EXPECT_EQ(load(withValue(defaultFile, "start_port", "010")).startPort, 8U);
    EXPECT_EQ(load(withValue(defaultFile, "start_port", "7 bits")).startPort, 7U);
    EXPECT_EQ(load(withValue(defaultFile, "start_port", "none")).startPort, 0U);
}

TEST_F(SettingsOrder, AMapWithoutPartsPassesWithAnyNumberOfPins) {
    EXPECT_EQ(reasonFor(withValue(defaultFile, "num_pins", "4")), "");
    EXPECT_EQ(reasonFor(withValue(withValue(defaultFile, "num_pins", "2"), "pin_map", "3,4,5,")), "")
        << "nothing follows the last comma";
    EXPECT_EQ(reasonFor(withValue(withValue(defaultFile, "num_pins", "0"), "pin_map", "3")),
              "unsupported number of pins requested (0)");
}

TEST_F(SettingsOrder, AStoreWritesTheNameOfTheReceiver) {
    load(withValue(withValue(defaultFile, "RCVRNAME", "mine"), "num_pins", "3"));
    EXPECT_EQ(readText(path), defaultFile);
}

TEST_F(SettingsOrder, AGoodFileReplacesEveryFieldOfAnEarlierRecord) {
    ChannelSettings settings;
    settings.isSync = settings.isStopOnFull = settings.cycleAccurateTrace = false;
    settings.stallCpu = settings.monitorCprt = settings.noDataTraceOnFifoFull = true;
    settings.numPins = 4;
    settings.pinMap = "1";
    settings.bufferSizeIndex = settings.startPort = settings.exportFrameSize = 9;
    settings.transmitter = "tpiu";
    writeBytes(path, defaultFile);
    LoadSettings(settings, path.c_str(), "cpu");
    EXPECT_TRUE(isDefault(settings));
}

} // namespace
