#pragma once

#include "common/source/source_utilities/SourceLocation.h"
#include "common/source/source_utilities/uFile.h"
#include "common/source/source_utilities/uMutex.h"
#include "rcvr/framework/compiler/Compiler.h"

#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace VX_QRS {

/// One log file, opened at its first line. Thread-safe: lines are written whole and end in exactly one line feed. A line
/// of more than 4096 bytes is cut. Failures to write are ignored.
class uLogger {
public:
    /// Classes of a line, bits of a mask.
    static constexpr std::uint32_t messageClass = 1;  // M
    static constexpr std::uint32_t warningClass = 2;  // W
    static constexpr std::uint32_t functionClass = 4; // F
    static constexpr std::uint32_t reservedClass = 8; // A
    static constexpr std::uint32_t errorClass = 16;   // E

    /// Time between class and message; any other number writes one blank.
    static constexpr int noTime = 0;
    static constexpr int dateOnly = 1;
    static constexpr int timeOnly = 2;
    static constexpr int dateAndTime = 3;

    static constexpr std::size_t lineSize = 4096;

    /// `append` keeps the file's content.
    uLogger(const char* path, bool append);
    uLogger(const uLogger&) = delete;
    uLogger& operator=(const uLogger&) = delete;
    virtual ~uLogger();

    void log(std::uint32_t classes, int timeFormat, const char* format, ...) ORV_PRINTF_CHECKED(4, 5);
    void logArguments(std::uint32_t classes, int timeFormat, const char* format, std::va_list arguments)
        ORV_PRINTF_CHECKED(4, 0);

    /// Returns the old value. Disabling closes the file.
    bool setEnabled(bool enable);

    void setToStdout(bool enable) { toStdout = enable; }
    void setToDebugger(bool enable) { toDebugger = enable; }

    /// A mask of 0 suppresses all lines; any other value none.
    void setClassMask(std::uint32_t mask) { classMask = mask; }

    bool isEnabled() const { return enabled; }
    bool isToStdout() const { return toStdout; }
    bool isToDebugger() const { return toDebugger; }
    const std::string& getPath() const { return path; }

protected:
    /// The other outputs of a line; tests override them.
    virtual void writeToStdout(const char* line);
    virtual void writeToDebugger(const char* line);

private:
    void output(std::size_t length);

    uFile file;
    std::string path;
    std::atomic<bool> enabled{true};
    std::atomic<bool> toStdout{false};
    std::atomic<bool> toDebugger{false};
    bool append;
    bool fileOpen = false;
    uMutex mutex;
    std::unique_ptr<char[]> line;
    std::atomic<std::uint32_t> classMask{31};
};

/// Access to the process's log. Open it while the process has one thread; the rest is thread-safe.
class uLogManager {
public:
    uLogManager() = default;
    uLogManager(const uLogManager&) = delete;
    uLogManager& operator=(const uLogManager&) = delete;
    virtual ~uLogManager() = default;

    /// Opens the log `name` in the directory that the variable `directoryVariable` (may be null) names, with the level
    /// that the variable `levelVariable` names. `shared` reuses a log of that name. False, with no log and no message,
    /// on a null name or level variable, and when the directory is missing or its volume has fewer than 5120000 bytes
    /// free. Level 1 or 2: messages; 3, 4, 5: also texts of errors; 6: also function entries. 2, 4, 5, 6 go to the
    /// standard output as well, 5 and 6 to the debugger too. With any other level the log is disabled.
    bool open(const char* name, const char* levelVariable, const char* directoryVariable, bool shared);

    /// Null until opened.
    uLogger* getLogger() const { return current; }

    /// Lines up to this threshold are logged: 1 messages, 2 texts of errors, 3 function entries.
    int getThreshold() const { return threshold; }

    bool isShared() const { return shared; }
    std::uint32_t getOpenCount() const { return openCount; }

    static constexpr std::uint64_t leastFreeBytes = 5120000;

protected:
    /// Number of bytes that can be written to the directory's volume; false when it is missing.
    virtual bool getFreeSpace(const char* directory, std::uint64_t& bytes) const;

private:
    void setLevel(int level);

    std::atomic<uLogger*> current{nullptr};
    std::atomic<int> threshold{0};
    bool shared = false;
    std::uint32_t openCount = 0;
    std::map<std::string, uLogger*> loggers;     // the shared ones, by name
    std::vector<std::unique_ptr<uLogger>> owned; // all, never freed: another thread may be logging
};

/// The process's manager, made at the first call and never deleted.
uLogManager* getLogManager();

/// All code logs through these helpers. Nothing is formatted below the threshold or without an open log. They do not
/// throw: without memory the line is lost.
void logMessage(const char* format, ...) ORV_PRINTF_CHECKED(1, 2); // class M, threshold 1
void logWarning(const char* format, ...) ORV_PRINTF_CHECKED(1, 2); // class W, threshold 1
void logError(const char* format, ...) ORV_PRINTF_CHECKED(1, 2);   // class E, threshold 1
void logMessageAt(int threshold, const char* format, ...) ORV_PRINTF_CHECKED(2, 3);
void logErrorAt(int threshold, const char* format, ...) ORV_PRINTF_CHECKED(2, 3);

/// The line at the start of a significant function: class F, threshold 3. `unit` is the source unit's name, `function`
/// the full name of the function.
void logEntry(const char* unit, const char* function, const SourceLocation& location = SourceLocation::current());

} // namespace VX_QRS
