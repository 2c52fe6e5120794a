#pragma once

#include <new>
#include <sstream>
#include <string>

namespace MPX_GDB_AGENT {

/// Text stream that collects its text and passes it to `Policy::output` when it is destroyed. @tparam Policy has a
/// static `void output(const std::string& text)` that does not throw.
template <class Policy>
class GdbDisplay : public std::ostringstream {
public:
    GdbDisplay() = default;
    GdbDisplay(const GdbDisplay&) = delete;
    GdbDisplay& operator=(const GdbDisplay&) = delete;
    /// Without memory the text is lost.
    ~GdbDisplay() override {
        try {
            Policy::output(str());
        } catch (const std::bad_alloc&) {
        }
    }
};

/// Output of the link's trace, which is discarded. The file name below is reserved for it; no such file is opened.
struct Output2Client {
    static constexpr const char* fileName = "vx_gdb_adapter.log";
    static void output(const std::string&) noexcept {}
};

/// One piece of trace text.
class CLIENTOut : public GdbDisplay<Output2Client> {};

/// Verbosity of the trace: packets from 7 up, internal errors from 0 up. Set once, at the first use, by any thread.
int traceVerbosity();

} // namespace MPX_GDB_AGENT
