#pragma once

#include "common/source/source_utilities/source_utilities_error.h"

#include <cstdint>
#include <string>

namespace VX_QRS {

/// The process's environment, per-user directories, paths and processes. Failures are source_utilities_error.
/// Thread-safe. The working directory is one for the whole process.
///
/// Paths: joinPath and normalisePath read both "\" and "/" as separators and write the platform's own.
class uEnvironment {
public:
    /// The value of a variable, empty when it is not set. Valid until the same thread's next get. Throws on null.
    static const char* get(const char* name);

    /// Throws on a null name or value; a failure of the platform is ignored.
    static void set(const char* name, const char* value);

    static void getCurrentDirectory(std::string& directory);

    /// ".VX-trace" in the user's profile, which the variable USERPROFILE names (on Linux HOME if that is not set).
    /// Throws when that is empty.
    static void getTraceDirectory(std::string& directory);

    /// Directories below the trace directory, created by this call. Nothing of the profile's path is normalised.
    static void getTraceSettingsDirectory(std::string& directory);
    static void getTraceDataDirectory(std::string& directory);

    /// The text before the last of the platform's own separators, empty without one.
    static void getParentDirectory(std::string& parent, const char* path);

    /// Appends the part to the path, with one separator between them, and normalises.
    static void joinPath(std::string& path, const char* part);

    /// Changes all separators to the platform's and removes repeated ones.
    static void normalisePath(std::string& path);

    /// Creates every directory of the path, split where the platform itself splits it (on Linux "\" is an ordinary
    /// character of a name), and otherwise used unchanged. Returns 0 when the last one exists afterwards, otherwise -1.
    static int createDirectories(const char* path);

    /// Creates one directory; true when it exists afterwards.
    static bool makeDirectory(const char* path);

    /// Number of bytes that the caller can write to the directory's volume; false when the directory is missing.
    static bool getFreeSpace(const char* directory, std::uint64_t& bytes);

    /// Mode of startProcess: no console. Any other mode opens a console where the platform has them.
    static constexpr int detachedMode = 1;

    /// Starts a process, which inherits no handles. Returns its id, or 0. A bare name is searched for in the current
    /// directory and along PATH (on Windows also in the system's folders). `arguments` (may be null) is one text; on
    /// Linux it is split at blanks outside double quotes. Ended processes are reaped by later calls of the functions
    /// below. When it throws std::bad_alloc, no process was started.
    static std::uint32_t startProcess(const char* imageName, const char* arguments, int mode);

    /// The first process of that program, or the one with the given id when that is not 0; 0 when there is none. Names
    /// compare without path and extension, ignoring case.
    static std::uint32_t findProcess(const char* imageName, std::uint32_t processId);

    static bool processExists(std::uint32_t processId);

    /// True when the process has certainly ended, and for id 0; false when the system does not report it. Allocates
    /// nothing.
    static bool processHasEnded(std::uint32_t processId) noexcept;

    /// Kills a process; true on success. Blocks for up to a second until a process started here has ended. False for a
    /// process started here that has ended by itself, even if its id is in use again. Allocates nothing.
    static bool terminateProcess(std::uint32_t processId) noexcept;

    static std::uint32_t getCurrentProcessId();

    /// The platform's own separator, as text.
    static const char* separator();

    /// Changes the working directory until the end of a scope.
    class ScopedDirectoryChanger {
    public:
        explicit ScopedDirectoryChanger(const char* directory = nullptr);
        ScopedDirectoryChanger(const ScopedDirectoryChanger&) = delete;
        ScopedDirectoryChanger& operator=(const ScopedDirectoryChanger&) = delete;

        /// Changes back.
        virtual ~ScopedDirectoryChanger();

        /// At most once; null is ignored. Throws source_utilities_error.
        void change(const char* directory);

    private:
        std::string saved;
    };
};

} // namespace VX_QRS
