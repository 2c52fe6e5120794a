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

/// The receiver as the framework holds it: the shared library, loaded by name, with one channel on the bench.
class LibrarySession {
public:
    explicit LibrarySession(const Target& target);
    LibrarySession(const LibrarySession&) = delete;
    LibrarySession& operator=(const LibrarySession&) = delete;
    ~LibrarySession();

    /// Settings and calibration; `buffer` is the index of its size.
    void configure(unsigned buffer, bool stopOnFull = true);
    void start();
    void stop();
    /// Until the unit holds that many bytes.
    void waitForBytes(std::uint32_t bytes);
    /// Until the recording's upload has ended; the channel's words.
    std::string finish();

    /// With the words of the error, when the question fails.
    Vx::Qrs::Trace::ChannelStatus status();
    std::string attribute(const char* name);
    /// The words of the error that it ends in, empty when there is none.
    static std::string errorOf(const std::function<void()>& call);

    std::string stem() const;
    std::string file() const { return test_support::readText(stem() + ".bin"); }
    /// Where the file of the last recording differs from what the target sent; empty when it does not.
    std::string differenceFromSent(bool prefix = false) const;

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
