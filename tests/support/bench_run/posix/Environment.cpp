#include "tests/support/bench_run/Environment.h"

#include <cstdlib>

namespace bench_run {

void setVariable(const char* name, const char* value) {
    if (*value == '\0') {
        unsetenv(name);
    } else {
        setenv(name, value, 1);
    }
}

} // namespace bench_run
