#pragma once

#include "common/source/source_utilities/source_utilities_error.h"

#include <cstdint>
#include <string>

namespace VX_QRS {

// The process's environment, per-user directories, paths and processes. Failures are source_utilities_error. Any
// thread may call; what changes the working directory changes it for the whole process.
//
// Paths: joinPath and normalisePath read both "\" and "/" as separators and write the platform's own.
class uEnvironment {
public:
    // The value of a variable, empty when it is not set. Good until the same thread's next get. Throws on null.
    static const char* get(const char* name);

    // Throws on a null name or value; a refusal by the platform is ignored.
    static void set(const char* name, const char* value);

    static void getCurrentDirectory(std::string& directory);

    // ".VX-trace" in the user's profile, which the variable USERPROFILE names (on Linux HOME stands in for it).
    // Throws when that is empty.
    static void getTraceDirectory(std::string& directory);

    // Directories below the trace directory, created by this call. Nothing of the profile's path is normalised.
    static void getTraceSettingsDirectory(std::string& directory);
    static void getTraceDataDirectory(std::string& directory);

    // The text before the last of the platform's own separators, empty without one.
    static void getParentDirectory(std::string& parent, const char* path);

    // Puts the part behind the path with one separator between them, and normalises.
    static void joinPath(std::string& path, const char* part);

    // Only the platform's separators, and never two in a row.
    static void normalisePath(std::string& path);

    // Creates every directory of the path, split where the platform itself splits it (on Linux "\" is an ordinary
    // character of a name), and otherwise used unchanged. -1 when the last one is not there in the end, otherwise 0.
    static int createDirectories(const char* path);

    // Creates one directory; true when it is there in the end.
    static bool makeDirectory(const char* path);

    // Bytes that the caller may still write to the directory's volume; false when the directory is not there.
    static bool getFreeSpace(const char* directory, std::uint64_t& bytes);

    // Mode of startProcess: no console. Any other mode gets a console of its own where the platform has such.
    static constexpr int detachedMode = 1;

    // Starts a process without handles of this one; its id, or 0. A bare name is looked for in the current directory
    // and along PATH (on Windows also in the platform's own places). `arguments` (may be null) is one text; on Linux
    // it is split at blanks, and double quotes hold a part together. Ended processes are reaped by later calls of the
    // operations below. When it throws std::bad_alloc, no process was started.
    static std::uint32_t startProcess(const char* imageName, const char* arguments, int mode);

    // The first process of that program, or the one with the given id when that is not 0; 0 when there is none. Names
    // compare without path and extension, and without regard to case.
    static std::uint32_t findProcess(const char* imageName, std::uint32_t processId);

    static bool processExists(std::uint32_t processId);

    // Whether the process has ended for certain: false also when the system does not tell. True for 0, which is none.
    // Works without memory.
    static bool processHasEnded(std::uint32_t processId) noexcept;

    // Ends a process at once, without its help; true when that succeeded. Waits up to a second for the end of one that
    // was started here. False for one of those that has ended by itself, whatever process has its id by now. Works
    // without memory.
    static bool terminateProcess(std::uint32_t processId) noexcept;

    static std::uint32_t getCurrentProcessId();

    // The platform's own separator, as text.
    static const char* separator();

    // Changes the working directory until the end of a scope.
    class ScopedDirectoryChanger {
    public:
        explicit ScopedDirectoryChanger(const char* directory = nullptr);
        ScopedDirectoryChanger(const ScopedDirectoryChanger&) = delete;
        ScopedDirectoryChanger& operator=(const ScopedDirectoryChanger&) = delete;

        // Changes back.
        virtual ~ScopedDirectoryChanger();

        // Once only; null does nothing. Throws source_utilities_error.
        void change(const char* directory);

    private:
        std::string saved;
    };
};

} // namespace VX_QRS
