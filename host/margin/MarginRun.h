#pragma once

#include "diagnosis/margin/MarginScan.h"
#include "host/session/Session.h"
#include "host/verification/Point.h"

#include <optional>
#include <string>
#include <vector>

// The margins of every lane, by moving the sampling point until words come back wrong.

namespace host {

struct MarginOptions {
    SessionOptions session;
    bool quick = false;                ///< the kept rate only, and as few bits as show the walls
    double hertz = 0.0;                ///< the only rate to scan; 0: all, or the kept one if quick
    double errorRate = usualErrorRate; ///< that is excluded at the kept values
    std::string page;                  ///< file; empty: none
    std::string pinned;                ///< file of properties that pin what was found; empty: none
};

struct MarginResult : SessionResult {
    diagnosis::MarginScan rates; ///< slow to fast
};

/// Calibrates, scans and calibrates again, so that the unit and the files of the run are left as a calibration leaves
/// them. An interruption leaves what was measured. Throws Failure.
void measureMargins(const MarginOptions& options, MarginResult& result);

/// The lines of a file for VX_TRACE_PROPERTIES: the fastest rate that was scanned without a fault, as `frequencyLimit`
/// where the target has several rates, otherwise as values.
std::string pinnedProperties(const MarginResult& result);

nlohmann::json marginResultJson(const MarginResult& result);

} // namespace host
