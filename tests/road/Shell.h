#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// A program with its two outputs going into files and nothing to read. It has to be waited for.
class RunningProgram {
public:
    /// Blanks and letters of all kinds in arguments are kept; they are UTF-8. Without `output` the program's standard
    /// output takes nothing, as on a full disk. It starts in `folder`, or in the current one.
    RunningProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                   const std::filesystem::path& output, const std::filesystem::path& errors,
                   const std::filesystem::path& folder = {});
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    /// Whether interrupt() works on this system. Ask first: a program that is ended the hard way leaves its data server
    /// to find out by itself, and the next run would meet that one.
    static bool canInterrupt();
    /// What Ctrl-C does, or the nearest that can be sent to one process. False when it could not be sent.
    bool interrupt();
    /// Ends it the hard way; it still has to be waited for.
    void end();
    /// Its exit code, -1 when it did not end by itself.
    int wait();

private:
    struct State;
    std::unique_ptr<State> state;
};
