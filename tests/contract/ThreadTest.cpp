#include "common/source/source_utilities/uStopwatch.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/contract/Contract.h"

#include <atomic>
#include <functional>
#include <utility>

namespace {

using VX_QRS::uRunnable;
using VX_QRS::uStopwatch;
using VX_QRS::uThread;

class Body final : public uRunnable {
public:
    explicit Body(std::function<void()> action) : work(std::move(action)) {}
    void run() override { work(); }

private:
    std::function<void()> work;
};

/// Runs until it may go.
class Waiting final : public uRunnable {
public:
    void run() override {
        while (!go) {
            uThread::sleep(1);
        }
    }

    std::atomic<bool> go{false};
};

CONTRACT(Threads, RunsItsRunnableAndIsJoined) {
    int result = 0;
    Body body([&] { result = 42; });
    uThread thread(&body);
    EXPECT_EQ(thread.threadId(), 0U);
    EXPECT_TRUE(thread.start());
    EXPECT_NE(thread.threadId(), 0U);
    EXPECT_TRUE(thread.wait());
    EXPECT_EQ(result, 42);
    EXPECT_TRUE(thread.wait()) << "a thread that has ended may be waited for again";
    EXPECT_TRUE(thread.wait(0));
}

CONTRACT(Threads, RunningOnesHaveNumbersOfTheirOwn) {
    Waiting body;
    uThread first(&body);
    uThread second(&body);
    ASSERT_TRUE(first.start());
    ASSERT_TRUE(second.start());
    EXPECT_NE(first.threadId(), second.threadId());
    body.go = true;
    EXPECT_TRUE(first.wait());
    EXPECT_TRUE(second.wait());
    EXPECT_NE(first.threadId(), 0U) << "kept after the end";
}

CONTRACT(Threads, WaitWithoutAThreadIsFalse) {
    Body body([] {});
    uThread thread(&body);
    EXPECT_FALSE(thread.wait());
    EXPECT_FALSE(thread.wait(0));
    EXPECT_FALSE(thread.isCurrent());
}

CONTRACT(Threads, WaitGivesUpWhenTheTimeHasRunOut) {
    Waiting body;
    uThread thread(&body);
    ASSERT_TRUE(thread.start());
    EXPECT_FALSE(thread.wait(0));
    uStopwatch watch;
    EXPECT_FALSE(thread.wait(30));
    EXPECT_GE(watch.elapsed(), 0.029);
    EXPECT_FALSE(thread.start()) << "it still runs";
    body.go = true;
    EXPECT_TRUE(thread.wait());
}

CONTRACT(Threads, MayBeStartedAgainAfterItsEnd) {
    int runs = 0;
    Body body([&] { ++runs; });
    uThread thread(&body);
    for (int i = 1; i <= 3; ++i) {
        ASSERT_TRUE(thread.start());
        ASSERT_TRUE(thread.wait());
        EXPECT_EQ(runs, i);
    }
}

CONTRACT(Threads, NullRunnableEndsAtOnce) {
    uThread thread(nullptr);
    EXPECT_TRUE(thread.start());
    EXPECT_TRUE(thread.wait());
}

CONTRACT(Threads, WaitingOnItselfIsRefused) {
    // Repeated, since the thread may query before or after its start has returned.
    for (int i = 0; i < 100; ++i) {
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

CONTRACT(Threads, DestructorDoesNotWait) {
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

CONTRACT(Threads, TwoWaitForOne) {
    Waiting body;
    uThread thread(&body);
    ASSERT_TRUE(thread.start());
    contract::Thread other([&] { EXPECT_TRUE(thread.wait()); });
    uThread::sleep(5);
    body.go = true;
    EXPECT_TRUE(thread.wait());
}

CONTRACT(Threads, SleepLastsAtLeastAsLongAsAsked) {
    for (const std::uint32_t milliseconds : {0U, 1U, 30U}) {
        uStopwatch watch;
        uThread::sleep(milliseconds);
        EXPECT_GE(watch.elapsed(), 0.001 * milliseconds - 0.001);
    }
}

CONTRACT(Stopwatch, MeasuresFromTheLatestMark) {
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

CONTRACT(Stopwatch, IsOneForAllThreads) {
    uStopwatch watch;
    double others = 0.0;
    contract::Thread([&] { others = watch.elapsed(); }).join();
    EXPECT_GE(watch.elapsed(), others);
    EXPECT_GE(others, 0.0);
}

} // namespace
