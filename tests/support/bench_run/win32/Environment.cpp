#include "tests/support/bench_run/Environment.h"

#include <cstdlib>

namespace bench_run {

// The C library has its own copy of the environment; this changes both.
void setVariable(const char* name, const char* value) {
    _putenv_s(name, value);
}

} // namespace bench_run
