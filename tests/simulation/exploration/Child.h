#pragma once

#include "tests/simulation/exploration/Search.h"
#include "tests/simulation/scenarios/ProcessFolder.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

namespace simulation {

/// A process that runs schedules until the first failure.
class Child {
public:
    /// Where the child leaves its results: memory that both processes share, and a pipe for the failure's text.
    class Report {
    public:
        void begin(std::uint64_t seed, const Recipe& recipe);
        /// True when the outcome is a failure, with which the child ends.
        bool end(const Outcome& outcome);

    private:
        friend class Child;
        struct Shared;

        void write(const Outcome& outcome);

        Shared* shared = nullptr;
        int pipe = -1;
    };

    explicit Child(const std::function<void(Report&)>& work);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child();

    void wait();
    std::uint64_t schedules() const;
    std::uint64_t points() const;
    std::uint64_t switches() const;
    std::uint64_t faults() const;
    std::uint64_t lastSeed() const;
    const std::optional<Failure>& failure() const { return found; }

private:
    ProcessFolder folder;
    Report report;
    pid_t process = -1;
    std::optional<Failure> found;
};

} // namespace simulation
