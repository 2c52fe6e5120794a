#pragma once

#include "common/source/source_utilities/uDll.h"
#include "rcvr/framework/IXmtrLibrary.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace bench_run {

/// The scenario of a run: ideal wiring unless `more` changes it.
struct Target {
    const char* kind = "pti";
    unsigned pins = 4;
    double frequency = 50e6; ///< Hz of the trace clock
    double speed = 8;        ///< factor by which the buffer fills faster than in reality
    std::string more;        ///< further tables of the scenario
    std::string play;        ///< bytes that the target sends; generated trace when empty
};

/// The environment of one run of the bench, in a folder of its own. A server process that is started inherits it.
class BenchRun {
public:
    explicit BenchRun(const Target& target);
    BenchRun(const BenchRun&) = delete;
    BenchRun& operator=(const BenchRun&) = delete;
    ~BenchRun();

    /// Folder of the bench's files: truth.jsonl, contents.jsonl, server.log.
    std::string benchFolder() const { return folder.file("bench"); }

    test_support::TemporaryFolder folder;
};

/// The transmitter library in the tests' folder, with one object of it.
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

/// Polls until the condition holds; false when it does not within a minute, five with sanitizers.
bool waitUntil(const std::function<bool()>& holds);

/// Repeats a refused connection: on a busy machine a new data server may not listen yet.
void untilServerListens(const std::function<void()>& connect, const std::function<bool()>& refused);

} // namespace bench_run
