#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

namespace VX_QRS {

/// A recursive mutex that knows its owner.
class uMutex {
public:
    uMutex();
    uMutex(const uMutex&) = delete;
    uMutex& operator=(const uMutex&) = delete;
    virtual ~uMutex();

    /// Blocks indefinitely; always true.
    bool lock();

    /// False, without effect, when the calling thread does not hold the mutex.
    bool unlock();

    /// Number of times that the calling thread has locked it; 0 when it does not hold it.
    std::int32_t levels() const;

private:
    struct Native;

    std::unique_ptr<Native> native;
    std::int32_t depth = 0;               // only its owner reads or writes it
    std::atomic<std::thread::id> owner{}; // other threads compare it with their own at any time
};

/// Holds a mutex for a scope.
class uMutexLock {
public:
    explicit uMutexLock(uMutex& held) : mutex(held) { mutex.lock(); }
    uMutexLock(const uMutexLock&) = delete;
    uMutexLock& operator=(const uMutexLock&) = delete;
    ~uMutexLock() { mutex.unlock(); }

private:
    uMutex& mutex;
};

} // namespace VX_QRS
