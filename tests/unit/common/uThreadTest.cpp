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

TEST(uThread, RunsItsRunnableAndIsJoined) {
    int result = 0;
    Body body([&] { result = 42; });
    uThread thread(&body);
    EXPECT_EQ(thread.threadId(), 0U);
    EXPECT_TRUE(thread.start());
    EXPECT_NE(thread.threadId(), 0U);
    EXPECT_TRUE(thread.wait());
    EXPECT_EQ(result, 42);
    EXPECT_TRUE(thread.wait()) << "a thread that has ended may be waited for again";
}

TEST(uThread, WaitWithoutAThreadIsFalse) {
    Body body([] {});
    uThread thread(&body);
    EXPECT_FALSE(thread.wait());
    EXPECT_FALSE(thread.wait(0));
    EXPECT_FALSE(thread.isCurrent());
}

TEST(uThread, WaitGivesUpWhenTheTimeHasRunOut) {
    std::atomic<bool> go{false};
    Body body([&] {
        while (!go) {
            uThread::sleep(1);
        }
    });
    uThread thread(&body);
    ASSERT_TRUE(thread.start());
    EXPECT_FALSE(thread.wait(0));
    uStopwatch watch;
    EXPECT_FALSE(thread.wait(30));
    EXPECT_GE(watch.elapsed(), 0.029);
    EXPECT_FALSE(thread.start()) << "it still runs";
    go = true;
    EXPECT_TRUE(thread.wait(60000));
}

TEST(uThread, MayBeStartedAgainAfterItsEnd) {
    int runs = 0;
    Body body([&] { ++runs; });
    uThread thread(&body);
    for (int i = 1; i <= 3; ++i) {
        ASSERT_TRUE(thread.start());
        ASSERT_TRUE(thread.wait());
        EXPECT_EQ(runs, i);
    }
}

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

TEST(uThread, NullRunnableEndsAtOnce) {
    uThread thread(nullptr);
    EXPECT_TRUE(thread.start());
    EXPECT_TRUE(thread.wait());
}

TEST(uThread, WaitingOnItselfIsRefused) {
    // Repeated, since the thread may query before or after its start has returned.
    for (int i = 0; i < 300; ++i) {
        uThread* self = nullptr;
        bool waited = true;
        bool current = false;
        bool started = true;
        Body body([&] {
            waited = self->wait();
            current = self->isCurrent();
            started = self->start();
        });
        uThread thread(&body);
        self = &thread;
        ASSERT_TRUE(thread.start());
        ASSERT_TRUE(thread.wait());
        ASSERT_FALSE(waited);
        ASSERT_TRUE(current);
        ASSERT_FALSE(started);
        ASSERT_FALSE(thread.isCurrent());
    }
}

TEST(uThread, DestructorDoesNotWait) {
    std::atomic<bool> go{false};
    std::atomic<bool> ended{false};
    Body body([&] {
        while (!go) {
            uThread::sleep(1);
        }
        ended = true;
    });
    {
        uThread thread(&body);
        ASSERT_TRUE(thread.start());
    }
    EXPECT_FALSE(ended);
    go = true;
    while (!ended) {
        uThread::sleep(1);
    }
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

TEST(uStopwatch, MeasuresFromTheLatestMark) {
    uStopwatch watch;
    const double first = watch.elapsed();
    EXPECT_GE(first, 0.0);
    uThread::sleep(20);
    const double second = watch.elapsed();
    EXPECT_GE(second, 0.019);
    EXPECT_GE(watch.elapsed(), second);
    watch.mark();
    uStopwatch other;
    EXPECT_GE(watch.elapsed(), other.elapsed()) << "marked earlier";
}

} // namespace
} // namespace VX_QRS
