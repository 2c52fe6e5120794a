#include "common/source/source_utilities/source_utilities_error.h"
#include "common/source/source_utilities/uThread.h"
#include "common/source/source_utilities/uTimer.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/scenarios/utilities/Operations.h"
#include "tests/simulation/scenarios/utilities/UtilityLists.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <memory>

namespace simulation {

namespace {

using VX_QRS::uThread;
using VX_QRS::uTimer;

/// Counts its calls; none may come when it is closed.
class Counter final : public uTimer::Callable {
public:
    void call() override {
        const Quiet quiet;
        expect(!isClosed, "called too late", "after the end of the timer");
        Scheduler::instance().point({Operation::request, "callable"});
        ++calls;
        if (stopped != nullptr) {
            const ProductCall inside;
            stopped->stop();
        }
        expect(!isClosed, "called too late", "the timer did not wait for the callable");
    }

    std::uint32_t calls = 0;
    bool isClosed = false;
    uTimer* stopped = nullptr; ///< by a call
};

/// A timer with its entries, as the owning thread uses it.
class Rig {
public:
    Rig() {
        try {
            product([&] { timer = std::make_unique<uTimer>(); });
        } catch (const VX_QRS::source_utilities_error& e) {
            expect(Faults::instance().haveFailed(), "no timer", e.what());
        }
    }

    bool prepare(Counter& counter, double delay, std::uint32_t repeats) {
        return timer != nullptr && product([&] {
                   timer->setPollingInterval(0.005 + 0.15 * drawBelow(2));
                   timer->registerCallable(&counter, delay, repeats);
               });
    }

    bool start() {
        bool started = false;
        product([&] { started = timer->start(); });
        expect(started || Faults::instance().haveFailed(), "no start", "of a timer that does not run");
        return started;
    }

    std::unique_ptr<uTimer> timer;
};

/// The owner stops at any time: no call comes afterwards, and the next start begins anew.
void stopWhileFiring() {
    Counter counter;
    Rig rig;
    for (int life = 0; life < 3; ++life) {
        if (!rig.prepare(counter, 0.0, 3)) {
            return;
        }
        counter.isClosed = false;
        counter.calls = 0;
        rig.start();
        uThread::sleep(drawBelow(400));
        rig.timer->stop();
        counter.isClosed = true;
        expect(counter.calls <= 3, "called too often", std::to_string(counter.calls));
        expect(rig.timer->size() == 0, "entries left", "by a stop");
    }
}

/// The timer is destroyed while it runs.
void destroyedWhileFiring() {
    Counter counter;
    Rig rig;
    if (rig.prepare(counter, 0.0, 2)) {
        rig.start();
        uThread::sleep(drawBelow(20));
    }
    rig.timer.reset();
    counter.isClosed = true;
}

/// A timer that ended by itself is started again at once; its second run fires as often as registered.
void startedAgainAtItsEnd() {
    Counter first;
    Counter second;
    Rig rig;
    if (!rig.prepare(first, 0.0, 2) || !rig.start()) {
        return;
    }
    while (first.calls < 2) {
        uThread::sleep(1);
    }
    bool refused = true;
    while (refused && !Faults::instance().haveFailed()) {
        try {
            product([&] { rig.timer->registerCallable(&second, 0.0, 2); });
            refused = false;
        } catch (const VX_QRS::source_utilities_error&) {
            uThread::sleep(1); // it still runs
        }
    }
    if (refused || rig.timer->size() != 2 || !rig.start()) {
        return;
    }
    rig.timer->wait();
    expect(second.calls == 2 && first.calls == 2, "not called", std::to_string(second.calls) + " calls");
}

/// A callable stops its own timer, which ends without a deadlock and may be started again.
void stoppedByItsCallable() {
    Counter counter;
    Rig rig;
    if (rig.timer == nullptr || !rig.prepare(counter, 0.0, 5)) {
        return;
    }
    counter.stopped = rig.timer.get();
    if (!rig.start()) {
        return;
    }
    rig.timer->wait();
    expect(counter.calls == 1, "called again", "after its stop");
    counter.stopped = nullptr;
    if (rig.prepare(counter, 0.0, 2) && rig.start()) {
        rig.timer->wait();
        expect(counter.calls == 3, "not called", std::to_string(counter.calls - 1) + " calls");
    }
}

} // namespace

std::vector<Scenario> timerScenarios() {
    return {
        {"utilities.timer.stopWhileFiring", stopWhileFiring},
        {"utilities.timer.destroyedWhileFiring", destroyedWhileFiring},
        {"utilities.timer.startedAgainAtItsEnd", startedAgainAtItsEnd},
        {"utilities.timer.stoppedByItsCallable", stoppedByItsCallable},
    };
}

} // namespace simulation
