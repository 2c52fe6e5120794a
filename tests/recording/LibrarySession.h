#pragma once

#include "rcvr/framework/CChannelDriver.h"
#include "rcvr/framework/CReceiver.h"
#include "tests/recording/Contents.h"
#include "tests/support/bench_run/BenchRun.h"

#include <string>

namespace recording_test {

using bench_run::BenchRun;
using bench_run::symbol;
using bench_run::Target;
using bench_run::untilServerListens;
using bench_run::waitUntil;
using bench_run::XmtrLibrary;

/// The receiver as in the framework: the shared library, loaded by name, with one channel on the bench.
class LibrarySession {
public:
    explicit LibrarySession(const Target& target);
    LibrarySession(const LibrarySession&) = delete;
    LibrarySession& operator=(const LibrarySession&) = delete;
    ~LibrarySession();

    enum class WhenFull { Stop, Wrap };
    /// Writes settings and calibrates; `buffer` is the index of its size.
    void configure(unsigned buffer, WhenFull action = WhenFull::Stop);
    void start();
    void stop();
    /// Waits until the unit holds that many bytes.
    void waitForBytes(std::uint32_t bytes);
    /// Waits for the end of the upload; returns the channel's status text.
    std::string finish();

    /// With the error's text, when the query fails.
    Vx::Qrs::Trace::ChannelStatus status();
    std::string attribute(const char* name);
    /// Text of the error that the call throws; empty when there is none.
    static std::string errorOf(const std::function<void()>& call);

    std::string stem() const;
    std::string file() const { return test_support::readText(stem() + ".bin"); }
    /// Difference between the file of the last recording and what the target sent; empty when there is none.
    std::string differenceFromSent(Compare length = Compare::Whole) const;

    BenchRun bench;
    Vx::Qrs::Trace::CReceiver* receiver = nullptr;
    Vx::Qrs::Trace::CChannelDriver* channel = nullptr;
    Vx::Qrs::Trace::IXmtrLibrary* transmitter() const { return xmtr.object; }

private:
    Target target;
    VX_QRS::uDll library;
    XmtrLibrary xmtr;
};

} // namespace recording_test
