#include "host/session/RunFolder.h"

#include "host/platform/Platform.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <array>

namespace host {

namespace {

constexpr std::array leftByRuns{".VX-trace", "bench"};

std::filesystem::path freeFolder(const std::string& name) {
    std::error_code failed;
    std::filesystem::path candidate = toolkit::filePath("orvtrace-" + name);
    for (unsigned number = 2; std::filesystem::exists(candidate, failed); ++number) {
        candidate = toolkit::filePath("orvtrace-" + name + "-" + std::to_string(number));
    }
    return candidate;
}

/// Why the folder cannot be made, and the remedy.
std::string reasonOf(const std::filesystem::path& folder) {
    std::error_code failed;
    const std::filesystem::path above = folder.parent_path();
    if (std::filesystem::exists(folder, failed)) {
        return "it is a file; choose another with --out";
    }
    if (!std::filesystem::exists(above, failed)) {
        return "the folder " + above.string() + " does not exist; make it or give another";
    }
    if (!std::filesystem::is_directory(above, failed)) {
        return above.string() + " is a file, not a folder; choose another with --out";
    }
    return "check permissions, or choose another with --out";
}

} // namespace

RunFolder::RunFolder(const std::string& wanted, const std::string& name, bool force, toolkit::MadeFolders& made) {
    std::error_code failed;
    folder = wanted.empty() ? freeFolder(name) : toolkit::filePath(wanted);
    folder = std::filesystem::absolute(folder, failed).lexically_normal().make_preferred();
    if (!folder.has_filename()) { // the path ends with a separator
        folder = folder.parent_path();
    }
    for (const char* part : leftByRuns) {
        if (!force && std::filesystem::exists(folder / part, failed)) {
            throw toolkit::Failure(toolkit::ExitCode::OutputExists,
                                   folder.string() + " holds an earlier run; choose another folder or give --force");
        }
    }
    if (!made.make(folder)) {
        throw toolkit::Failure(toolkit::ExitCode::OutputUnwritable,
                               "cannot create the folder " + folder.string() + ": " + reasonOf(folder));
    }
    constexpr bool overwrite = true;
    toolkit::testOutputFile(folder / ".orvtrace-test", overwrite);
}

bool RunFolder::willClear(const std::filesystem::path& file) const {
    std::error_code failed;
    std::filesystem::path above =
        std::filesystem::weakly_canonical(std::filesystem::absolute(file, failed), failed).parent_path();
    for (; above.has_relative_path(); above = above.parent_path()) {
        for (const char* part : leftByRuns) {
            if (std::filesystem::equivalent(above, folder / part, failed)) {
                return true;
            }
        }
    }
    return false;
}

std::string RunFolder::lastWordsOfServer() const {
    constexpr std::string_view mark = "mpx_ecom_server: ";
    std::string words;
    std::error_code failed;
    const std::filesystem::path log = benchFolder() / "server.log";
    if (!std::filesystem::is_regular_file(log, failed)) {
        return words;
    }
    const std::string text = toolkit::readText(log);
    for (const toolkit::TextLine& line : toolkit::textLines(text)) {
        if (line.text.starts_with(mark)) {
            words = line.text.substr(mark.size());
        }
    }
    return words;
}

void RunFolder::clear() const {
    std::error_code failed;
    for (const char* part : leftByRuns) {
        std::filesystem::remove_all(folder / part, failed);
    }
}

void RunFolder::enterBench(const Scenario& scenario, const std::string& play,
                           const std::filesystem::path& programs) const {
    std::error_code failed;
    std::filesystem::create_directories(benchFolder(), failed);
    if (failed) {
        throw toolkit::Failure(toolkit::ExitCode::OutputUnwritable,
                               "cannot create the folder " + benchFolder().string());
    }
    setEnvironment("ORV_BENCH_SCENARIO", scenario.file.string());
    setEnvironment("ORV_BENCH_DIR", benchFolder().string());
    setEnvironment("ORV_BENCH_PLAY",
                   play.empty() ? play : std::filesystem::absolute(toolkit::filePath(play)).make_preferred().string());
    setEnvironment("COMMON_HELIX", programs.string());
    setEnvironment("USERPROFILE", folder.string());
    setEnvironment("HOME", folder.string());
    setEnvironment("VX_TRACE_DEBUGCLIENT_PID", std::to_string(processId()));
    for (const auto& [name, value] : scenario.environment) {
        setEnvironment(name.c_str(), value);
    }
    // Level 1 makes the receiver write its log and its diagnostic files.
    setEnvironment("VX_TRACE_LOGGING", "1");
}

} // namespace host
