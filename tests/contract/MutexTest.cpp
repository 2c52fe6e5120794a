#include "common/source/source_utilities/uMutex.h"
#include "tests/contract/Contract.h"

#include <atomic>
#include <list>

namespace {

using contract::Thread;
using VX_QRS::uMutex;
using VX_QRS::uMutexLock;
using VX_QRS::uThread;

CONTRACT(Mutex, IsRecursive) {
    uMutex mutex;
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.unlock());
    EXPECT_TRUE(mutex.unlock());
    EXPECT_FALSE(mutex.unlock());
}

CONTRACT(Mutex, UnlockingWhatIsNotLockedIsRefused) {
    uMutex mutex;
    EXPECT_FALSE(mutex.unlock());
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.unlock());
}

CONTRACT(Mutex, DepthIsThatOfTheCallingThread) {
    uMutex mutex;
    EXPECT_EQ(mutex.levels(), 0);
    mutex.lock();
    mutex.lock();
    EXPECT_EQ(mutex.levels(), 2);
    std::int32_t others = -1;
    Thread([&] { others = mutex.levels(); }).join();
    EXPECT_EQ(others, 0);
    mutex.unlock();
    EXPECT_EQ(mutex.levels(), 1);
    mutex.unlock();
    EXPECT_EQ(mutex.levels(), 0);
}

CONTRACT(Mutex, OnlyTheOwnerUnlocks) {
    uMutex mutex;
    mutex.lock();
    bool stranger = true;
    Thread([&] { stranger = mutex.unlock(); }).join();
    EXPECT_FALSE(stranger);
    EXPECT_TRUE(mutex.unlock()) << "the stranger's attempt left the lock as it was";
}

CONTRACT(Mutex, LockedFromOneThreadIsWaitedForByAnother) {
    uMutex mutex;
    mutex.lock();
    mutex.lock();
    std::atomic<bool> entered{false};
    Thread other([&] {
        const uMutexLock lock(mutex);
        entered = true;
    });
    mutex.unlock();
    uThread::sleep(20);
    EXPECT_FALSE(entered) << "one of two locks is still held";
    mutex.unlock();
    other.join();
    EXPECT_TRUE(entered);
}

CONTRACT(Mutex, ProtectsAgainstManyThreads) {
    uMutex mutex;
    int counter = 0;
    constexpr int rounds = 1000;
    {
        std::list<Thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&] {
                for (int i = 0; i < rounds; ++i) {
                    const uMutexLock outer(mutex);
                    const uMutexLock inner(mutex);
                    ++counter;
                }
            });
        }
    }
    EXPECT_EQ(counter, 4 * rounds);
}

} // namespace
