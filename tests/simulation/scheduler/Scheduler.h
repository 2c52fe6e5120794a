#pragma once

#include "tests/simulation/scheduler/Gate.h"
#include "tests/simulation/scheduler/Strategy.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace simulation {

constexpr Time never = UINT64_MAX;

/// A choice point: what the thread is about to do.
struct Place {
    Operation operation = Operation::begin;
    const char* what = ""; ///< a literal: the call, as a report shows it
};

/// A rule that a schedule broke.
struct Finding {
    std::string rule; ///< as in "deadlock"
    std::string text;
};

/// Beyond these a schedule counts as endless.
struct Limits {
    std::uint64_t points = 200000;
    Time time = 60000000;
};

/// One schedule as it went.
struct Outcome {
    std::uint64_t points = 0;
    std::uint64_t switches = 0;
    Time time = 0;
    std::uint64_t hash = 0; ///< of thread, operation and time of every point: equal schedules have equal ones
    std::vector<Departure> departures;
    std::vector<Finding> findings;
};

/// A condition that a blocked thread waits for. Both functions run on whichever thread is at a choice point.
struct Condition {
    bool (*holds)(const void* context) = nullptr;
    std::string (*describe)(const void* context) = nullptr; ///< for a report: what is waited for
    const void* context = nullptr;
};

/// Runs real threads one at a time. The running thread chooses at its next choice point, through the strategy, who goes
/// on. Time is virtual: a point costs one microsecond, and when no thread can run, the clock moves to the next deadline.
///
/// A thread that is blocked for ever cannot be unwound, since destructors wait. A schedule that ends in a deadlock or
/// never ends is therefore handed to `onStuck`, which must not return.
class Scheduler {
public:
    static Scheduler& instance();

    /// One schedule. The calling thread is thread 0 and runs `body`; the schedule ends when all threads have ended.
    Outcome run(Strategy& strategy, const std::function<void()>& body, Limits limits = {});
    std::function<void(const Outcome&)> onStuck;

    /// Whether the calling thread is part of a running schedule. Others run as if there were no simulation.
    static bool isSimulated();

    // ---- for the back end, on simulated threads ----

    void point(const Place& place);
    /// A choice point that the thread passes when the condition holds or at the deadline; true when it holds then.
    bool wait(const Place& place, const Condition& condition, Time deadline = never);
    /// A choice point that the thread passes at that time, or earlier when the strategy says so.
    void sleepUntil(const Place& place, Time deadline);

    ThreadNumber start(std::function<void()> body);
    bool hasEnded(ThreadNumber number) const;
    /// The calling thread has waited for the end of that one.
    void noteEnd(ThreadNumber number) const;
    ThreadNumber self() const;
    Time now() const { return clock; }

    /// Adds a finding. The schedule goes on.
    void report(const std::string& rule, const std::string& text);

private:
    struct Task;
    struct Worker;

    Scheduler();
    ~Scheduler();

    Task& add();
    void work(Worker& worker);
    void finish(Task& task);
    void choose(Task& task, bool yields);
    void forgetWorkersOfTheParent();
    void collect();
    void record(const Situation& situation, const Choice& choice);
    void checkLimits();
    [[noreturn]] void stuck(const std::string& rule);
    std::string threadTable() const;
    bool isReady(const Task& task) const;

    Strategy* strategy = nullptr;
    Limits limits;
    Outcome outcome;
    Time clock = 0;
    std::vector<std::unique_ptr<Task>> tasks; // by number
    std::vector<std::unique_ptr<Worker>> workers;
    int process = 0; // whose threads the workers are
    std::vector<ThreadNumber> ready;
    std::vector<ThreadNumber> sleepers;
};

} // namespace simulation
