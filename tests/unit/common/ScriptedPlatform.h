#pragma once

#include "common/source/source_utilities/LocalTime.h"
#include "common/source/source_utilities/NativeSocket.h"

#include <cstdint>
#include <string>
#include <vector>

namespace VX_QRS::test {

// A platform that the test controls: its clock, counter, threads and sockets replace the system's, so that rules about
// time and failures can be checked exactly. A thread runs within its start, a sleep takes no time.
struct ScriptedPlatform {
    LocalTime time{2026, 11, 21, 6, 14, 2, 11, 7};

    bool hasCounter = true;
    std::int64_t frequency = 1000;
    std::int64_t counter = 0;
    std::int64_t counterStep = 0; // added to the counter at every reading
    int counterReadings = 0;

    bool threadsAreThere = true; // otherwise the allocation of one fails
    bool threadsStart = true;
    std::vector<std::uint32_t> sleeps; // milliseconds
    std::vector<std::string> debugger; // lines

    std::vector<std::string> socketCalls;
    bool layerStarts = true;
    bool takesNoDelay = true;
    bool connects = true;
    bool binds = true;
    bool listens = true;
    uSocket::Handle accepted = uSocket::invalidHandle;
    std::int32_t received = 0;
    std::int32_t sent = 0;
    int error = 0;
};

// The current platform. A test begins with a new one.
ScriptedPlatform& platform();

} // namespace VX_QRS::test
