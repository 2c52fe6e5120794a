#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/basics/ExitCode.h"
#include "host/files/CalibrationReport.h"
#include "host/files/RunLog.h"

namespace host {

/// The connector's side of one sampled pin.
struct PinPlace {
    std::optional<unsigned> emu;
    std::optional<unsigned> bit; ///< of a data pin
};

/// Places of the sampled pins, clock first, from a pin map "clock,bit 0,bit 1,...": the last data pin of the map is
/// sampled first.
std::vector<PinPlace> placesOf(const std::string& pinMap);

/// Everything that a recording leaves to tell.
struct RecordResult {
    ExitCode code = ExitCode::Done;
    std::string failure; ///< the line for the user when code is not Done
    std::string where;
    std::string scenario;
    std::string cpu;
    std::string pinMap;

    bool calibrated = false;
    double calibrationSeconds = 0.0;
    RunLog log;
    std::optional<CalibrationReport> calibration;

    bool recorded = false;
    std::string state; ///< the receiver's own words
    double recordingSeconds = 0.0;
    std::uint64_t samples = 0;
    bool wrapped = false;
    std::uint32_t checksum = 0; ///< CRC-32 of all bytes read back

    std::vector<std::pair<std::string, std::string>> files; ///< what, where
};

} // namespace host
