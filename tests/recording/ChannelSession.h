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

/// The front end and a channel themselves, over the data server process: for what the framework has no words for.
class ChannelSession {
public:
    /// Calibrated, with these lines in the channel's section of the properties file.
    explicit ChannelSession(const Target& target, const std::string& lines = {});
    ChannelSession(const ChannelSession&) = delete;
    ChannelSession& operator=(const ChannelSession&) = delete;

    VX_QRS::ORV::CLIENT::ChannelMetrics status();
    void waitForBytes(std::uint32_t bytes);
    void waitUntilDone();
    /// A recording that is stopped once the unit holds that many bytes.
    void record(std::uint32_t bytes);
    /// A further channel of the same CPU.
    VX_QRS::ORV::CLIENT::FrontEndChannel* another();

    std::string stem() const { return bench.folder.file("trace"); }
    std::string file() const { return test_support::readText(stem() + ".bin"); }
    /// What the file of the last recording has to hold.
    std::string expected() const;

    Target target;
    BenchRun bench;
    XmtrLibrary xmtr;
    VX_QRS::ORV::CLIENT::ChannelSettings settings;
    std::unique_ptr<VX_QRS::ORV::CLIENT::FrontEnd, decltype(&VX_QRS::ORV::CLIENT::destroyFrontEnd)> frontEnd;
    VX_QRS::ORV::CLIENT::FrontEndChannel* channel = nullptr;
};

} // namespace recording_test
