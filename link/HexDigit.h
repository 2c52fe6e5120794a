#pragma once

namespace MPX_GDB_AGENT {

/// The lower-case hexadecimal digit of 0 to 15. For any other value it yields 0 and leaves an internal error in the
/// trace.
char hexDigit(int value);

} // namespace MPX_GDB_AGENT
