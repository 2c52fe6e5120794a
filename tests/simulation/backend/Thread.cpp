#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/backend/Processes.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <optional>
#include <string>

namespace VX_QRS {

using simulation::Condition;
using simulation::Operation;
using simulation::Scheduler;
using simulation::ThreadNumber;
using simulation::Time;

namespace {

constexpr Time microseconds = 1000; // in a millisecond

// Thread numbers as a system gives them: none is 0.
constexpr std::uint32_t firstId = 1000;

Time deadlineIn(std::uint32_t milliseconds) {
    return Scheduler::instance().now() + Time{milliseconds} * microseconds;
}

const Condition ended{
    [](const void* number) { return Scheduler::instance().hasEnded(*static_cast<const ThreadNumber*>(number)); },
    [](const void* number) { return "the end of thread " + std::to_string(*static_cast<const ThreadNumber*>(number)); },
    nullptr};

} // namespace

struct uThread::Native {
    std::optional<ThreadNumber> number; // of the latest start
};

uThread::uThread(uRunnable* body, std::int32_t threadPriority, std::uint32_t bytes)
    : runnable(body), native(std::make_unique<Native>()), priority(threadPriority), stackSize(bytes) {}

uThread::~uThread() = default;

bool uThread::start() {
    Scheduler& scheduler = Scheduler::instance();
    scheduler.point({Operation::start, "uThread::start"});
    if (native->number.has_value() && !scheduler.hasEnded(*native->number)) {
        return false;
    }
    if (simulation::Faults::instance().fails(simulation::Fault::threadStart)) {
        return false;
    }
    native->number = scheduler.start([body = runnable] {
        Scheduler::instance().point({Operation::begin, "thread"});
        if (body != nullptr) {
            body->run();
        }
    });
    scheduler.point({Operation::start, "uThread::start done"});
    return true;
}

bool uThread::wait(std::uint32_t milliseconds) {
    Scheduler& scheduler = Scheduler::instance();
    if (!native->number.has_value() || isCurrent()) {
        return false;
    }
    Condition condition = ended;
    const ThreadNumber number = *native->number; // the object may be gone when a waiter is asked again
    condition.context = &number;
    const Time deadline = milliseconds == unlimited ? simulation::never : deadlineIn(milliseconds);
    const bool hasEnded = scheduler.wait({Operation::wait, "uThread::wait"}, condition, deadline);
    if (hasEnded) {
        scheduler.noteEnd(number);
    }
    return hasEnded;
}

bool uThread::isCurrent() const {
    const Scheduler& scheduler = Scheduler::instance();
    return native->number.has_value() && Scheduler::isSimulated() && scheduler.self() == *native->number;
}

std::uint32_t uThread::threadId() const {
    return native->number.has_value() ? firstId + *native->number : 0;
}

void uThread::sleep(std::uint32_t milliseconds) {
    // The end of a process wakes its thread.
    const simulation::ProcessNumber process = simulation::currentProcess();
    const Condition processEnded{[](const void* number) {
                                     return simulation::isProcessEnded(
                                         *static_cast<const simulation::ProcessNumber*>(number));
                                 },
                                 [](const void*) { return std::string("its time"); }, &process};
    Scheduler::instance().wait({Operation::sleep, "sleep"}, processEnded, deadlineIn(milliseconds));
    simulation::leaveEndedProcess();
}

} // namespace VX_QRS
