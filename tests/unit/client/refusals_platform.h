#pragma once

// A platform that refuses memory and threads when a test says so. It is linked ahead of the real one.

namespace client_test {

/// The `nth` allocation of this thread from now on fails, 1 being the next. 0: none.
void refuseMemory(unsigned nth);
/// Whether that allocation has been asked for. Ends the refusing.
bool memoryWasRefused();

/// Whether threads start from now on. One that does start runs its body at once, inside `start`.
void letThreadsStart(bool start);

} // namespace client_test
