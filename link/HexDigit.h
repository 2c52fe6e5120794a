#pragma once

namespace MPX_GDB_AGENT {

/// The lower-case hexadecimal digit of 0 to 15. Any other value yields 0 and writes an internal error to the trace.
char hexDigit(int value);

} // namespace MPX_GDB_AGENT
