#include "common/source/source_utilities/uStopwatch.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/unit/common/OwnPriority.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <utility>

namespace VX_QRS {
namespace {

class Body : public uRunnable {
public:
    explicit Body(std::function<void()> action) : work(std::move(action)) {}
    void run() override { work(); }

private:
    std::function<void()> work;
};

TEST(uThread, OthersMayWaitWhileItIsStartedAgain) {
    Body body([] {});
    uThread thread(&body);
    std::atomic<bool> ending{false};
    const auto wait = [&] {
        while (!ending) {
            thread.wait(thread.isCurrent() ? 0 : 1);
            thread.threadId();
        }
    };
    std::thread first(wait);
    std::thread second(wait);
    for (int i = 0; i < 500; ++i) {
        EXPECT_TRUE(thread.start());
        EXPECT_TRUE(thread.wait());
    }
    ending = true;
    first.join();
    second.join();
}

TEST(uThread, PriorityAndStackSizeAreAccepted) {
    std::atomic<bool> deep{false};
    Body body([&] {
        volatile char room[12000000]; // more than any platform's default
        room[0] = 1;
        room[sizeof room - 1] = 1;
        deep = room[0] == room[sizeof room - 1];
    });
    for (const int priority : {-1, 0, 1}) {
        deep = false;
        uThread thread(&body, priority, 20000001);
        EXPECT_TRUE(thread.start());
        EXPECT_TRUE(thread.wait());
        EXPECT_TRUE(deep);
    }
    Body shallow([] {});
    uThread small(&shallow, 0, 1);
    EXPECT_TRUE(small.start()) << "less than the least stack is made enough";
    EXPECT_TRUE(small.wait());
}

TEST(uThread, PriorityReachesTheThread) {
    for (const std::int32_t wanted : {0, -15}) { // the latter is the platform's lowest
        const int expected = wanted == 0 ? test::ownPriority() : wanted;
        std::atomic<int> seen{99};
        Body body([&] { seen = test::ownPriority(); });
        uThread thread(&body, wanted);
        ASSERT_TRUE(thread.start());
        ASSERT_TRUE(thread.wait());
        EXPECT_EQ(seen, expected);
    }
}

TEST(uThread, SleepLastsAtLeastAsLongAsAskedAndNotTwice) {
    double shortest = 1e9;
    // A busy machine may end a sleep late, though not every time.
    for (int i = 0; i < 20 && shortest >= 0.06; ++i) {
        uStopwatch watch;
        uThread::sleep(30);
        const double seconds = watch.elapsed();
        EXPECT_GE(seconds, 0.029);
        shortest = std::min(shortest, seconds);
    }
    EXPECT_LT(shortest, 0.06);
}

TEST(uStopwatch, AgreesWithTheSystemsSteadyClock) {
    using Clock = std::chrono::steady_clock;
    const auto seconds = [](Clock::duration span) { return std::chrono::duration<double>(span).count(); };
    const auto before = Clock::now();
    const uStopwatch watch;
    const auto marked = Clock::now();
    uThread::sleep(30);
    const auto asked = Clock::now();
    const double measured = watch.elapsed();
    const auto after = Clock::now();
    constexpr double clocksDiffer = 0.002;
    EXPECT_GE(measured, seconds(asked - marked) - clocksDiffer);
    EXPECT_LE(measured, seconds(after - before) + clocksDiffer);
}

} // namespace
} // namespace VX_QRS
