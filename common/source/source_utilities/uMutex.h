#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

namespace VX_QRS {

// A recursive lock that knows its owner.
class uMutex {
public:
    uMutex();
    uMutex(const uMutex&) = delete;
    uMutex& operator=(const uMutex&) = delete;
    virtual ~uMutex();

    // Waits for the lock without a limit; always true.
    bool lock();

    // False, with nothing changed, when the calling thread does not hold the lock.
    bool unlock();

    // How many times the calling thread holds the lock; 0 when it does not.
    std::int32_t levels() const;

private:
    struct Native;

    std::unique_ptr<Native> native;
    std::int32_t depth = 0;               // only its owner reads or writes it
    std::atomic<std::thread::id> owner{}; // others may compare it with themselves at any time
};

// Holds a lock for a scope.
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
