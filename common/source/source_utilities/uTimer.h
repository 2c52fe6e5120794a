#pragma once

#include "common/source/source_utilities/uRunnable.h"
#include "common/source/source_utilities/uStopwatch.h"
#include "common/source/source_utilities/uThread.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace VX_QRS {

/// Calls registered callables from a thread of its own, in the order of registration. The thread polls: a callable is
/// late by up to one polling interval and delays those after it. The timer ends by itself when no entry has firings
/// left, and an empty timer after its first interval.
///
/// Use from one owning thread, with two exceptions: size(), and stop() from a callable. On the timer's own thread
/// stop(), wait() and start() do not wait for the end of that thread, which would never come: stop() ends the timer
/// after the callable that calls it, wait() returns at once, start() returns false. A callable must not delete its
/// timer. A callable must not throw: nothing catches it.
class uTimer : public uRunnable {
public:
    /// Callback of a timer, which does not own it.
    class Callable {
    public:
        virtual void call() = 0;

    protected:
        ~Callable() = default;
    };

    uTimer();
    uTimer(const uTimer&) = delete;
    uTimer& operator=(const uTimer&) = delete;

    /// Stops and joins the thread.
    ~uTimer() override;

    /// The thread's body.
    void run() override;

    /// Seconds, 0.1 by default; truncated to whole milliseconds. Throws source_utilities_error while running.
    virtual void setPollingInterval(double seconds);

    /// The callable fires `repeats` times, each time after more than `delay` seconds; with 0 repeats never. Throws
    /// source_utilities_error while running, and on a null callable or a negative delay.
    virtual void registerCallable(Callable* callable, double delay, std::uint32_t repeats);

    /// Number of entries.
    virtual std::size_t size() const;

    /// True when the thread was started; false when the timer is running already.
    virtual bool start();

    /// Ends the thread and removes the entries. Blocks for up to a tenth of a second and one round of callables.
    virtual void stop();

    /// Waits indefinitely for the timer to end by itself.
    virtual void wait();

private:
    struct Entry {
        Callable* callable;
        double delay; // seconds
        std::uint32_t repeats;
        std::uint32_t fired;
        double elapsed; // seconds
    };

    void sleepUnlessStopped(std::uint32_t milliseconds) const;
    bool fireDueEntries(double seconds);

    std::vector<Entry> entries;
    double pollingInterval = 0.1; // seconds
    std::unique_ptr<uThread> thread;
    std::atomic<bool> stopFlag{true};
    uStopwatch stopwatch;
};

} // namespace VX_QRS
