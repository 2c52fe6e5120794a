#pragma once

#include "host/session/SessionResult.h"
#include "toolkit/ExitCode.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// The connector's side of one sampled pin.
struct PinPlace {
    std::optional<unsigned> emu;
    std::optional<unsigned> bit; ///< of a data pin
};

/// Places of the sampled pins, clock first, from a pin map "clock,bit 0,bit 1,...": the last data pin of the map is
/// sampled first.
std::vector<PinPlace> placesOf(const std::string& pinMap);

/// One recording of a run.
struct RecordingResult {
    std::string state; ///< the receiver's own words
    double seconds = 0.0;
    std::uint64_t samples = 0; ///< read back
    bool wrapped = false;
    std::uint32_t checksum = 0; ///< CRC-32 of all bytes read back
};

/// Everything that `record` and `calibrate` leave to tell.
struct RecordResult : SessionResult {
    toolkit::ExitCode code = toolkit::ExitCode::Done;
    std::string failure; ///< the line for the user when code is not Done
    std::string where;
    std::vector<RecordingResult> recordings; ///< in the order made
};

} // namespace host
