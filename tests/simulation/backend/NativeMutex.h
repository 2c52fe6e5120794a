#pragma once

#include "tests/simulation/backend/SimulatedLock.h"

namespace VX_QRS {

using NativeMutex = simulation::SimulatedLock;

} // namespace VX_QRS
