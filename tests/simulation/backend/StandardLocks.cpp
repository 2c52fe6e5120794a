// std::mutex and std::recursive_mutex of the product and of the tests' doubles. A thread that is stopped inside a real one
// would stop all others.

#include "tests/simulation/backend/SimulatedLock.h"
#include "tests/simulation/faults/Quiet.h"

#include <map>
#include <pthread.h>

extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex);
}

namespace {

using simulation::Quiet;
using simulation::Scheduler;
using simulation::SimulatedLock;

// Only the one running thread comes here. By address, which orders nothing.
std::map<const pthread_mutex_t*, SimulatedLock>& locks() {
    static auto* all = new std::map<const pthread_mutex_t*, SimulatedLock>;
    return *all;
}

bool belongsToTheSimulation() {
    return Quiet::isOn() || !Scheduler::isSimulated();
}

} // namespace

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    if (belongsToTheSimulation()) {
        return __real_pthread_mutex_lock(mutex);
    }
    SimulatedLock* lock = nullptr;
    {
        const Quiet quiet;
        lock = &locks()[mutex];
    }
    lock->enter();
    return 0;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    if (belongsToTheSimulation()) {
        return __real_pthread_mutex_unlock(mutex);
    }
    SimulatedLock* lock = nullptr;
    {
        const Quiet quiet;
        const auto found = locks().find(mutex);
        if (found == locks().end()) {
            return __real_pthread_mutex_unlock(mutex); // taken before the schedule
        }
        lock = &found->second;
    }
    lock->leave();
    return 0;
}
