#pragma once

#include "tests/road/Shell.h"
#include "toolkit/FilePath.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// What one run of orvtrace gave.
struct Outcome {
    int code = -1;
    std::string output;
    std::string errors;
    nlohmann::json json; ///< of `output`, when it is JSON
};

/// A folder of its own for the runs of one test, removed with the object. When the environment variable
/// ORV_KEEP_RUNS is set it stays.
class RunSpace {
public:
    /// With a name the folder is one of that name, UTF-8, and orvtrace starts in it.
    explicit RunSpace(const std::string& name = {});
    ~RunSpace();
    RunSpace(const RunSpace&) = delete;
    RunSpace& operator=(const RunSpace&) = delete;

    std::filesystem::path file(const std::string& name) const { return folder / toolkit::filePath(name); }
    std::filesystem::path write(const std::string& name, const std::string& bytes) const;
    /// Runs orvtrace, or a copy of it.
    Outcome run(const std::vector<std::string>& arguments, const std::filesystem::path& program = {}) const;
    /// The same with a standard output that takes nothing.
    Outcome runUnheard(const std::vector<std::string>& arguments) const;
    /// The same, with `meanwhile` called once while it runs.
    Outcome run(const std::vector<std::string>& arguments, const std::filesystem::path& program,
                const std::function<void(RunningProgram&)>& meanwhile) const;
    /// `record --json --out <folder>/run` and so on.
    Outcome record(const std::string& scenario, std::vector<std::string> more = {},
                   const std::filesystem::path& program = {}) const;

private:
    std::filesystem::path whole; ///< what is removed
    std::filesystem::path folder;
    std::filesystem::path startFolder; ///< empty: the current one
};

/// The delivered program.
std::filesystem::path orvtraceProgram();

/// Copies the installation into a new folder, without one of its files when that is named (no ending); the copy's
/// orvtrace.
std::filesystem::path copyOfInstallation(const std::filesystem::path& target, const std::string& missing = {});

/// How many lines.
std::size_t lines(const std::string& text);

/// The lines of a standard error output that tell no progress: what a run that went well says beside that is nothing.
std::string withoutProgress(const std::string& errors);

std::string readBytes(const std::filesystem::path& file);

/// What the bench knows about each recording of the run, the last one last.
std::vector<nlohmann::json> truthOf(const Outcome& run);
