#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/scenarios/ScratchFolder.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/utilities/Operations.h"
#include "tests/simulation/scenarios/utilities/UtilityLists.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <string>

namespace simulation {

namespace {

using VX_QRS::uLogger;
using VX_QRS::uLogManager;
using VX_QRS::uThread;

constexpr int linesOfAThread = 5;

/// A logger that the product makes and destroys, or none without memory.
class Log {
public:
    Log(const std::string& path, bool append) {
        product([&] { logger = std::make_unique<uLogger>(path.c_str(), append); });
    }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;
    ~Log() {
        product([&] { logger.reset(); });
    }

    explicit operator bool() const { return logger != nullptr; }
    uLogger& operator*() { return *logger; }

private:
    std::unique_ptr<uLogger> logger;
};

bool setEnabled(uLogger& logger, bool enable) {
    bool before = false;
    product([&] { before = logger.setEnabled(enable); });
    return before;
}

void logLines(uLogger& logger, int writer) {
    for (int i = 0; i < linesOfAThread; ++i) {
        // With and without a line end, which come out alike.
        product([&] {
            logger.log(uLogger::messageClass, uLogger::timeOnly, i % 2 == 0 ? "from %d: %d" : "from %d: %d\r\n", writer,
                       i);
        });
        if (drawBelow(4) == 0) {
            uThread::sleep(1);
        }
    }
}

/// Lines are whole and, by thread, in order; how many there are by thread.
std::map<int, int> judgeLines(const std::string& content) {
    std::map<int, int> latest;
    std::map<int, int> count;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);) {
        int writer = 0;
        int number = 0;
        char rest = 0;
        const std::size_t text = line.find("from");
        const bool isWhole = line.starts_with("M     12:00:0") && text != std::string::npos &&
                             std::sscanf(line.c_str() + text, "from %d: %d%c", &writer, &number, &rest) == 2;
        expect(isWhole, "broken line", line);
        expect(!latest.contains(writer) || latest[writer] < number, "lines out of order", line);
        latest[writer] = number;
        ++count[writer];
    }
    return count;
}

/// Three threads write into one log; all lines are in it.
void linesFromThreads() {
    const ScratchFolder folder;
    Log log(folder.path("log.txt"), drawBelow(2) == 0);
    if (!log) {
        return;
    }
    uLogger& logger = *log;
    {
        SideThread first([&] { logLines(logger, 1); });
        SideThread second([&] { logLines(logger, 2); });
        logLines(logger, 3);
    }
    if (!Faults::instance().haveFailed()) {
        const std::map<int, int> count = judgeLines(folder.read("log.txt"));
        expect(count == std::map<int, int>{{1, linesOfAThread}, {2, linesOfAThread}, {3, linesOfAThread}}, "lost lines",
               "of a log that was always enabled");
    }
}

/// The log is disabled and enabled while threads write: its file is closed and opened again.
void disabledWhileWriting() {
    const ScratchFolder folder;
    Log log(folder.path("log.txt"), true);
    if (!log) {
        return;
    }
    uLogger& logger = *log;
    {
        SideThread first([&] { logLines(logger, 1); });
        SideThread second([&] { logLines(logger, 2); });
        for (int i = 0; i < 3; ++i) {
            expect(setEnabled(logger, false), "log disabled", "by no call");
            uThread::sleep(drawBelow(3));
            expect(!setEnabled(logger, true), "log enabled", "by no call");
            logger.setClassMask(i % 2 == 0 ? 0 : 31);
        }
        logger.setClassMask(31);
    }
    logLines(logger, 3);
    if (!Faults::instance().haveFailed()) {
        expect(judgeLines(folder.read("log.txt"))[3] == linesOfAThread, "lost lines", "after the log was enabled");
    }
}

/// The file is renamed while threads write. Lines go into the old file until the log is disabled once.
void fileRenamedWhileWriting() {
    const ScratchFolder folder;
    Log log(folder.path("log.txt"), true);
    if (!log) {
        return;
    }
    uLogger& logger = *log;
    std::string before;
    {
        SideThread first([&] { logLines(logger, 1); });
        logLines(logger, 2);
        std::error_code ignored;
        std::filesystem::rename(folder.path("log.txt"), folder.path("old.txt"), ignored);
        setEnabled(logger, false);
        before = folder.read("old.txt");
        setEnabled(logger, true);
        logLines(logger, 3);
    }
    if (!Faults::instance().haveFailed()) {
        expect(before == folder.read("old.txt"), "written after the end", folder.read("old.txt"));
        const std::map<int, int> count = judgeLines(before + folder.read("log.txt"));
        expect(count.at(2) == linesOfAThread && count.at(3) == linesOfAThread, "lost lines", "of a renamed file");
    }
}

/// A manager opens one shared log twice and another one; threads write into all of them afterwards.
void managerWithSharedLogs() {
    const ScratchFolder folder;
    VX_QRS::uEnvironment::set("SIMULATED_LOG_LEVEL", "1");
    VX_QRS::uEnvironment::set("USERPROFILE", folder.path("").c_str());
    std::unique_ptr<uLogManager> manager = std::make_unique<uLogManager>();
    const auto open = [&](const char* name) {
        bool opened = false;
        return product(
                   [&] { opened = manager->open(folder.path(name).c_str(), "SIMULATED_LOG_LEVEL", nullptr, true); }) &&
               opened;
    };
    if (open("first.txt")) {
        uLogger* first = manager->getLogger();
        const bool both = open("second.txt");
        uLogger* second = manager->getLogger();
        {
            SideThread writer([&] { logLines(*first, 1); });
            logLines(*second, 2);
        }
        if (both && open("first.txt")) {
            expect(manager->getLogger() == first && first != second, "wrong log", "of a name that is open");
            expect(manager->getOpenCount() == 2, "wrong count", std::to_string(manager->getOpenCount()));
        }
    } else {
        expect(Faults::instance().haveFailed(), "no log", "without a fault");
    }
    product([&] { manager.reset(); });
}

} // namespace

std::vector<Scenario> logScenarios() {
    return {
        {"utilities.log.linesFromThreads", linesFromThreads},
        {"utilities.log.disabledWhileWriting", disabledWhileWriting},
        {"utilities.log.fileRenamedWhileWriting", fileRenamedWhileWriting},
        {"utilities.log.managerWithSharedLogs", managerWithSharedLogs},
    };
}

} // namespace simulation
