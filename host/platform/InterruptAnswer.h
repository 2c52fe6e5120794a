#pragma once

#include <cstddef>

namespace host {

/// Says what the first Ctrl-C does, for as long as it lives. Where several live the first one counts: what contains the
/// others is what ends.
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
