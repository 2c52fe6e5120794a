#include "common/source/source_utilities/uMutex.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace VX_QRS {
namespace {

TEST(uMutex, IsRecursive) {
    uMutex mutex;
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.unlock());
    EXPECT_TRUE(mutex.unlock());
    EXPECT_FALSE(mutex.unlock());
}

TEST(uMutex, UnlockingWhatIsNotLockedIsRefused) {
    uMutex mutex;
    EXPECT_FALSE(mutex.unlock());
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.unlock());
}

TEST(uMutex, DepthIsThatOfTheCallingThread) {
    uMutex mutex;
    EXPECT_EQ(mutex.levels(), 0);
    mutex.lock();
    mutex.lock();
    EXPECT_EQ(mutex.levels(), 2);
    std::int32_t others = -1;
    std::thread([&] { others = mutex.levels(); }).join();
    EXPECT_EQ(others, 0);
    mutex.unlock();
    EXPECT_EQ(mutex.levels(), 1);
    mutex.unlock();
    EXPECT_EQ(mutex.levels(), 0);
}

TEST(uMutex, OnlyTheOwnerUnlocks) {
    uMutex mutex;
    mutex.lock();
    bool stranger = true;
    std::thread([&] { stranger = mutex.unlock(); }).join();
    EXPECT_FALSE(stranger);
    EXPECT_TRUE(mutex.unlock()) << "the stranger's attempt left the lock as it was";
}

TEST(uMutex, LockedFromOneThreadIsWaitedForByAnother) {
    uMutex mutex;
    mutex.lock();
    mutex.lock();
    std::atomic<bool> entered{false};
    std::thread other([&] {
        const uMutexLock lock(mutex);
        entered = true;
    });
    mutex.unlock();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(entered) << "one of two locks is still held";
    mutex.unlock();
    other.join();
    EXPECT_TRUE(entered);
}

TEST(uMutex, ProtectsAgainstManyThreads) {
    uMutex mutex;
    int counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) {
                const uMutexLock outer(mutex);
                const uMutexLock inner(mutex);
                ++counter;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 20000);
}

} // namespace
} // namespace VX_QRS
