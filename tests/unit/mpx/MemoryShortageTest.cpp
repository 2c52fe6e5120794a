// Memory that ends at any block, while a client is made, used and destroyed: no server is left running, nothing throws
// out of a destructor.

#include "common/source/source_utilities/uThread.h"
#include "link/GdbDisplay.h"
#include "tests/support/allocation/MemoryShortage.h"
#include "tests/support/scratch/LogCapture.h"
#include "tests/unit/mpx/FakeServer.h"
#include "tests/unit/mpx/ProxyOverProcess.h"
#include "tests/unit/mpx/ProxyOverScript.h"

#include <atomic>
#include <new>
#include <string>
#include <utility>
#include <vector>

using test_support::failureText;
using test_support::forEachRefusedBlock;
using test_support::LogCapture;
using test_support::MemoryShortage;
using test_support::Shortage;
using VX_QRS::ORV::OrvEcomProxy;

namespace {

const LogCapture::WithEntries everything;

// Blocks of the C library, which hold a packet: no larger ones than this.
std::atomic<std::size_t> largestBlock{static_cast<std::size_t>(-1)};

class LargestBlock {
public:
    explicit LargestBlock(std::size_t size) { largestBlock = size; }
    LargestBlock(const LargestBlock&) = delete;
    LargestBlock& operator=(const LargestBlock&) = delete;
    ~LargestBlock() { lift(); }
    static void lift() { largestBlock = static_cast<std::size_t>(-1); }
};

// Makes a client and destroys it at once.
template <class... Arguments>
void makeAndDestroy(Arguments&... arguments) {
    try {
        const OrvEcomProxy proxy(arguments..., 64);
    } catch (const std::exception&) {
        // Which one depends on where memory ended.
    }
}

// The same until memory has ended or the machine was fast enough: a server has 100 ms to open its port.
void makeAndDestroyAtLast(std::uint32_t port) {
    constexpr int attempts = 20;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        try {
            const OrvEcomProxy proxy(port, 64);
            return;
        } catch (const std::exception&) {
            if (MemoryShortage::hasRefused()) {
                return;
            }
        }
    }
}

// Sleeps on paper; after so many of them there is memory again.
class PaperSleep : public FakeServer {
public:
    void sleep(std::uint32_t ms) override {
        sleeps.push_back(ms);
        if (sleeps.size() % 3 == 0) {
            LargestBlock::lift();
        }
    }
    std::vector<std::uint32_t> sleeps;
};

} // namespace

extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size) {
    // The runtime makes tables for new threads with this one, so that only a block of a buffer's reservation is refused.
    constexpr std::size_t reservation = 0x100000;
    const bool isLimited = largestBlock < reservation;
    return isLimited && count * size >= reservation ? nullptr : __real_calloc(count, size);
}
void* __real_realloc(void* block, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size) {
    return size > largestBlock ? nullptr : __real_realloc(block, size);
}
}

TEST(MemoryShortage, NoBlockOfAConstructionLeavesAServerOnPaper) {
    const LogCapture log;
    FakeServer server;
    server.begin();
    const std::uint32_t port = server.port();
    const int refused =
        forEachRefusedBlock([&] { makeAndDestroy(server, port); },
                            [&](const std::string& where) { EXPECT_EQ(server.running, 0) << "memory ends " << where; });
    EXPECT_GT(refused, 20);
}

TEST(MemoryShortage, NoBlockOfAConstructionLeavesAServerProcess) {
    const LogCapture log;
    ScriptedServer server;
    server.greet();
    server.arm();
    const std::uint32_t port = freePort();
    const int refused = forEachRefusedBlock(
        [&] { makeAndDestroyAtLast(port); },
        [&](const std::string& where) { ASSERT_TRUE(server.allEnded()) << "memory ends " << where; });
    EXPECT_GT(refused, 30);
}

TEST(MemoryShortage, TheFactoryReturnsNullAndThrowsNothing) {
    const MemoryShortage shortage(0);
    EXPECT_EQ(VX_QRS::ORV::createDataClient(1), nullptr);
}

TEST(MemoryShortage, AClientIsDestroyedAndItsServerEndedWithoutMemory) {
    const LogCapture log;
    ScriptedServer server;
    server.greet().hang();
    server.arm();
    std::unique_ptr<OrvEcomProxy> proxy;
    ASSERT_EQ(construct(proxy, freePort()), "");
    {
        const MemoryShortage shortage(0);
        proxy.reset();
    }
    EXPECT_TRUE(server.allEnded());
}

TEST(MemoryShortage, AClientWhoseServerHasDiedIsDestroyedWithoutMemory) {
    const LogCapture log;
    ScriptedServer server;
    server.greet().exit();
    server.arm();
    std::unique_ptr<OrvEcomProxy> proxy;
    ASSERT_EQ(construct(proxy, freePort()), "");
    ASSERT_TRUE(server.allEnded());
    const MemoryShortage shortage(0);
    proxy.reset();
}

TEST(MemoryShortage, TheBuffersHaveAChunkAndAByteFromTheFirstAndKeepThatSize) {
    PaperSleep processes;
    processes.begin();
    const LargestBlock small(66); // and one more for the closing NUL
    OrvEcomProxy started(processes, processes.port(), 64);
    started.start();
    const auto script = std::make_shared<LinkScript>();
    script->expect("$v#00").give(frames::reply(frames::word(1)));
    const OrvEcomProxy connected(std::make_unique<ScriptedLink>(script), 64, processes);
    EXPECT_EQ(processes.sleeps, std::vector<std::uint32_t>{100}) << "only the wait for the process";
}

TEST(MemoryShortage, AReplyForWhichTheBufferCannotGrowIsWaitedForWithOneLinePerRequest) {
    PaperSleep processes;
    processes.begin();
    const auto script = std::make_shared<LinkScript>();
    script->expect("$v#00").give(frames::reply(frames::word(1)));
    OrvEcomProxy proxy(std::make_unique<ScriptedLink>(script), 64, processes);
    const LogCapture log;
    RecordingCallback callback;
    script->expect(frames::request('o', frames::word(0) + frames::word(0))).give(frames::reply());
    proxy.openChannel(0, 0, &callback);
    std::string data(100, 'x');
    for (int request = 1; request <= 2; ++request) {
        script->expect("$s#00").give(frames::reply({}, frames::dataRecord(data)));
        {
            const LargestBlock small(66);
            proxy.start();
        }
        EXPECT_EQ(callback.calls.back(), "data " + data);
        EXPECT_EQ(processes.sleeps, std::vector<std::uint32_t>(static_cast<std::size_t>(3 * request), 1000));
        const std::string line = "MpxEcomProxy: no memory for the server's reply, trying again";
        EXPECT_EQ(log.errors(), std::vector<std::string>(static_cast<std::size_t>(request), line));
        data.assign(10000, 'y'); // larger than the buffer has grown to
    }
    script->verify();
}

TEST(MemoryShortage, AFailureOfAReplyIsNeitherCutNorDoesItSilenceLaterOnes) {
    const std::vector<std::pair<const char*, const char*>> answers{
        {"$E#00", "internal rsp error"},
        {"$err#00", "internal rsp exception"},
        {"$erra text of more than fifteen bytes#00", "a text of more than fifteen bytes"},
        {"hello#00", "invalid rsp response"}};
    for (const auto& [answer, text] : answers) {
        const auto script = std::make_shared<LinkScript>();
        script->expect("$v#00").give(frames::reply(frames::word(1)));
        OrvEcomProxy proxy(std::make_unique<ScriptedLink>(script), 64);
        script->expect("$s#00").give(answer);
        std::string failure;
        try {
            const MemoryShortage shortage(0, Shortage::oneBlock);
            proxy.start();
        } catch (const std::exception& e) {
            failure = e.what();
        }
        EXPECT_TRUE(MemoryShortage::hasRefused());
        EXPECT_TRUE(failure == text || failure == std::bad_alloc().what()) << failure;
        script->expect("$S#00");
        EXPECT_EQ(failureText([&] { proxy.stop(); }), "invalid rsp response");
    }
}

namespace {
struct Counting {
    static int& calls() {
        static int count = 0;
        return count;
    }
    static void output(const std::string&) { ++calls(); }
};
} // namespace

TEST(MemoryShortage, ATraceTextThatCannotBeHandedOnIsLost) {
    {
        const auto display = std::make_unique<MPX_GDB_AGENT::GdbDisplay<Counting>>();
        *display << "a text that is longer than what a string holds without a block";
        const MemoryShortage shortage(0);
        display->~GdbDisplay();
        new (display.get()) MPX_GDB_AGENT::GdbDisplay<Counting>;
    }
    EXPECT_EQ(Counting::calls(), 1) << "the second one's only";
}
