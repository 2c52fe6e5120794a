#pragma once

#include "bench/scenarios/Scenario.h"
#include "bench/wiring/Line.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace bench {

/// EMU pins of the connector and the unit's receiver inputs that they are wired to.
unsigned receiverInputOfEmu(unsigned emu);
std::optional<unsigned> emuOfReceiverInput(unsigned input);

/// The path from the target's pins to a receiver input. `pins` are the EMU pins that the target drives: the
/// clock, then bit 0, bit 1 and so on; the highest bit is the top bit of a group. `seconds` is how long the
/// wiring has been drifting. An input that no driven pin reaches is low.
Line lineAtReceiver(const WiringSettings& wiring, const std::vector<unsigned>& pins, unsigned input, double seconds);

/// The unit's own generator has no wiring: proc 0 gets its clock, proc p bit p - 1 of the group from the top.
Line lineOfGenerator(unsigned proc, unsigned dataPins);

} // namespace bench
