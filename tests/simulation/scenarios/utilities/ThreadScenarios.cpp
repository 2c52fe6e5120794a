#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uMutex.h"
#include "common/source/source_utilities/uRunnable.h"
#include "common/source/source_utilities/uStopwatch.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/utilities/Operations.h"
#include "tests/simulation/scenarios/utilities/UtilityLists.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <cstring>
#include <string>

namespace simulation {

namespace {

using VX_QRS::uEnvironment;
using VX_QRS::uMutex;
using VX_QRS::uMutexLock;
using VX_QRS::uThread;

/// Three threads take a lock recursively; one is inside at a time, and each knows its own levels only.
void recursiveLock() {
    uMutex mutex;
    int inside = 0;
    const auto use = [&] {
        for (int i = 0; i < 3; ++i) {
            expect(mutex.levels() == 0 && !mutex.unlock(), "foreign lock",
                   "given back by a thread that does not hold it");
            const uMutexLock outer(mutex);
            expect(inside == 0, "two threads", "inside a lock");
            ++inside;
            {
                const uMutexLock inner(mutex);
                expect(mutex.levels() == 2, "wrong levels", std::to_string(mutex.levels()));
                Scheduler::instance().point({Operation::request, "inside"});
            }
            expect(mutex.levels() == 1, "wrong levels", std::to_string(mutex.levels()));
            --inside;
        }
    };
    SideThread first(use);
    SideThread second(use);
    use();
}

class Runs final : public VX_QRS::uRunnable {
public:
    void run() override {
        const Quiet quiet;
        expect(thread->isCurrent(), "wrong thread", "inside run");
        uThread::sleep(drawBelow(8));
        ++runs;
    }

    int runs = 0;
    uThread* thread = nullptr;
};

/// A thread is started again as soon as it has ended; two threads wait for it with and without a limit.
void startedAgain() {
    Runs runs;
    uThread thread(&runs);
    runs.thread = &thread;
    int started = 0;
    for (int life = 0; life < 3; ++life) {
        if (!thread.start()) {
            expect(Faults::instance().haveFailed(), "no start", "of a thread that has ended");
            return;
        }
        ++started;
        expect(thread.threadId() != 0 && !thread.isCurrent(), "wrong thread", "outside");
        SideThread waiter([&] { expect(thread.wait(), "no end", "of a wait without a limit"); });
        while (!thread.wait(drawBelow(5))) {
        }
        expect(runs.runs == started, "end before the end", "seen by a wait");
    }
}

/// What a thread reads of the environment stays until it reads again, whatever others read and set.
void textsOfTheEnvironment() {
    const auto use = [](const char* name, const char* value) {
        uEnvironment::get(name); // keeps a text for each thread of the process
        for (int i = 0; i < 3; ++i) {
            product([&] {
                uEnvironment::set(name, value);
                const char* text = uEnvironment::get(name);
                uEnvironment::set("SIMULATED_OTHER", value);
                expect(std::strcmp(text, value) == 0, "wrong text", text);
            });
        }
    };
    SideThread first([&] { use("SIMULATED_FIRST", "one"); });
    SideThread second([&] { use("SIMULATED_SECOND", "two"); });
    use("SIMULATED_THIRD", "three");
}

/// Sleeps last at least their time by the stopwatch, which never goes back.
void sleepsByTheStopwatch() {
    const auto use = [] {
        VX_QRS::uStopwatch watch;
        double latest = 0.0;
        for (int i = 0; i < 4; ++i) {
            const std::uint32_t milliseconds = drawBelow(50);
            uThread::sleep(milliseconds);
            const double now = watch.elapsed();
            expect(now + 1e-9 >= latest + 0.001 * milliseconds, "short sleep", std::to_string(now - latest));
            latest = now;
        }
    };
    SideThread other(use);
    use();
}

} // namespace

std::vector<Scenario> threadScenarios() {
    return {
        {"utilities.thread.recursiveLock", recursiveLock},
        {"utilities.thread.startedAgain", startedAgain},
        {"utilities.thread.textsOfTheEnvironment", textsOfTheEnvironment},
        {"utilities.thread.sleepsByTheStopwatch", sleepsByTheStopwatch},
    };
}

} // namespace simulation
