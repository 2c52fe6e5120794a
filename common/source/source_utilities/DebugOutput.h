#pragma once

namespace VX_QRS {

/// Passes a line to a debugger, on platforms that support it.
void debugOutput(const char* line);

} // namespace VX_QRS
