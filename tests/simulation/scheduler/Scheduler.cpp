#include "tests/simulation/scheduler/Scheduler.h"

#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scheduler/Order.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <unistd.h>
#include <utility>

namespace simulation {

struct Scheduler::Task {
    ThreadNumber number = 0;
    Gate gate;
    std::function<void()> body;
    Place place;
    Condition condition;   // empty: ready, or asleep until the deadline
    Time deadline = 0;     // `never` without one
    Time stalledUntil = 0; // held up by the strategy
    std::uint32_t steps = 0;
    bool ended = false;
};

/// A real thread, kept from one schedule to the next.
struct Scheduler::Worker {
    Gate gate;
    Task* task = nullptr; // null: free
    std::thread thread;
};

namespace {

thread_local void* currentTask = nullptr;

void mix(std::uint64_t& hash, std::uint64_t value) {
    hash = (hash ^ value) * 0x100000001B3U;
}

} // namespace

Scheduler& Scheduler::instance() {
    // Not destroyed: its threads wait for work until the process ends.
    static auto* scheduler = new Scheduler;
    return *scheduler;
}

Scheduler::Scheduler() = default;
Scheduler::~Scheduler() = default;

bool Scheduler::isSimulated() {
    return currentTask != nullptr;
}

Outcome Scheduler::run(Strategy& chosen, const std::function<void()>& body, Limits most) {
    strategy = &chosen;
    limits = most;
    outcome = Outcome{};
    clock = 0;
    forgetWorkersOfTheParent();
    tasks.clear();
    Task& first = add();
    currentTask = &first;
    body();
    const Condition allEnded{[](const void* context) {
                                 const auto& all = *static_cast<const std::vector<std::unique_ptr<Task>>*>(context);
                                 return std::all_of(all.begin() + 1, all.end(),
                                                    [](const auto& task) { return task->ended; });
                             },
                             [](const void*) { return std::string("the end of all threads"); }, &tasks};
    wait({Operation::wait, "end of the scenario"}, allEnded);
    for (const auto& task : tasks) {
        noteAcquire(task.get());
    }
    currentTask = nullptr;
    outcome.time = clock;
    return std::move(outcome);
}

// A process that was forked has the objects of the parent's threads, but not the threads.
void Scheduler::forgetWorkersOfTheParent() {
    if (process == getpid()) {
        return;
    }
    process = getpid();
    for (auto& worker : workers) {
        static_cast<void>(worker.release());
    }
    workers.clear();
}

Scheduler::Task& Scheduler::add() {
    tasks.push_back(std::make_unique<Task>());
    tasks.back()->number = static_cast<ThreadNumber>(tasks.size() - 1);
    return *tasks.back();
}

ThreadNumber Scheduler::start(std::function<void()> body) {
    const Quiet quiet;
    Task& task = add();
    task.body = std::move(body);
    const auto isFree = [](const auto& worker) { return worker->task == nullptr; };
    auto found = std::find_if(workers.begin(), workers.end(), isFree);
    if (found == workers.end()) {
        workers.push_back(std::make_unique<Worker>());
        found = workers.end() - 1;
        (*found)->thread = std::thread([this, worker = found->get()] { work(*worker); });
        (*found)->thread.detach();
    }
    (*found)->task = &task;
    noteRelease(&task);
    (*found)->gate.open();
    return task.number;
}

void Scheduler::work(Worker& worker) {
    for (;;) {
        worker.gate.pass();
        Task& task = *worker.task;
        task.gate.pass();
        currentTask = &task;
        noteAcquire(&task);
        task.body();
        noteRelease(&task);
        currentTask = nullptr;
        const Quiet quiet;
        task.body = nullptr;
        worker.task = nullptr; // before the end: the next thread to run may need a worker
        finish(task);
    }
}

void Scheduler::finish(Task& task) {
    task.ended = true;
    task.place = {Operation::end, "ended"};
    choose(task, false);
}

bool Scheduler::hasEnded(ThreadNumber number) const {
    return tasks[number]->ended;
}

void Scheduler::noteEnd(ThreadNumber number) const {
    noteAcquire(tasks[number].get());
}

ThreadNumber Scheduler::self() const {
    return static_cast<Task*>(currentTask)->number;
}

void Scheduler::point(const Place& place) {
    Task& task = *static_cast<Task*>(currentTask);
    const Quiet quiet;
    task.place = place;
    task.condition = {};
    task.deadline = 0;
    choose(task, false);
}

bool Scheduler::wait(const Place& place, const Condition& condition, Time deadline) {
    Task& task = *static_cast<Task*>(currentTask);
    const Quiet quiet;
    task.place = place;
    task.condition = condition;
    task.deadline = deadline;
    choose(task, deadline != never);
    task.condition = {};
    return condition.holds(condition.context);
}

void Scheduler::sleepUntil(const Place& place, Time deadline) {
    Task& task = *static_cast<Task*>(currentTask);
    const Quiet quiet;
    task.place = place;
    task.condition = {};
    task.deadline = deadline;
    choose(task, true);
}

bool Scheduler::isReady(const Task& task) const {
    if (task.ended || task.stalledUntil > clock) {
        return false;
    }
    return task.deadline <= clock || (task.condition.holds != nullptr && task.condition.holds(task.condition.context));
}

void Scheduler::collect() {
    ready.clear();
    sleepers.clear();
    for (const auto& task : tasks) {
        if (isReady(*task)) {
            ready.push_back(task->number);
        } else if (!task->ended && (task->stalledUntil > clock || task->deadline != never)) {
            // A thread that is held up comes back at that time and then looks again.
            sleepers.push_back(task->number);
        }
    }
    const auto wakes = [this](ThreadNumber number) {
        const Task& task = *tasks[number];
        return task.stalledUntil > clock ? task.stalledUntil : task.deadline;
    };
    std::stable_sort(sleepers.begin(), sleepers.end(),
                     [&](ThreadNumber a, ThreadNumber b) { return wakes(a) < wakes(b); });
}

void Scheduler::choose(Task& task, bool yields) {
    ++clock;
    ++task.steps;
    ++outcome.points;
    mix(outcome.hash, task.number);
    mix(outcome.hash, static_cast<std::uint64_t>(task.place.operation));
    mix(outcome.hash, clock);
    checkLimits();
    for (bool isFirst = true;; isFirst = false) {
        collect();
        if (ready.empty() && sleepers.empty()) {
            stuck("deadlock");
        }
        const bool canGoOn = std::find(ready.begin(), ready.end(), task.number) != ready.end();
        const Situation situation{task.number, canGoOn, yields, task.place.operation, ready, sleepers};
        Choice choice{defaultChoice(situation), 0};
        if (isFirst) {
            choice = strategy->choose(situation);
            record(situation, choice);
        }
        if (choice.stall != 0) {
            task.stalledUntil = clock + choice.stall;
        }
        Task& next = *tasks[choice.next];
        if (std::find(ready.begin(), ready.end(), choice.next) == ready.end() || next.stalledUntil > clock) {
            const bool heldUp = next.stalledUntil > clock;
            clock = heldUp ? next.stalledUntil : next.deadline;
            if (heldUp && !isReady(next)) {
                continue;
            }
        }
        if (&next != &task) {
            ++outcome.switches;
            const bool ended = task.ended; // an ended one may be gone as soon as another runs
            next.gate.open();
            if (!ended) {
                task.gate.pass();
            }
        }
        return;
    }
}

void Scheduler::record(const Situation& situation, const Choice& choice) {
    if (choice.next != defaultChoice(situation) || choice.stall != 0) {
        outcome.departures.push_back({situation.running, tasks[situation.running]->steps, choice});
    }
}

void Scheduler::checkLimits() {
    if (outcome.points > limits.points || clock > limits.time) {
        stuck("endless");
    }
}

std::string Scheduler::threadTable() const {
    std::string table;
    for (const auto& task : tasks) {
        table += "  thread " + std::to_string(task->number) + ", step " + std::to_string(task->steps) + ": " +
                 nameOf(task->place.operation) + " " + task->place.what;
        if (!task->ended && task->condition.describe != nullptr) {
            table += ", waits for " + task->condition.describe(task->condition.context);
        }
        table += '\n';
    }
    return table;
}

void Scheduler::stuck(const std::string& rule) {
    outcome.time = clock;
    report(rule, "after " + std::to_string(clock) + " us and " + std::to_string(outcome.points) + " points\n" +
                     threadTable());
    if (onStuck) {
        onStuck(outcome);
    }
    std::fprintf(stderr, "%s %s", rule.c_str(), outcome.findings.back().text.c_str());
    std::_Exit(EXIT_FAILURE);
}

void Scheduler::report(const std::string& rule, const std::string& text) {
    const Quiet quiet;
    outcome.findings.push_back({rule, text});
}

} // namespace simulation
