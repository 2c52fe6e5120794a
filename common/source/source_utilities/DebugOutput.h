#pragma once

namespace VX_QRS {

// Passes a line to a debugger, where the platform has a way.
void debugOutput(const char* line);

} // namespace VX_QRS
