#pragma once

#include <cstddef>

namespace host {

/// Sets the line that answers the first Ctrl-C during the object's life. Of several objects the first one counts: the
/// work that contains the others is the one that ends.
class InterruptAnswer {
public:
    /// Such as "stopping after the calibration"; must live as long as the program.
    explicit InterruptAnswer(const char* text);
    ~InterruptAnswer();
    InterruptAnswer(const InterruptAnswer&) = delete;
    InterruptAnswer& operator=(const InterruptAnswer&) = delete;

private:
    bool first;
};

/// Writes the line for the first Ctrl-C, without a terminator, and returns its length. With `newLine` it begins with a
/// line end: a terminal has echoed the key by then. Safe in a signal handler.
std::size_t interruptLine(char* line, std::size_t size, bool newLine);

inline constexpr std::size_t longestInterruptLine = 160;

} // namespace host
