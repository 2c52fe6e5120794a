#pragma once

#include "tests/support/allocation/MemoryShortage.h"

#include <functional>

// A platform that refuses memory and threads when a test says so, and reports locks. It replaces the real one.

namespace VX_QRS {
class uMutex;
}

namespace client_test {

/// The `nth` allocation of this thread from now on fails, 1 being the next, and with a lasting shortage all that follow.
/// 0: none.
void refuseMemory(unsigned nth, test_support::Shortage kind = test_support::Shortage::oneBlock);
/// Whether that allocation has been asked for. Ends the refusing.
bool memoryWasRefused();

/// Whether threads start from now on. One that does start runs its body at once, inside `start`.
void letThreadsStart(bool start);

/// Called on the locking thread before each lock is taken, a log line's included; empty: no more.
using LockWatch = std::function<void(const VX_QRS::uMutex&)>;
void watchLocks(LockWatch watch);

} // namespace client_test
