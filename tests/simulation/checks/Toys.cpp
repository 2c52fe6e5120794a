#include "tests/simulation/checks/Toys.h"

#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/backend/SimulatedLock.h"
#include "tests/simulation/scenarios/Scenario.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <cstdio>

namespace simulation {

namespace {

using VX_QRS::uThread;

void step() {
    Scheduler::instance().point({Operation::request, "step"});
}

void take(SimulatedLock& first, SimulatedLock& second) {
    first.enter();
    second.enter();
    second.leave();
    first.leave();
}

void correct() {
    SimulatedLock lock;
    int count = 0;
    const auto add = [&] {
        const ProductCall product;
        for (int i = 0; i < 10; ++i) {
            lock.enter();
            const int before = count;
            step();
            count = before + 1;
            lock.leave();
        }
    };
    {
        SideThread other(add);
        add();
    }
    expect(count == 20, "lost count", std::to_string(count));
}

void lockOrder() {
    SimulatedLock a;
    SimulatedLock b;
    SideThread([&] { take(a, b); }).join();
    SideThread([&] { take(b, a); }).join();
}

void deadlock() {
    SimulatedLock a;
    SideThread other([&] {
        a.enter();
        a.leave();
    });
    a.enter();
    other.join();
    a.leave();
}

void endless() {
    for (;;) {
        uThread::sleep(10);
    }
}

void window() {
    bool isOpen = true;
    SideThread other([&] {
        for (int i = 0; i < 20; ++i) {
            step();
        }
        isOpen = false;
        step();
        isOpen = true;
    });
    for (int i = 0; i < 5; ++i) {
        step();
    }
    expect(isOpen, "window", "came in between");
}

void slow() {
    bool isDone = false;
    SideThread other([&] {
        for (int i = 0; i < 5; ++i) {
            step();
        }
        isDone = true;
    });
    uThread::sleep(10);
    expect(isDone, "slow", "not done after 10 ms");
}

void race() {
    int count = 0;
    const auto add = [&] {
        const ProductCall product;
        step();
        ++count;
    };
    SideThread other(add);
    add();
    other.join();
    expect(count == 2, "lost count", std::to_string(count));
}

void writes() {
    const ProductCall product;
    std::FILE* file = std::fopen("/dev/null", "wb");
    if (file == nullptr) {
        return;
    }
    const char byte = 0;
    std::fwrite(&byte, 1, 1, file);
    const bool isWritten = std::fwrite(&byte, 1, 1, file) == 1;
    std::fclose(file);
    expect(isWritten, "not written", "the second byte");
}

} // namespace

void addToys() {
    static const bool added = [] {
        addScenario({"toy.correct", correct});
        addScenario({"toy.lockOrder", lockOrder});
        addScenario({"toy.deadlock", deadlock});
        addScenario({"toy.endless", endless});
        addScenario({"toy.window", window});
        addScenario({"toy.slow", slow});
        addScenario({"toy.race", race});
        addScenario({"toy.writes", writes});
        return true;
    }();
    static_cast<void>(added);
}

} // namespace simulation
