#pragma once

#include <new>
#include <sstream>
#include <string>

namespace MPX_GDB_AGENT {

/// Text stream that collects what is written to it and hands it to `Policy::output` when it is destroyed.
/// @tparam Policy has a static `void output(const std::string& text)` that does not throw.
template <class Policy>
class GdbDisplay : public std::ostringstream {
public:
    GdbDisplay() = default;
    GdbDisplay(const GdbDisplay&) = delete;
    GdbDisplay& operator=(const GdbDisplay&) = delete;
    /// The text is lost when there is no memory to hand it on.
    ~GdbDisplay() override {
        try {
            Policy::output(str());
        } catch (const std::bad_alloc&) {
        }
    }
};

/// Where the trace of the link goes: nowhere. The file name below is reserved for it, and nothing opens such a file.
struct Output2Client {
    static constexpr const char* fileName = "vx_gdb_adapter.log";
    static void output(const std::string&) noexcept {}
};

/// One piece of trace text.
class CLIENTOut : public GdbDisplay<Output2Client> {};

/// How much is traced: packets from 7 up, internal errors from 0 up. Fixed once, on first use, by any thread.
int traceVerbosity();

} // namespace MPX_GDB_AGENT
