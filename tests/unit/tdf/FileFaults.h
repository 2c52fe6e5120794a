#pragma once

#include <limits>

// Failures of the C library's file functions, at the call that a test chooses.

namespace tdf_test {

enum class Function { Open, Write, Read, Flush, Error, Count };

/// While it lives, calls of a function fail from the n-th (from 1) on, `count` of them. One at a time.
class FileFault {
public:
    FileFault(Function function, int firstFailing, int count = std::numeric_limits<int>::max());
    FileFault(const FileFault&) = delete;
    FileFault& operator=(const FileFault&) = delete;
    ~FileFault();

    /// Number of calls of the function since the construction.
    int calls() const;

private:
    Function watched;
};

} // namespace tdf_test
