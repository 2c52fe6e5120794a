#include "tests/support/bench_run/Environment.h"

#include <cstdlib>

namespace bench_run {

// The C library keeps an environment of its own, which this keeps together with the system's.
void setVariable(const char* name, const char* value) {
    _putenv_s(name, value);
}

} // namespace bench_run
