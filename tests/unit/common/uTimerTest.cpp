#include "common/source/source_utilities/source_utilities_error.h"
#include "common/source/source_utilities/uTimer.h"
#include "tests/support/failure/FailureText.h"

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace VX_QRS {
namespace {

using test_support::failureText;

class Action final : public uTimer::Callable {
public:
    explicit Action(std::function<void()> action) : work(std::move(action)) {}
    void call() override {
        ++calls;
        work();
    }

    std::atomic<std::uint32_t> calls{0};

private:
    std::function<void()> work;
};

void nothing() {}

constexpr std::uint32_t endless = 0xFFFFFFFF;

TEST(uTimer, WithoutEntriesEndsAfterTheFirstInterval) {
    uTimer timer;
    timer.setPollingInterval(0.02);
    uStopwatch watch;
    EXPECT_TRUE(timer.start());
    timer.wait();
    EXPECT_GE(watch.elapsed(), 0.019);
    EXPECT_TRUE(timer.start()) << "it had ended";
    timer.stop();
}

TEST(uTimer, RepeatCountOfZeroNeverFires) {
    Action action(nothing);
    uTimer timer;
    timer.setPollingInterval(0.001);
    timer.registerCallable(&action, 0.0, 0);
    ASSERT_TRUE(timer.start());
    timer.wait(); // an entry that never fires does not keep the timer running
    EXPECT_EQ(action.calls, 0U);
    EXPECT_EQ(timer.size(), 1U);
}

TEST(uTimer, DelayOfZeroFiresAtTheFirstTick) {
    Action action(nothing);
    uTimer timer;
    timer.setPollingInterval(0.005);
    timer.registerCallable(&action, 0.0, 1);
    uStopwatch watch;
    ASSERT_TRUE(timer.start());
    timer.wait();
    EXPECT_EQ(action.calls, 1U);
    EXPECT_GE(watch.elapsed(), 0.004);
}

TEST(uTimer, FiresAsOftenAsRegisteredInTheOrderOfRegistration) {
    std::mutex mutex;
    std::vector<int> order;
    const auto note = [&](int number) {
        const std::lock_guard lock(mutex);
        order.push_back(number);
    };
    Action first([&] { note(1); });
    Action second([&] { note(2); });
    uTimer timer;
    timer.setPollingInterval(0.002);
    timer.registerCallable(&first, 0.0, 2);
    timer.registerCallable(&second, 0.0, 3);
    ASSERT_TRUE(timer.start());
    timer.wait();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 1, 2, 2}));
}

TEST(uTimer, DelayHasToPassBetweenFirings) {
    uStopwatch watch;
    std::vector<double> times;
    Action action([&] {
        times.push_back(watch.elapsed());
        watch.mark();
    });
    uTimer timer;
    timer.setPollingInterval(0.002);
    timer.registerCallable(&action, 0.03, 3);
    watch.mark();
    ASSERT_TRUE(timer.start());
    timer.wait();
    ASSERT_EQ(times.size(), 3U);
    for (const double time : times) {
        EXPECT_GE(time, 0.029);
    }
}

TEST(uTimer, DelayThatHasNotPassedDoesNotFire) {
    std::atomic<int> ticks{0};
    std::atomic<int> fired{0};
    Action tick([&] { ++ticks; });
    Action late([&] { ++fired; });
    uTimer timer;
    timer.setPollingInterval(0.002);
    timer.registerCallable(&tick, 0.0, endless);
    timer.registerCallable(&late, 3600.0, 1);
    ASSERT_TRUE(timer.start());
    while (ticks < 5) {
        uThread::sleep(1);
    }
    timer.stop();
    EXPECT_EQ(fired, 0);
}

TEST(uTimer, RefusesChangesWhileRunning) {
    Action action(nothing);
    uTimer timer;
    timer.setPollingInterval(0.002);
    timer.registerCallable(&action, 0.0, endless);
    ASSERT_TRUE(timer.start());
    EXPECT_EQ(failureText<source_utilities_error>([&] { timer.setPollingInterval(1.0); }),
              "uTimer cannot change polling interval while running");
    EXPECT_EQ(failureText<source_utilities_error>([&] { timer.registerCallable(nullptr, -1.0, 1); }),
              "uTimer cannot register while running");
    EXPECT_FALSE(timer.start()) << "it runs already";
    timer.stop();
    EXPECT_EQ(timer.size(), 0U);
}

TEST(uTimer, RefusesWhatCannotBeCalled) {
    Action action(nothing);
    uTimer timer;
    EXPECT_EQ(failureText<source_utilities_error>([&] { timer.registerCallable(nullptr, -1.0, 1); }),
              "uTimer cannot register a null callable");
    EXPECT_EQ(failureText<source_utilities_error>([&] { timer.registerCallable(&action, -0.001, 1); }),
              "uTimer cannot register a negative delay");
    EXPECT_EQ(timer.size(), 0U);
}

TEST(uTimer, RegistrationAfterTheTimerHasEndedWaitsForTheNextStart) {
    Action early(nothing);
    Action late(nothing);
    uTimer timer;
    timer.setPollingInterval(0.001);
    timer.registerCallable(&early, 0.0, 1);
    ASSERT_TRUE(timer.start());
    timer.wait();
    timer.registerCallable(&late, 0.0, 1);
    EXPECT_EQ(timer.size(), 2U);
    uThread::sleep(20);
    EXPECT_EQ(late.calls, 0U);
    ASSERT_TRUE(timer.start());
    timer.wait();
    EXPECT_EQ(late.calls, 1U);
    EXPECT_EQ(early.calls, 1U) << "its firings were used up";
}

TEST(uTimer, StopEndsItForgetsTheEntriesAndAllowsANewStart) {
    Action action(nothing);
    uTimer timer;
    timer.setPollingInterval(0.001);
    timer.registerCallable(&action, 0.0, endless);
    ASSERT_TRUE(timer.start());
    while (action.calls == 0) {
        uThread::sleep(1);
    }
    timer.stop();
    const std::uint32_t calls = action.calls;
    EXPECT_EQ(timer.size(), 0U);
    uThread::sleep(20);
    EXPECT_EQ(action.calls, calls);
    timer.registerCallable(&action, 0.0, 1);
    EXPECT_TRUE(timer.start());
    timer.wait();
    EXPECT_EQ(action.calls, calls + 1);
}

TEST(uTimer, StopFromACallableEndsItWithoutADeadlock) {
    uTimer timer;
    bool startedInside = true;
    Action stopping([&] {
        timer.wait();
        startedInside = timer.start();
        timer.stop();
    });
    Action behind(nothing);
    timer.setPollingInterval(0.001);
    timer.registerCallable(&stopping, 0.0, endless);
    timer.registerCallable(&behind, 0.0, endless);
    ASSERT_TRUE(timer.start());
    timer.wait();
    EXPECT_EQ(stopping.calls, 1U);
    EXPECT_EQ(behind.calls, 0U);
    EXPECT_FALSE(startedInside);
    EXPECT_EQ(timer.size(), 0U);
}

TEST(uTimer, StopDoesNotWaitForTheRestOfALongInterval) {
    uTimer timer;
    timer.setPollingInterval(3600.0); // a stop that waited for it would exceed the time limit of the test
    ASSERT_TRUE(timer.start());
    timer.stop();
    EXPECT_EQ(timer.size(), 0U);
}

TEST(uTimer, DestructorEndsARunningTimer) {
    Action action(nothing);
    {
        uTimer timer;
        timer.setPollingInterval(0.001);
        timer.registerCallable(&action, 0.0, endless);
        ASSERT_TRUE(timer.start());
    }
    const std::uint32_t calls = action.calls;
    uThread::sleep(10);
    EXPECT_EQ(action.calls, calls);
}

} // namespace
} // namespace VX_QRS
