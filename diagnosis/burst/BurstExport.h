#pragma once

#include "diagnosis/files/BurstFile.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace diagnosis {

/// The part of a burst to write.
struct BurstPart {
    std::size_t from = 0;
    std::size_t to = 0;            ///< one past the last sample
    std::vector<std::size_t> pins; ///< procs, in the order in which they are written
};

/// The part that an option's text asks for. `pins` is empty for all of them, or a list such as "0,2", "clock,data2".
/// `to` 0 means up to the end. Throws Failure (Usage).
BurstPart partOf(const Burst& burst, std::size_t from, std::size_t to, const std::string& pins);

/// The time of a sample, in picoseconds from the burst's first one, rounded.
std::size_t picosecondsOf(const Burst& burst, std::size_t sample);

/// What wrote a file, and when, for its head. An empty text leaves its entry out.
struct ExportOrigin {
    std::string program; ///< "orvtrace 0.1.0"
    std::string date;    ///< "2026-11-22 13:40:05"
};

/// Value change dump: one wire for each pin, in picoseconds from the part's first sample. The last time stamp is the
/// end of the part's last sample.
void writeVcd(std::ostream& out, const Burst& burst, const BurstPart& part, const ExportOrigin& origin = {});

/// One line per sample: its number, its time in nanoseconds from the burst's first one, and the levels.
void writeCsv(std::ostream& out, const Burst& burst, const BurstPart& part);

/// The name of a pin as a signal: "clock", "data1".
std::string signalName(std::size_t proc);

} // namespace diagnosis
