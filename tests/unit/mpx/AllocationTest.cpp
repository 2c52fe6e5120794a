// Memory that cannot be had. The program has an allocator that refuses blocks of the sizes a test names.

#include "link/GdbTcpipIo.h"
#include "mpx/MpxEcomServer/Scratch.h"
#include "tests/support/allocation/MemoryShortage.h"
#include "tests/support/scripted_server/ScriptedServer.h"
#include "tests/unit/mpx/ProxyOverScript.h"

#include <new>

using test_support::RefusedSizes;

namespace {
class ProxyAllocation : public ProxyOverScript {};
} // namespace

TEST_F(ProxyAllocation, ARecordThatFindsNoMemoryAndTheNextOneThatDoes) {
    openChannel();
    const std::string payload(100001, 'x');
    const std::string tail = "$cb" + frames::word(7778) + frames::word(100001);
    {
        const std::string raw = frames::reply({}, frames::dataRecord(payload));
        const RefusedSizes refusing(100008, 100008); // rounded up to a multiple of 8
        EXPECT_EQ(startAnswered(raw), "internal error allocating buffer");
        EXPECT_TRUE(refusing.hasRefused());
    }
    // The payload is still there and in the way of everything, so the same server cannot be talked to any more.
    script->expect("$S#00");
    EXPECT_EQ(failureOf([this] { proxy->stop(); }), "invalid rsp response");
}

TEST_F(ProxyAllocation, TheSecondTextOfARecordThatFindsNoMemory) {
    openChannel();
    const RefusedSizes refusing(50008, 50008); // with its NUL, rounded up
    EXPECT_EQ(startAnswered(frames::reply({}, frames::errorRecord(1, "first", std::string(50001, 'x')))),
              "internal error allocating buffer");
    EXPECT_TRUE(refusing.hasRefused());
    EXPECT_TRUE(callback.calls.empty());
}

TEST_F(ProxyAllocation, ASizeThatIsOnlyClaimedCostsNoMemory) {
    openChannel();
    const RefusedSizes refusing(0x100000, static_cast<std::size_t>(-1));
    for (const std::uint32_t size : {0xFFFFFFFFu, 0x7FFFFFFFu, 0x100000u}) {
        EXPECT_EQ(startAnswered("$cb" + frames::word(7778) + frames::word(size) + "#00"),
                  "invalid rsp callback responseinvalid rsp response");
        EXPECT_EQ(startAnswered("$cb" + frames::word(7779) + frames::word(1) + frames::word(size) + "#00"),
                  "invalid rsp callback responseinvalid rsp response");
    }
    EXPECT_FALSE(refusing.hasRefused());
}

TEST(Scratch, AFailedGrowthLeavesNoStorageAndTheNextSucceeds) {
    VX_QRS::ORV::Scratch scratch;
    scratch.ensure(10);
    EXPECT_EQ(scratch.size(), 10u);
    {
        const RefusedSizes refusing(5000, 6000);
        EXPECT_THROW(scratch.ensure(5001), std::runtime_error);
        EXPECT_TRUE(refusing.hasRefused());
    }
    EXPECT_EQ(scratch.size(), 0u);
    EXPECT_EQ(scratch.data(), nullptr);
    scratch.ensure(5001);
    EXPECT_EQ(scratch.size(), 5001u);
    scratch.data()[5000] = 1;
}

TEST(Scratch, BlocksAreRoundedUpToAMultipleOfEightAndTheSizeIsNot) {
    for (const std::size_t needed : {4001u, 4007u, 4008u}) {
        VX_QRS::ORV::Scratch scratch;
        const RefusedSizes refusing(4008, 4008);
        EXPECT_THROW(scratch.ensure(needed), std::runtime_error) << needed;
    }
    for (const std::size_t needed : {4000u, 4009u}) {
        VX_QRS::ORV::Scratch scratch;
        const RefusedSizes refusing(4001, 4015);
        scratch.ensure(needed);
        EXPECT_EQ(scratch.size(), needed);
        EXPECT_FALSE(refusing.hasRefused());
    }
}

TEST(Scratch, ASmallerNeedKeepsTheBlock) {
    VX_QRS::ORV::Scratch scratch;
    scratch.ensure(0);
    EXPECT_EQ(scratch.size(), 0u);
    scratch.ensure(100);
    const std::uint8_t* const before = scratch.data();
    scratch.ensure(100);
    scratch.ensure(7);
    EXPECT_EQ(scratch.data(), before);
    EXPECT_EQ(scratch.size(), 100u);
}

TEST(Scratch, SizesBeyondThirtyTwoBitsAreRefused) {
    VX_QRS::ORV::Scratch scratch;
    EXPECT_THROW(scratch.ensure(0x100000000u), std::runtime_error);
    EXPECT_EQ(scratch.size(), 0u);
}

TEST(GdbTcpipIoAllocation, AListenerThatWasNeverCreated) {
    std::unique_ptr<MPX_GDB_AGENT::GdbTcpipIo> io;
    {
        const RefusedSizes refusing(sizeof(VX_QRS::uSocket), sizeof(VX_QRS::uSocket));
        io = std::make_unique<MPX_GDB_AGENT::GdbTcpipIo>(1);
        EXPECT_EQ(io->connectTo("127.0.0.1"), MPX_GDB_AGENT::IoFailed);
    }
    EXPECT_EQ(io->listenOn(), 1u);
    EXPECT_EQ(io->acceptClient(0), MPX_GDB_AGENT::IoTimeout);
    EXPECT_EQ(io->stopListening(), MPX_GDB_AGENT::IoOk);
}

TEST(EcomProxyAllocation, MemoryThatEndsDuringConstructionLeavesNoServer) {
    ScriptedServer server;
    server.hang();
    server.arm();
    // Blocks of the link's size are refused one after the other, until it is the link's own turn.
    constexpr std::size_t size = sizeof(MPX_GDB_AGENT::GdbTcpipIo);
    VX_QRS::uSocket probe;
    ASSERT_EQ(probe.listen(0), VX_QRS::uSocket::done);
    const std::uint32_t port = probe.localPort();
    probe.close();
    std::string text;
    for (int spare = 0; spare < 200 && text != "failed to create io"; ++spare) {
        const RefusedSizes refusing(size, size, spare);
        try {
            VX_QRS::ORV::OrvEcomProxy proxy(port, 65536);
            break;
        } catch (const std::exception& e) {
            text = e.what();
        }
        ASSERT_TRUE(refusing.hasRefused()) << text;
    }
    EXPECT_EQ(text, "failed to create io");
    EXPECT_TRUE(server.allEnded());
}

TEST(EcomProxyAllocation, MemoryThatEndsBehindTheVersionCheckLeavesNoServerEither) {
    // Of the blocks of the size of the timer's one entry each is refused in turn; the last of them is that entry.
    constexpr std::size_t size = 32;
    VX_QRS::uSocket probe;
    ASSERT_EQ(probe.listen(0), VX_QRS::uSocket::done);
    const std::uint32_t port = probe.localPort();
    probe.close();
    ScriptedServer server;
    server.greet().hang();
    server.arm();
    std::string last;
    bool done = false;
    for (int spare = 0; spare < 100 && !done;) {
        std::unique_ptr<VX_QRS::ORV::OrvEcomProxy> proxy;
        std::string text;
        bool refused = false;
        {
            const RefusedSizes refusing(size, size, spare);
            try {
                proxy = std::make_unique<VX_QRS::ORV::OrvEcomProxy>(port, 65536);
            } catch (const std::exception& e) {
                text = e.what();
            }
            refused = refusing.hasRefused();
        }
        done = proxy != nullptr && !refused;
        if (text == "failed to connect to server") {
            continue; // the machine was slow to start it
        }
        if (proxy == nullptr) {
            EXPECT_TRUE(server.allEnded()) << "spare " << spare;
            last = text;
        }
        ++spare;
    }
    EXPECT_TRUE(done);
    EXPECT_EQ(last, std::bad_alloc().what());
}
