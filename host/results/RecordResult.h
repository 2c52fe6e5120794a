#pragma once

#include "host/session/SessionResult.h"

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

/// EMU pins of a pin map "clock,bit 0,bit 1,..."; empty if it cannot be read.
std::vector<unsigned> emuPinsOf(const std::string& pinMap);

/// Places of the sampled pins, clock first: the last data pin of the map is sampled first.
std::vector<PinPlace> placesOf(const std::string& pinMap);

/// One recording of a run.
struct RecordingResult {
    std::string state; ///< the receiver's text at the end
    double seconds = 0.0;
    std::uint64_t samples = 0; ///< read back
    bool wrapped = false;
    std::uint32_t checksum = 0; ///< CRC-32 of all bytes read back
};

/// An earlier calibration that a run was to use again.
struct EarlierCalibration {
    std::string place; ///< as the user named it
    std::string date;  ///< may be empty
    unsigned setting = 0;
    bool reused = false;
    std::vector<std::string> reasons; ///< why not
    std::vector<std::string> notes;   ///< what has changed and does no harm
};

/// A search for values beside the receiver's calibration.
struct TuneResult {
    struct Setting {
        unsigned setting = 0;
        double hertz = 0.0;
        std::string refusal;            ///< the receiver's; empty if it was content
        std::string rule;               ///< of its rules, the one in the way
        std::string outcome;            ///< "sound", "thin", "nothing"
        std::vector<std::string> steps; ///< what was seen and done
    };
    bool needed = false; ///< the receiver's calibration was not sound
    std::string before;  ///< how that ended
    std::vector<Setting> settings;
    std::optional<unsigned> kept; ///< setting whose values the run works with; nothing: the receiver's own
};

/// The result of `record` or `calibrate`.
struct RecordResult : SessionResult {
    std::optional<EarlierCalibration> earlier;
    std::optional<TuneResult> tuned;
    std::vector<RecordingResult> recordings; ///< in the order made
};

} // namespace host
