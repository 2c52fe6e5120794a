#pragma once

#include "bench/scenarios/Scenario.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

// Random wirings with one planted fault each, whose cause is known therefore.

namespace truth {

enum class Fault {
    stuck,     ///< a data pin stays at 0 or 1
    swapped,   ///< two data pins have each other's signal
    shorted,   ///< two inputs are on one wire
    openClock, ///< the clock's input floats
    late,      ///< a wire is longer by 1.15 to 1.85 bits, more than a calibration takes out
    noisy,     ///< edges of a data pin jitter by 0.1 to 0.3 bits rms
    duty,      ///< ones of a data pin are 3.5 to 6 samples too long or too short at each end; the unit corrects 2.5
    drift,     ///< a wire drifts later or earlier by a bit and more during a recording
    wrongRate, ///< every setting of the target is faster than the unit records, 125 to 340 MHz
};
inline constexpr std::array faults{Fault::stuck, Fault::swapped, Fault::shorted, Fault::openClock, Fault::late,
                                   Fault::noisy, Fault::duty,    Fault::drift,   Fault::wrongRate};
const char* nameOf(Fault fault);
std::optional<Fault> faultNamed(std::string_view name);

struct FaultyWiring {
    Fault fault{};
    bench::Scenario scenario;
    bench::Scenario without;       ///< the same without the fault: to show that there is no other one
    std::vector<std::size_t> pins; ///< procs that the cause has to name; 0 is the clock
    /// With two data pins one late wire is the same as the other one early.
    bool eitherPin = false;
    /// A wrong rate whose clock the unit does not have at all: even its least debounce removes every pulse, which the
    /// counter reports as 0 Hz. No file distinguishes that from a dead clock.
    bool clockVanishes = false;
    /// Seconds of trace to record after the calibration; 0 for none.
    double seconds = 0.0;
};

/// Plants a fault, drawn from the seed, into a sound wiring whose calibration keeps a clock of `hertz`. Nothing where it
/// has no place: a swap needs two data pins, and a duty error leaves pulses only of bits that are longer.
std::optional<FaultyWiring> plant(Fault fault, const bench::Scenario& sound, double hertz, std::uint64_t seed);

} // namespace truth
