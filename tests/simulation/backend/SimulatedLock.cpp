#include "tests/simulation/backend/SimulatedLock.h"

#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scheduler/Order.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

namespace simulation {

namespace {

using Locks = std::vector<const SimulatedLock*>;

// Kept for the process's life: locks with static lifetime are destroyed after this file's objects.
std::map<ThreadNumber, Locks>& heldLocks() {
    static auto* held = new std::map<ThreadNumber, Locks>;
    return *held;
}

/// For each lock those that were taken while it was held.
std::map<const SimulatedLock*, std::set<const SimulatedLock*>>& takenUnder() {
    static auto* orders = new std::map<const SimulatedLock*, std::set<const SimulatedLock*>>;
    return *orders;
}

bool leadsTo(const SimulatedLock* from, const SimulatedLock* to) {
    std::set<const SimulatedLock*> seen;
    Locks open{from};
    while (!open.empty()) {
        const SimulatedLock* lock = open.back();
        open.pop_back();
        if (lock == to) {
            return true;
        }
        if (!seen.insert(lock).second) {
            continue;
        }
        const auto found = takenUnder().find(lock);
        if (found != takenUnder().end()) {
            open.insert(open.end(), found->second.begin(), found->second.end());
        }
    }
    return false;
}

void noteOrder(const SimulatedLock* wanted) {
    Scheduler& scheduler = Scheduler::instance();
    for (const SimulatedLock* held : heldLocks()[scheduler.self()]) {
        const bool isNew = takenUnder()[held].insert(wanted).second;
        if (isNew && leadsTo(wanted, held)) {
            scheduler.report("lock order", "thread " + std::to_string(scheduler.self()) +
                                               " takes two locks in the order opposite to an earlier one");
        }
    }
}

} // namespace

std::size_t locksHeld() {
    const Quiet quiet;
    return heldLocks()[Scheduler::instance().self()].size();
}

void forgetLockOrders() {
    heldLocks().clear();
    takenUnder().clear();
}

SimulatedLock::~SimulatedLock() {
    const Quiet quiet;
    if (depth != 0 && Scheduler::isSimulated()) {
        Scheduler::instance().report("lock destroyed", "a lock is destroyed while " + text() + " is in use");
    }
    takenUnder().erase(this);
    for (auto& [held, wanted] : takenUnder()) {
        wanted.erase(this);
    }
}

void SimulatedLock::enter() {
    if (!Scheduler::isSimulated()) {
        ++depth; // before and after a schedule there is one thread
        return;
    }
    Scheduler& scheduler = Scheduler::instance();
    if (depth != 0 && owner == scheduler.self()) {
        ++depth;
        return;
    }
    const Quiet quiet;
    noteOrder(this);
    scheduler.wait({Operation::lock, "lock"},
                   {[](const void* lock) { return static_cast<const SimulatedLock*>(lock)->isFree(); },
                    [](const void* lock) { return static_cast<const SimulatedLock*>(lock)->text(); }, this});
    owner = scheduler.self();
    depth = 1;
    noteAcquire(this);
    heldLocks()[owner].push_back(this);
}

void SimulatedLock::leave() {
    if (depth == 1) {
        noteRelease(this);
    }
    --depth;
    if (depth != 0 || !Scheduler::isSimulated()) {
        return;
    }
    {
        const Quiet quiet;
        Locks& held = heldLocks()[owner];
        held.erase(std::find(held.begin(), held.end(), this));
    }
    Scheduler::instance().point({Operation::unlock, "unlock"});
}

std::string SimulatedLock::text() const {
    return depth == 0 ? "a lock" : "the lock that thread " + std::to_string(owner) + " holds";
}

} // namespace simulation
