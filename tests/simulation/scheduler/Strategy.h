#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace simulation {

/// Virtual microseconds since the start of the schedule.
using Time = std::uint64_t;

/// What a thread is about to do at a choice point.
enum class Operation : std::uint8_t {
    begin,
    lock,
    unlock,
    start,
    wait,
    end,
    sleep,
    file,
    socket,
    process,
    request,
    atomic,
};

const char* nameOf(Operation operation);

/// Threads are numbered by the order of their start; 0 is the scenario's own.
using ThreadNumber = std::uint32_t;

/// Who may run next. At least one of `ready` and `sleepers` has a thread.
struct Situation {
    ThreadNumber running = 0;
    bool canGoOn = false; ///< the running thread is among the ready ones
    bool yields = false;  ///< it polls: a sleep or a wait with a time limit
    Operation operation = Operation::begin;
    std::span<const ThreadNumber> ready;    ///< ascending
    std::span<const ThreadNumber> sleepers; ///< ready at their deadline; earliest first, then by number
};

struct Choice {
    ThreadNumber next = 0; ///< a sleeper's choice moves the clock to its deadline
    Time stall = 0;        ///< the running thread cannot run for so long
};

/// What is chosen without a strategy: the running thread goes on, else the next number, else the earliest sleeper.
ThreadNumber defaultChoice(const Situation& situation);

/// Chooses at every choice point of one schedule.
class Strategy {
public:
    virtual ~Strategy() = default;
    virtual Choice choose(const Situation& situation) = 0;
};

/// Where a schedule leaves the default. A thread's own count of points survives the removal of other departures.
struct Departure {
    ThreadNumber thread = 0;
    std::uint32_t step = 0;
    Choice choice;
};

/// As in "0:34>2 1:17>0/200000"; empty text for no departures.
std::string textOf(const std::vector<Departure>& departures);
/// Throws std::invalid_argument on anything else.
std::vector<Departure> departuresOf(const std::string& text);

/// The strategies of the search. `length` is the usual number of points of the scenario's schedules.
/// - "walk": any ready thread;
/// - "early": the same, and sleepers may wake before their time;
/// - "stalls": the same as "walk", and now and then a thread is held up for 1 ms to 2 s;
/// - "pct3", "pct5": the thread of the highest priority runs; at 2 or 4 points it falls to the lowest and is held up.
std::unique_ptr<Strategy> makeStrategy(const std::string& name, std::uint64_t seed, std::uint64_t length);
const std::vector<std::string>& strategyNames();

/// Follows departures; the default elsewhere. A departure that is not possible (any more) is ignored.
std::unique_ptr<Strategy> makeReplay(std::vector<Departure> departures);

} // namespace simulation
