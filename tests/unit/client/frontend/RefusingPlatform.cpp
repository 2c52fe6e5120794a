#include "tests/unit/client/frontend/RefusingPlatform.h"

#include "common/source/source_utilities/uMutex.h"
#include "common/source/source_utilities/uThread.h"

#include <mutex>
#include <optional>
#include <utility>

namespace {

thread_local std::optional<test_support::MemoryShortage> shortage;
bool threadsStart = true;

/// Never deleted: locks are taken until the process ends.
client_test::LockWatch& lockWatch() {
    static auto* const watch = new client_test::LockWatch;
    return *watch;
}

} // namespace

namespace client_test {

void refuseMemory(unsigned nth, test_support::Shortage kind) {
    shortage.reset();
    if (nth != 0) {
        shortage.emplace(nth - 1, kind);
    }
}

bool memoryWasRefused() {
    shortage.reset();
    return test_support::MemoryShortage::hasRefused();
}

void letThreadsStart(bool start) {
    threadsStart = start;
}

void watchLocks(LockWatch watch) {
    lockWatch() = std::move(watch);
}

} // namespace client_test

namespace VX_QRS {

struct uThread::Native {
    bool started = false;
};

uThread::uThread(uRunnable* body, std::int32_t threadPriority, std::uint32_t bytes)
    : runnable(body), native(std::make_unique<Native>()), priority(threadPriority), stackSize(bytes) {}
uThread::~uThread() = default;
bool uThread::start() {
    // What runs on the caller's thread has neither; clang asks what the members are for.
    static_cast<void>(priority);
    static_cast<void>(stackSize);
    if (!threadsStart) {
        return false;
    }
    native->started = true;
    runnable->run();
    return true;
}
bool uThread::wait(std::uint32_t) {
    return native->started;
}
bool uThread::isCurrent() const {
    return false;
}
std::uint32_t uThread::threadId() const {
    return native->started ? 1 : 0;
}
void uThread::sleep(std::uint32_t) {}

struct uMutex::Native {
    std::recursive_mutex mutex;
};

uMutex::uMutex() : native(std::make_unique<Native>()) {}
uMutex::~uMutex() = default;
bool uMutex::lock() {
    if (lockWatch()) {
        lockWatch()(*this);
    }
    native->mutex.lock();
    owner = std::this_thread::get_id();
    ++depth;
    return true;
}
std::int32_t uMutex::levels() const {
    return owner == std::this_thread::get_id() ? depth : 0;
}
bool uMutex::unlock() {
    if (owner != std::this_thread::get_id() || depth < 1) {
        return false;
    }
    if (--depth == 0) {
        owner = std::thread::id{};
    }
    native->mutex.unlock();
    return true;
}

} // namespace VX_QRS
