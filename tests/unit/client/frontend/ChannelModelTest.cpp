#include "tests/unit/client/frontend/ChannelFixture.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

// Long random lives of a channel, beside a small model of what it should be.

namespace client_test {

namespace {

enum class Step {
    Apply,
    Calibrate,
    Start,
    Stop,
    Poll,
    TriggerFile,
    ServerError,
    UnitError,
    BufferFull,
    Finish,
    LateError,
    EndTransmission,
    Archive,
    Count
};

/// How many lives each case lives; more of them when the variable says so.
unsigned livesOfACase() {
    const char* given = std::getenv("ORV_RANDOM_LIVES");
    return given == nullptr ? ORV_RANDOM_LIVES_OF_A_CASE : static_cast<unsigned>(std::strtoul(given, nullptr, 10));
}

/// What a channel should look like from outside.
struct Expected {
    std::int32_t state = Uncalibrated;
    bool threadAlive = false; ///< may still be at work
    bool hasError = false;
    std::string errorText;
    unsigned starts = 0;
    std::string data; ///< recorded by the present recording
    unsigned archive = 0;
};

class RandomLife : public ChannelTest, public testing::WithParamInterface<unsigned> {
protected:
    void live(Step step) {
        switch (step) {
        case Step::Apply:
            apply();
            break;
        case Step::Calibrate:
            calibrate();
            break;
        case Step::Start:
            start();
            break;
        case Step::Stop:
            channel->stop();
            if (expected.state == Recording) {
                expected.state = Stopped;
            }
            break;
        case Step::Poll:
            status();
            break;
        case Step::TriggerFile:
            if (watched()) {
                writeText(stem + ".trg.txt", "");
                leave(Stopped);
            }
            break;
        case Step::ServerError:
            if (watched()) {
                model.deliverBefore(Call::Status, [](auto& callback) { callback.onError(9, "chance", ""); });
                fail("data server error (9) : chance");
            }
            break;
        case Step::UnitError:
            if (watched()) {
                model.set(0x8008020, 0x2000);
                fail("orv receiver error 8192");
                expected.data.clear(); // the thread left without a stop, so nothing was uploaded
            }
            break;
        case Step::BufferFull:
            if (watched()) {
                model.deliverBefore(Call::Status, [](auto& callback) { callback.onStatus(0); });
                leave(Idle);
            }
            break;
        case Step::Finish:
            finish();
            break;
        case Step::LateError:
            lateError();
            break;
        case Step::EndTransmission:
            channel->endTransmission(random() % 2 == 0);
            break;
        case Step::Archive:
            expected.archive = random() % 3;
            channel->setProperty("archive", std::to_string(expected.archive).c_str());
            break;
        case Step::Count:
            break;
        }
    }

    /// A recording runs and its thread polls it.
    bool watched() const { return expected.state == Recording && expected.threadAlive; }

    void leave(std::int32_t state) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (channelState() == Recording) {
            ASSERT_LT(std::chrono::steady_clock::now(), limit) << "the recording does not end";
            std::this_thread::yield();
        }
        expected.state = state;
    }

    void fail(const std::string& text) {
        leave(Failed);
        expected.hasError = true;
        expected.errorText = text;
    }

    /// An error that comes when nothing is under way is kept, and that is all.
    void lateError() {
        if (expected.threadAlive || expected.state == Recording) {
            return;
        }
        channel->onError(3, "late", "");
        if (!expected.hasError) {
            expected.errorText = "data server error (3) : late";
        }
        expected.hasError = true;
    }

    /// What a user of the channel waits for before anything but a stop.
    void finish() {
        if (expected.state == Recording || !expected.threadAlive) {
            return;
        }
        waitUntilDone();
        ASSERT_TRUE(inside().thread().wait(60000));
        expected.threadAlive = false;
        EXPECT_EQ(status().bytesTotal, expected.data.size());
        EXPECT_TRUE(readText(binPath()) == expected.data);
        EXPECT_FALSE(inside().control().dataFile.isOpen());
    }

    void apply() {
        finish();
        if (expected.state != Recording) {
            EXPECT_NO_THROW(channel->applySettings());
            return;
        }
        EXPECT_THROW(channel->applySettings(), Exception);
        EXPECT_TRUE(status().threadDone);
        expected.threadAlive = false;
        expected.data.clear(); // the thread was joined with nothing uploaded
    }

    void calibrate() {
        finish();
        if (expected.state == Recording) {
            EXPECT_THROW(channel->calibrate(), Exception);
            return;
        }
        EXPECT_NO_THROW(channel->calibrate());
        expected.state = Calibrated;
    }

    void start() {
        finish();
        if (expected.state == Recording) {
            return; // such a call would keep the lock
        }
        if (expected.state < Calibrated) {
            EXPECT_THROW(channel->start(false), Exception);
            return;
        }
        const bool keeps = expected.archive != 0 && expected.state != Calibrated;
        const std::string last = expected.data;
        const std::string kept = stem + "." + std::to_string(expected.archive) + ".bin";
        std::filesystem::remove(kept); // not every system renames onto a file that is there
        expected.data.assign(16384 * (random() % 4), static_cast<char>('a' + random() % 26));
        model.setRecorded({expected.data.begin(), expected.data.end()});
        channel->start(false);
        ++expected.starts;
        expected.state = Recording;
        expected.threadAlive = true;
        expected.hasError = false;
        expected.errorText.clear();
        if (keeps) {
            EXPECT_TRUE(readText(kept) == last) << "the last recording was to be kept";
            --expected.archive;
        }
    }

    void check() {
        const ChannelMetrics now = status();
        EXPECT_EQ(now.state, expected.state);
        EXPECT_EQ(now.hasError, expected.hasError);
        EXPECT_EQ(now.errorText, expected.errorText);
        EXPECT_LE(now.bytesTotal, expected.data.size());
        EXPECT_TRUE(now.state != Failed || now.hasError) << "a failure has a reason";
        EXPECT_EQ(now.hasError, *now.errorText != '\0');
        EXPECT_EQ(now.progress, now.state == Recording ? 1.0 : 0.0);
        EXPECT_TRUE(!now.threadDone || !inside().control().dataFile.isOpen());
        EXPECT_EQ(inside().control().verifyTimeoutTicks, 0u);
        EXPECT_EQ(get("archive"), std::to_string(expected.archive));
        if (!expected.threadAlive && expected.starts != 0) {
            EXPECT_TRUE(now.threadDone);
        }
        EXPECT_EQ(model.count(Call::Start), expected.starts);
        EXPECT_LE(model.count(Call::Stop), expected.starts);
        EXPECT_FALSE(inside().mutex().unlock()) << "the lock was not given back";
        EXPECT_TRUE(inside().session().opened);
        EXPECT_FALSE(exists(stem + ".trg.txt") && watched()) << "a request to stop was not seen";
    }

    std::int32_t channelState() { return inside().control().state; }
    unsigned random() { return generator(); }

    Expected expected;
    std::linear_congruential_engine<std::uint32_t, 48271, 0, 2147483647> generator{GetParam()};
};

} // namespace

TEST_P(RandomLife, KeepsToTheModelInEveryStep) {
    const unsigned lives = livesOfACase();
    for (unsigned life = 0; life < lives && !HasFailure(); ++life) {
        openChannel("calMode=manual\n");
        for (unsigned i = 0; i < 25 && !HasFailure(); ++i) {
            const auto step = static_cast<Step>(random() % static_cast<unsigned>(Step::Count));
            live(step);
            check();
            if (HasFailure()) {
                ADD_FAILURE() << "life " << life << ", step " << i << " was number " << static_cast<unsigned>(step);
            }
        }
        channel->stop();
        channel.reset();
        EXPECT_FALSE(model.isOpen());
        EXPECT_FALSE(exists(binPath()));
        model.set(0x8008020, 0);
        remakeChannel();
        expected = {};
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomLife, testing::Range(1u, 21u));

} // namespace client_test
