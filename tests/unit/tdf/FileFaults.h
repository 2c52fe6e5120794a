#pragma once

// Failures of the C library's file functions, at the place that a test chooses.

namespace tdf_test {

enum class Function { Open, Write, Read, Flush, Error, Count };

/// While it lives, the n-th call (from 1) of a function and all later ones fail. One at a time.
class FileFault {
public:
    FileFault(Function function, int firstFailing);
    FileFault(const FileFault&) = delete;
    FileFault& operator=(const FileFault&) = delete;
    ~FileFault();

    /// How often the function was called since.
    int calls() const;

private:
    Function watched;
};

} // namespace tdf_test
