#include "link/GdbDisplay.h"

namespace MPX_GDB_AGENT {

namespace {
constexpr int baseVerbosity = 0; // nothing in this system sets more
}

int traceVerbosity() {
    static const int verbosity = baseVerbosity + 2;
    return verbosity;
}

} // namespace MPX_GDB_AGENT
