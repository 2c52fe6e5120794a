#pragma once

#include "mpx/MpxEcomServer/DataClient.h"

#include <string>

namespace simulation {

/// The body of a data server's process over a unit in memory: every request of its one client becomes a call of the
/// unit, and what the unit calls back goes out before the reply.
void runUnitServer(VX_QRS::ORV::DataClient& unit, const std::string& arguments);

} // namespace simulation
