#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

/// A program on a terminal of its own, with somebody at the keys.
class Terminal {
public:
    /// With `errors` its standard error output goes into that file instead.
    Terminal(const std::filesystem::path& program, const std::vector<std::string>& arguments,
             const std::filesystem::path& errors = {});
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Reads on until the terminal has shown this, or the program has ended. False when it has not shown it.
    bool waitFor(const std::string& text);
    /// Reads until the program ends.
    void waitForEnd();
    void pressCtrlC();
    /// The window is closed: its programs get the signal for that, and nothing more can be read or written.
    void close();

    /// Its exit code, -1 when it did not end by itself. To be asked for once.
    int exitCode();
    /// Everything that was shown.
    const std::string& shown() const { return text; }
    /// What the line shows at a place when everything before has been shown: from the last line end on.
    std::string lineBefore(std::size_t at) const;

private:
    bool read();

    pid_t process = -1;
    int keys = -1;
    std::string text;
};
