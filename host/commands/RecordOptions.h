#pragma once

#include <string>

namespace host {

/// What the command line of `orvtrace record` asks for.
struct RecordOptions {
    std::string scenario;            ///< name or file; empty: the real siblings and server
    std::string settings;            ///< channel settings file; empty: written from the scenario
    std::string cpu;                 ///< empty: the scenario's
    std::string play;                ///< what the simulated target sends
    double seconds = 1.0;            ///< length of the recording
    bool untilFull = false;          ///< record until the unit's buffer is full instead
    bool triggerFile = false;        ///< end by the trigger file instead of a stop
    bool wrap = false;               ///< let the buffer wrap
    std::string buffer;              ///< size of the unit's buffer; empty: as the settings say
    std::string out;                 ///< folder of the run
    std::string save;                ///< trace data file
    std::string raw;                 ///< raw copy
    std::string library = "OrvRcvr"; ///< name or path of the receiver
    bool force = false;
};

} // namespace host
