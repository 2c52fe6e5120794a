#include "common/source/source_utilities/uLog.h"

#include "common/source/source_utilities/DebugOutput.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uTime.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace VX_QRS {

namespace {

const char* timeText(int timeFormat) {
    switch (timeFormat) {
    case uLogger::dateOnly:
        return "%m/%d/%y | ";
    case uLogger::timeOnly:
        return "%H:%M:%S:%s | ";
    case uLogger::dateAndTime:
        return "%m/%d/%y %H:%M:%S:%s | ";
    default:
        return " ";
    }
}

bool isLineEnd(char c) {
    return c == '\n' || c == '\r';
}

} // namespace

uLogger::uLogger(const char* filePath, bool appending)
    : path(filePath), append(appending), line(std::make_unique<char[]>(lineSize)) {}

uLogger::~uLogger() = default;

void uLogger::log(std::uint32_t classes, int timeFormat, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    logArguments(classes, timeFormat, format, arguments);
    va_end(arguments);
}

void uLogger::logArguments(std::uint32_t classes, int timeFormat, const char* format, std::va_list arguments) {
    if (!enabled || classes == 0 || classMask == 0) {
        return;
    }
    const uMutexLock lock(mutex);
    constexpr std::array<char, 5> letters{'M', 'W', 'F', 'A', 'E'};
    std::size_t length = 0;
    for (std::size_t bit = 0; bit < letters.size(); ++bit) {
        line[length++] = (classes >> bit & 1U) != 0 ? letters[bit] : ' ';
    }
    line[length++] = ' ';
    const uTime now;
    now.format(&line[length], static_cast<int>(lineSize - length), timeText(timeFormat));
    length += std::char_traits<char>::length(&line[length]);
    // One character is reserved for the line feed that a cut message loses.
    const std::size_t space = lineSize - length - 1;
    const int wanted = std::vsnprintf(&line[length], space, format, arguments);
    length += std::min(static_cast<std::size_t>(std::max(wanted, 0)), space - 1);
    output(length);
}

void uLogger::output(std::size_t length) {
    if (!enabled) { // disabled while this line waited for the lock
        return;
    }
    if (!fileOpen) {
        fileOpen = file.open(path.c_str(), append ? "a+" : "w+");
    }
    if (length > 0 && isLineEnd(line[length - 1])) {
        --length;
        if (length > 0 && isLineEnd(line[length - 1]) && line[length - 1] != line[length]) {
            --length;
        }
    }
    line[length++] = '\n';
    line[length] = '\0';
    if (fileOpen) {
        file.write(line.get(), length);
        file.flush();
    }
    if (toStdout) {
        writeToStdout(line.get());
    }
    if (toDebugger) {
        writeToDebugger(line.get());
    }
}

void uLogger::writeToStdout(const char* text) {
    std::printf("%s", text);
    std::fflush(stdout);
}

void uLogger::writeToDebugger(const char* text) {
    debugOutput(text);
}

bool uLogger::setEnabled(bool enable) {
    const uMutexLock lock(mutex);
    const bool before = enabled.exchange(enable);
    if (!enable) {
        file.close();
        fileOpen = false;
    }
    return before;
}

bool uLogManager::open(const char* name, const char* levelVariable, const char* directoryVariable, bool isSharedOpen) {
    if (name == nullptr || levelVariable == nullptr) {
        return false;
    }
    shared = isSharedOpen;
    if (shared) {
        const auto known = loggers.find(name);
        if (known != loggers.end()) {
            current = known->second;
            return true;
        }
    }
    const std::string directory = directoryVariable != nullptr ? uEnvironment::get(directoryVariable) : "";
    const std::string path = directory.empty() ? std::string(name) : directory + uEnvironment::separator() + name;
    std::uint64_t freeBytes = 0;
    if (!getFreeSpace(directory.empty() ? "." : directory.c_str(), freeBytes) || freeBytes < leastFreeBytes) {
        return false;
    }
    if (!directory.empty()) {
        uEnvironment::makeDirectory(directory.c_str());
    }
    const int level = std::atoi(uEnvironment::get(levelVariable));

    constexpr bool append = true;
    owned.push_back(std::make_unique<uLogger>(path.c_str(), append));
    current = owned.back().get();
    if (shared) {
        loggers.emplace(name, current);
    }
    ++openCount;
    setLevel(level);

    std::string settingsDirectory;
    std::string dataDirectory;
    try {
        uEnvironment::getTraceSettingsDirectory(settingsDirectory);
        uEnvironment::getTraceDataDirectory(dataDirectory);
    } catch (const source_utilities_error&) {
        // Without a user's profile the two directories are empty; the log does not depend on them.
    }
    uLogger* logger = current;
    logger->log(uLogger::messageClass, uLogger::timeOnly, "Logger : trace user settings directory is %s",
                settingsDirectory.c_str());
    logger->log(uLogger::messageClass, uLogger::timeOnly, "Logger : trace temporary data directory is %s",
                dataDirectory.c_str());
    return true;
}

bool uLogManager::getFreeSpace(const char* directory, std::uint64_t& bytes) const {
    return uEnvironment::getFreeSpace(directory, bytes);
}

void uLogManager::setLevel(int level) {
    struct Level {
        bool toStdout;
        bool toDebugger;
        int threshold;
    };
    constexpr std::array<Level, 6> levels{{{.toStdout = false, .toDebugger = false, .threshold = 1},
                                           {.toStdout = true, .toDebugger = false, .threshold = 1},
                                           {.toStdout = false, .toDebugger = false, .threshold = 2},
                                           {.toStdout = true, .toDebugger = false, .threshold = 2},
                                           {.toStdout = true, .toDebugger = true, .threshold = 2},
                                           {.toStdout = true, .toDebugger = true, .threshold = 3}}};
    uLogger* logger = current;
    if (level < 1 || level > static_cast<int>(levels.size())) {
        logger->setEnabled(false);
        threshold = level;
        return;
    }
    const Level& chosen = levels[static_cast<std::size_t>(level - 1)];
    logger->setToStdout(chosen.toStdout);
    logger->setToDebugger(chosen.toDebugger);
    threshold = chosen.threshold;
}

uLogManager* getLogManager() {
    static auto* const manager = new uLogManager;
    return manager;
}

namespace {

// Null when lines of this threshold are not logged.
uLogger* loggerAt(int threshold) {
    const uLogManager* manager = getLogManager();
    return manager->getThreshold() >= threshold ? manager->getLogger() : nullptr;
}

void logLine(int threshold, std::uint32_t classes, const char* format, std::va_list arguments) ORV_PRINTF_CHECKED(3, 0);

// Without memory the line is lost: logging must not fail the operation that logs.
void logLine(int threshold, std::uint32_t classes, const char* format, std::va_list arguments) {
    try {
        if (uLogger* logger = loggerAt(threshold)) {
            logger->logArguments(classes, uLogger::timeOnly, format, arguments);
        }
    } catch (const std::exception&) {
    }
}

} // namespace

void logMessage(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    logLine(1, uLogger::messageClass, format, arguments);
    va_end(arguments);
}

void logWarning(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    logLine(1, uLogger::warningClass, format, arguments);
    va_end(arguments);
}

void logError(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    logLine(1, uLogger::errorClass, format, arguments);
    va_end(arguments);
}

void logMessageAt(int threshold, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    logLine(threshold, uLogger::messageClass, format, arguments);
    va_end(arguments);
}

void logErrorAt(int threshold, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    logLine(threshold, uLogger::errorClass, format, arguments);
    va_end(arguments);
}

void logEntry(const char* unit, const char* function, const SourceLocation& location) {
    try {
        if (uLogger* logger = loggerAt(3)) {
            logger->log(uLogger::functionClass, uLogger::noTime, "%s #%d  %s(...)\n", unit,
                        static_cast<int>(location.line()), function);
        }
    } catch (const std::exception&) {
        // Lost, as in logLine.
    }
}

} // namespace VX_QRS
