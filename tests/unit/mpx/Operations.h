#pragma once

#include "tests/unit/mpx/ProxyOverScript.h"

#include <functional>
#include <string>
#include <vector>

/// One operation of the proxy with the bytes of its talk, for tests that put each through the same troubles.
struct Operation {
    const char* name; ///< as in the function trace
    char command;
    std::string arguments; ///< of the request, before escapes
    std::string payload;   ///< of a good reply, before escapes
    std::function<void(VX_QRS::ORV::OrvEcomProxy&, RecordingCallback&)> run;

    std::string request() const { return frames::request(command, arguments); }
    bool opensTheChannel() const { return command == 'o'; }
    /// Without an open channel it has nothing to do.
    bool needsAChannel() const { return command == 'O'; }
    /// Failures stay inside; the next request tells.
    bool swallowsFailures() const { return command == '~'; }
};

/// All that send a request and wait for its reply, but the version check, which is the constructor's.
const std::vector<Operation>& operations();

/// Size that `peek` is called with, and that of the storage it is given.
inline constexpr std::uint32_t peekSize = 4;
