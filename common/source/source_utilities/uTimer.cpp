#include "common/source/source_utilities/uTimer.h"

#include "common/source/source_utilities/source_utilities_error.h"

#include <algorithm>
#include <new>

namespace VX_QRS {

namespace {

// Milliseconds, truncated and limited to what sleep accepts; a negative time is 0.
std::uint32_t wholeMilliseconds(double seconds) {
    constexpr double longest = 0xFFFFFFFE; // one more means no limit
    return seconds > 0 ? static_cast<std::uint32_t>(std::min(seconds * 1000.0, longest)) : 0;
}

// A longer sleep is cut into slices, so that a stop need not wait for its end.
constexpr std::uint32_t longestWholeSleep = 100; // milliseconds
constexpr std::uint32_t slice = 20;              // milliseconds

} // namespace

uTimer::uTimer() {
    try {
        thread = std::make_unique<uThread>(this);
    } catch (const std::bad_alloc&) {
        throw source_utilities_error("uTimer failed to allocate its thread");
    }
}

uTimer::~uTimer() {
    uTimer::stop();
}

void uTimer::setPollingInterval(double seconds) {
    if (!stopFlag) {
        throw source_utilities_error("uTimer cannot change polling interval while running");
    }
    thread->wait(); // a thread that has ended the timer may still be running
    pollingInterval = seconds;
}

void uTimer::registerCallable(Callable* callable, double delay, std::uint32_t repeats) {
    if (!stopFlag) {
        throw source_utilities_error("uTimer cannot register while running");
    }
    if (callable == nullptr) {
        throw source_utilities_error("uTimer cannot register a null callable");
    }
    if (delay < 0) {
        throw source_utilities_error("uTimer cannot register a negative delay");
    }
    thread->wait();
    entries.push_back({callable, delay, repeats, 0, 0.0});
}

std::size_t uTimer::size() const {
    return entries.size();
}

bool uTimer::start() {
    if (!stopFlag || thread->isCurrent()) {
        return false;
    }
    // A run sets the flag last; that must not end the next run.
    thread->wait();
    stopFlag = false;
    const bool started = thread->start();
    if (!started) {
        stopFlag = true;
    }
    return started;
}

void uTimer::stop() {
    stopFlag = true;
    thread->wait();
    entries.clear();
}

void uTimer::wait() {
    thread->wait();
}

void uTimer::run() {
    stopwatch.mark();
    const std::uint32_t pause = wholeMilliseconds(pollingInterval);
    while (!stopFlag) {
        sleepUnlessStopped(pause);
        const double seconds = stopwatch.elapsed();
        stopwatch.mark();
        if (!fireDueEntries(seconds)) {
            stopFlag = true;
        }
    }
}

// Each slice may last up to one tick of the system clock longer, so a stopwatch ends the sleep on time; without a
// counter the slices are added up.
void uTimer::sleepUnlessStopped(std::uint32_t milliseconds) const {
    if (milliseconds <= longestWholeSleep) {
        uThread::sleep(milliseconds);
        return;
    }
    const uStopwatch watch;
    for (std::uint64_t passed = 0; passed < milliseconds && !stopFlag;) {
        const auto pause = static_cast<std::uint32_t>(std::min<std::uint64_t>(slice, milliseconds - passed));
        uThread::sleep(pause);
        passed = std::max<std::uint64_t>(passed + pause, wholeMilliseconds(watch.elapsed()));
    }
}

// False when no entry had firings left.
bool uTimer::fireDueEntries(double seconds) {
    bool anyActive = false;
    // By index: a callable may stop the timer, which empties the list.
    for (std::size_t i = 0; i < entries.size(); ++i) {
        Entry& entry = entries[i];
        if (entry.fired >= entry.repeats) {
            continue;
        }
        anyActive = true;
        entry.elapsed += seconds;
        if (entry.elapsed > entry.delay) {
            ++entry.fired;
            entry.elapsed = 0.0;
            entry.callable->call();
        }
    }
    return anyActive;
}

} // namespace VX_QRS
