#pragma once

#include "client/FrontEnd.h"
#include "client/FrontEndChannel.h"
#include "common/source/ChannelSettings.h"
#include "tests/recording/Contents.h"
#include "tests/support/bench_run/BenchRun.h"

#include <memory>
#include <string>

namespace recording_test {

using bench_run::BenchRun;
using bench_run::symbol;
using bench_run::Target;
using bench_run::untilServerListens;
using bench_run::waitUntil;
using bench_run::XmtrLibrary;

/// The front end and a channel, over the data server process, for settings that the framework lacks.
class ChannelSession {
public:
    /// Calibrates, with these lines in the channel's section of the properties file.
    explicit ChannelSession(const Target& target, const std::string& lines = {});
    ChannelSession(const ChannelSession&) = delete;
    ChannelSession& operator=(const ChannelSession&) = delete;

    VX_QRS::ORV::CLIENT::ChannelMetrics status();
    void waitForBytes(std::uint32_t bytes);
    void waitUntilDone();
    /// Makes a recording and stops it when the unit holds that many bytes.
    void record(std::uint32_t bytes);
    /// A further channel of the same CPU.
    VX_QRS::ORV::CLIENT::FrontEndChannel* another();

    std::string stem() const { return bench.folder.file("trace"); }
    std::string file() const { return test_support::readText(stem() + ".bin"); }
    /// The expected file of the last recording.
    std::string expected() const;

    Target target;
    BenchRun bench;
    XmtrLibrary xmtr;
    VX_QRS::ORV::CLIENT::ChannelSettings settings;
    std::unique_ptr<VX_QRS::ORV::CLIENT::FrontEnd, decltype(&VX_QRS::ORV::CLIENT::destroyFrontEnd)> frontEnd;
    VX_QRS::ORV::CLIENT::FrontEndChannel* channel = nullptr;
};

} // namespace recording_test
