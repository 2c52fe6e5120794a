#include "fuzz/Targets.h"

#include <array>

namespace fuzz {

std::span<const Target> targets() {
    static constexpr auto all = std::to_array<Target>({
        {"benchRequests", benchRequests},
        {"burst", burst},
        {"calibrationReport", calibrationReport},
        {"configFile", configFile},
        {"devices", devices},
        {"packetBuffer", packetBuffer},
        {"pinMap", pinMap},
        {"properties", properties},
        {"propertyFile", propertyFile},
        {"registerDump", registerDump},
        {"replies", replies},
        {"runFolder", runFolder},
        {"runLog", runLog},
        {"scenario", scenario},
        {"scenarioRun", scenarioRun},
        {"settingsFile", settingsFile},
        {"sideRequests", sideRequests},
        {"traceFile", traceFile},
        {"verification", verification},
    });
    return all;
}

} // namespace fuzz
