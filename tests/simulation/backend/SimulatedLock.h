#pragma once

#include "tests/simulation/scheduler/Scheduler.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace simulation {

/// A recursive lock. Taking the outermost level and giving it back are choice points. A schedule in which locks are taken
/// in two orders is a finding, also when it did not block.
class SimulatedLock {
public:
    SimulatedLock() = default;
    SimulatedLock(const SimulatedLock&) = delete;
    SimulatedLock& operator=(const SimulatedLock&) = delete;
    ~SimulatedLock();

    void enter();
    void leave();
    bool isFree() const { return depth == 0; }

    /// For reports: "the lock that thread 2 holds".
    std::string text() const;

private:
    ThreadNumber owner = 0;
    std::uint32_t depth = 0;
};

/// Locks that the calling thread holds.
std::size_t locksHeld();
/// Forgets the orders of the schedule before.
void forgetLockOrders();

} // namespace simulation
