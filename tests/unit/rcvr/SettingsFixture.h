#pragma once

#include "TestSupport.h"
#include "common/source/source_utilities/uString.h"
#include "rcvr/SettingsFile.h"

// A settings file in a folder of its own.

namespace rcvr_test {

using namespace Vx::Qrs::Trace::OrvRcvr;
using VX_QRS::ORV::CLIENT::ChannelSettings;

inline const char* const defaultFile = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- This file defines the MPX Kite R2 STM receiver channel settings. -->
<CHANNEL-SETUP>
	<RCVRNAME>Kite R2 Trace</RCVRNAME>
	<no_emu0>false</no_emu0>
	<no_emu1>false</no_emu1>
	<drm_type></drm_type>
	<drm_key></drm_key>
	<num_pins>1</num_pins>
	<pin_map></pin_map>
	<is_stop_on_full>true</is_stop_on_full>
	<is_sync>true</is_sync>
	<bufsize_current>0</bufsize_current>
	<drm_xmtr>pti</drm_xmtr>
	<start_port>0</start_port>
	<ARM_STALL_CPU>false</ARM_STALL_CPU>
	<ARM_MONITOR_CPRT>false</ARM_MONITOR_CPRT>
	<ARM_NO_DATA_TRACE_ON_FIFO_FULL>false</ARM_NO_DATA_TRACE_ON_FIFO_FULL>
	<ARM_CYCLE_ACCURATE_TRACE>true</ARM_CYCLE_ACCURATE_TRACE>
	<ARM_EXPORT_FRAMESIZE>0</ARM_EXPORT_FRAMESIZE>
</CHANNEL-SETUP>
)";

inline std::string replaced(std::string text, const std::string& original, const std::string& replacement) {
    EXPECT_NE(text.find(original), std::string::npos) << original;
    VX_QRS::uString::replace(text, original.c_str(), replacement.c_str());
    return text;
}

inline bool isDefault(const ChannelSettings& settings) {
    const ChannelSettings d;
    return settings.isSync == d.isSync && settings.isStopOnFull == d.isStopOnFull && settings.numPins == d.numPins &&
           settings.pinMap == d.pinMap && settings.bufferSizeIndex == d.bufferSizeIndex &&
           settings.bufferSizeChoices == d.bufferSizeChoices && settings.transmitter == d.transmitter &&
           settings.startPort == d.startPort && settings.stallCpu == d.stallCpu &&
           settings.monitorCprt == d.monitorCprt && settings.noDataTraceOnFifoFull == d.noDataTraceOnFifoFull &&
           settings.cycleAccurateTrace == d.cycleAccurateTrace && settings.exportFrameSize == d.exportFrameSize;
}

class SettingsFile : public testing::Test {
protected:
    SettingsFile() {
        g_noEmu0 = g_noEmu1 = false;
        g_drmType.clear();
        g_drmKey.clear();
    }
    ChannelSettings load() {
        ChannelSettings settings;
        LoadSettings(settings, path.c_str(), "cpu");
        return settings;
    }
    ChannelSettings load(const std::string& text) {
        writeBytes(path, text);
        return load();
    }
    // Defaults were loaded and are in the file now.
    void expectRefused(const std::string& text) {
        EXPECT_TRUE(isDefault(load(text))) << text;
        EXPECT_NE(readText(path), text);
        EXPECT_NE(readText(path).find("\t<num_pins>1</num_pins>\n\t<pin_map></pin_map>\n"), std::string::npos);
    }

    std::vector<std::string> names() const { return folder.names(); }

    TemporaryFolder folder;
    const std::string path = folder.file("chan.xml");
};

} // namespace rcvr_test
