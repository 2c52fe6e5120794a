#pragma once

#include "common/source/source_utilities/uDll.h"
#include "rcvr/framework/IXmtrLibrary.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace bench_run {

/// The scenario of a run: a perfect wiring, unless `more` says otherwise.
struct Target {
    const char* kind = "pti";
    unsigned pins = 4;
    double frequency = 50e6; ///< Hz of the trace clock
    double speed = 8;        ///< the buffer fills so many times faster than it really could
    std::string more;        ///< further tables of the scenario
    std::string play;        ///< what the target sends; generated trace when empty
};

/// The environment of one run of the bench, in a folder of its own. The server process takes it over when it is started.
class BenchRun {
public:
    explicit BenchRun(const Target& target);
    BenchRun(const BenchRun&) = delete;
    BenchRun& operator=(const BenchRun&) = delete;
    ~BenchRun();

    /// Of files that the bench writes: truth.jsonl, contents.jsonl, server.log.
    std::string benchFolder() const { return folder.file("bench"); }

    test_support::TemporaryFolder folder;
};

/// The transmitter library that lies beside the tests, with one object of it.
class XmtrLibrary {
public:
    XmtrLibrary();
    XmtrLibrary(const XmtrLibrary&) = delete;
    XmtrLibrary& operator=(const XmtrLibrary&) = delete;
    ~XmtrLibrary();

    Vx::Qrs::Trace::IXmtrLibrary* object = nullptr;

private:
    VX_QRS::uDll library;
};

/// The address of an exported function.
template <class Function>
Function symbol(VX_QRS::uDll& library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<std::uintptr_t>(library.GetSymbol(name)));
}

/// Looks again until it holds; false when it does not within a minute, five with sanitizers.
bool waitUntil(const std::function<bool()>& holds);

/// A data server that was started a moment ago may not listen yet on a busy machine. Tries again then.
void untilServerListens(const std::function<void()>& connect, const std::function<bool()>& refused);

} // namespace bench_run
