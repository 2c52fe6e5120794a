#include "link/HexDigit.h"

#include "link/GdbDisplay.h"

namespace MPX_GDB_AGENT {

char hexDigit(int value) {
    if (value < 0 || value >= 16) {
        if (traceVerbosity() >= 0) {
            CLIENTOut() << "Internal error: invalid hex value: " << value;
        }
        return 0;
    }
    return "0123456789abcdef"[value];
}

} // namespace MPX_GDB_AGENT
