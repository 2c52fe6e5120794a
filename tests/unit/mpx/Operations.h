#pragma once

#include "tests/unit/mpx/ProxyOverScript.h"

#include <functional>
#include <string>
#include <vector>

/// One operation of the proxy with its bytes on the wire, for tests that run each through the same failures.
struct Operation {
    const char* name; ///< as in the function trace
    char command;
    std::string arguments; ///< of the request, before escapes
    std::string payload;   ///< of a valid reply, before escapes
    std::function<void(VX_QRS::ORV::OrvEcomProxy&, RecordingCallback&)> run;

    std::string request() const { return frames::request(command, arguments); }
    bool opensTheChannel() const { return command == 'o'; }
    /// Does nothing without an open channel.
    bool needsAChannel() const { return command == 'O'; }
    /// Failures are not thrown; the next request reports them.
    bool swallowsFailures() const { return command == '~'; }
};

/// All operations with a request and a reply, except the constructor's version check.
const std::vector<Operation>& operations();

/// Size of the call of `peek` and of its storage.
inline constexpr std::uint32_t peekSize = 4;
