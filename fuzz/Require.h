#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

/// Ends the program, which a fuzzer reports as a finding.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

} // namespace fuzz
