// Requests of several threads: whole ones exclude each other, callbacks included.

#include "tests/support/failure/FailureText.h"
#include "tests/unit/mpx/ProxyOverScript.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

using namespace MPX_GDB_AGENT;
using test_support::failureText;
using VX_QRS::ORV::OrvEcomProxy;

namespace {

// Answers every request with a record and a good reply, but not before another thread has had the time to step in.
class SlowLink : public ScriptedLink {
public:
    // What the threads make of it.
    struct Watch {
        std::mutex mutex;
        std::condition_variable changed;
        int arrived = 0; // threads about to make their request
        int underWay = 0;
        int overlaps = 0;

        void begin() {
            const std::lock_guard lock(mutex);
            overlaps += underWay;
            ++underWay;
            changed.notify_all();
        }
        void end() {
            const std::lock_guard lock(mutex);
            --underWay;
        }
        void arrive() {
            const std::lock_guard lock(mutex);
            ++arrived;
            changed.notify_all();
        }
        // Until another thread's request is under way.
        void waitForARequest() {
            std::unique_lock lock(mutex);
            changed.wait(lock, [this] { return underWay != 0; });
        }
        // Until both threads are at their requests, and a while longer.
        void letTheOtherCome() {
            std::unique_lock lock(mutex);
            changed.wait(lock, [this] { return arrived == 2; });
            lock.unlock();
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    };

    explicit SlowLink(Watch& watched) : ScriptedLink(std::make_shared<LinkScript>()), watch(watched) {}

    std::uint32_t send(const void* bytes, std::uint32_t size, std::uint32_t& count) override {
        const char command = static_cast<const char*>(bytes)[1];
        count = size;
        if (command == 'v') {
            pending = frames::reply(frames::word(1));
        } else if (command == 'o') {
            pending = frames::reply();
        } else if (command != 'D') {
            watch.begin();
            watch.letTheOtherCome();
            pending = frames::reply({}, frames::statusRecord(1));
        }
        return IoOk;
    }
    std::uint32_t waitReadable(std::int32_t) override { return pending.empty() ? IoNotConnected : IoOk; }
    std::uint32_t receive(void* buffer, std::uint32_t size, std::uint32_t& count) override {
        count = std::min(size, static_cast<std::uint32_t>(pending.size()));
        std::copy_n(pending.begin(), count, static_cast<char*>(buffer));
        pending.erase(0, count);
        return IoOk;
    }

private:
    Watch& watch;
    std::string pending;
};

// Its record is the last that a request does before its reply is finished.
class EndingCallback : public RecordingCallback {
public:
    explicit EndingCallback(SlowLink::Watch& watched) : watch(watched) {}
    void onStatus(std::uint32_t) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ++delivered;
        watch.end();
    }
    std::atomic<int> delivered{0};

private:
    SlowLink::Watch& watch;
};

} // namespace

TEST(ProxyLock, ARequestWaitsForAnotherThreadsRequestAndItsCallbacks) {
    using Operation = void (*)(OrvEcomProxy&);
    for (const Operation operation :
         {Operation{[](OrvEcomProxy& p) { p.connect("x"); }}, Operation{[](OrvEcomProxy& p) { p.start(); }},
          Operation{[](OrvEcomProxy& p) { p.request(1); }}, Operation{[](OrvEcomProxy& p) { p.pollServer(); }}}) {
        SlowLink::Watch watch;
        EndingCallback callback(watch);
        OrvEcomProxy proxy(std::make_unique<SlowLink>(watch), 64);
        proxy.openChannel(0, 0, &callback);
        std::atomic<int> failures{0};
        const auto request = [&] {
            watch.arrive();
            try {
                operation(proxy);
            } catch (const std::runtime_error&) {
                ++failures;
            }
        };
        std::thread other(request);
        request();
        other.join();
        EXPECT_EQ(watch.overlaps, 0);
        EXPECT_EQ(failures, 0);
        EXPECT_EQ(callback.delivered, 2);
    }
}

TEST(ProxyLock, AChannelThatIsOpenedMeanwhileGetsNothingOfTheRequestUnderWay) {
    SlowLink::Watch watch;
    EndingCallback callback(watch);
    OrvEcomProxy proxy(std::make_unique<SlowLink>(watch), 64);
    std::thread other([&] {
        watch.waitForARequest();
        watch.arrive();
        // What the failed request has left is in front of this one's reply.
        EXPECT_EQ(failureText([&] { proxy.openChannel(0, 0, &callback); }), "invalid rsp response");
    });
    watch.arrive();
    EXPECT_EQ(failureText([&] { proxy.start(); }), "invalid rsp callback responseinvalid rsp response");
    other.join();
    EXPECT_EQ(callback.delivered, 0);
}

TEST(ProxyLock, AFailedRequestLeavesTheLockFree) {
    auto script = std::make_shared<LinkScript>();
    script->expect("$v#00").give(frames::reply(frames::word(1)));
    OrvEcomProxy proxy(std::make_unique<ScriptedLink>(script), 64);
    script->expect("$s#00").give("$E#00").expect("$S#00");
    EXPECT_THROW(proxy.start(), std::runtime_error);
    std::atomic<bool> failed{false};
    std::thread([&] {
        try {
            proxy.stop();
        } catch (const std::runtime_error&) {
            failed = true;
        }
    }).join();
    EXPECT_TRUE(failed);
    script->verify();
}
