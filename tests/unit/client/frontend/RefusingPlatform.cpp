#include "tests/unit/client/frontend/RefusingPlatform.h"

#include "common/source/source_utilities/uMutex.h"
#include "common/source/source_utilities/uThread.h"

#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

namespace {

thread_local unsigned countdown = 0;
thread_local bool lasting = false;
thread_local bool refused = false;
bool threadsStart = true;

/// Never deleted: locks are taken until the process ends.
client_test::LockWatch& lockWatch() {
    static auto* const watch = new client_test::LockWatch;
    return *watch;
}

} // namespace

void* operator new(std::size_t size) {
    if (countdown != 0 && --countdown == 0) {
        refused = true;
        countdown = lasting ? 1 : 0;
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace client_test {

void refuseMemory(unsigned nth, Refusal refusal) {
    countdown = nth;
    lasting = refusal == Refusal::lasting;
    refused = false;
}

bool memoryWasRefused() {
    countdown = 0;
    return refused;
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
