#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

/// The user's settings of one channel, as in its settings file. A new record has the defaults.
struct ChannelSettings {
    bool isSync = true;                ///< recording follows the target's run and halt
    bool isStopOnFull = true;          ///< a full buffer stops the recording, otherwise it wraps
    std::uint32_t numPins = 1;         ///< data pins, the clock pin not counted: 1, 2 or 4
    std::string pinMap;                ///< EMU pins separated by ",", the clock's first; empty: searched for
    std::uint32_t bufferSizeIndex = 0; ///< into bufferSizeChoices
    std::vector<std::string> bufferSizeChoices{"256 kB", "512 kB", "1 MB",  "2 MB",  "4 MB",
                                               "8 MB",   "16 MB",  "32 MB", "64 MB", "128 MB"};
    std::string transmitter = "pti"; ///< kind of trace export: "pti", "tpiu" or "tpiulite"
    std::uint32_t startPort = 0;

    /// Settings of the trace export on the target.
    bool stallCpu = false;
    bool monitorCprt = false;
    bool noDataTraceOnFifoFull = false;
    bool cycleAccurateTrace = true;
    std::uint32_t exportFrameSize = 0;
};

} // namespace VX_QRS::ORV::CLIENT
