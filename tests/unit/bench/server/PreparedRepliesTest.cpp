#include "bench/server/Service.h"
#include "bench/wiring/Wiring.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

// A service that makes data in advance answers every request with the same bytes as one that does not.

namespace bench {
namespace {

constexpr std::uint32_t blocks = 0x4000;
constexpr std::uint32_t mebi = 0x100000;
constexpr std::uint32_t delivery = Unit::defaultDelivery;

std::string u32(std::uint32_t value) {
    std::string text;
    for (unsigned index = 0; index < 4; ++index) {
        text += static_cast<char>((value >> (8 * index)) & 0xFF);
    }
    return text;
}

Bytes escapedRequest(const std::string& body) {
    ReplyWriter packet;
    packet.raw("$" + body.substr(0, 1));
    packet.bytes({reinterpret_cast<const std::uint8_t*>(body.data()) + 1, body.size() - 1});
    return packet.finish();
}

Scenario noisy() {
    Scenario scenario;
    scenario.wiring.jitter = 0.8; // wrong bits, at positions that follow from what was read before
    return scenario;
}

/// A unit with its service, at a time of its own.
class Side {
public:
    Bytes ask(const std::string& body) {
        RequestReader reader;
        reader.feed(escapedRequest(body));
        Bytes reply = service.answer(*reader.next());
        service.reuse(reply);
        return reply;
    }

    std::uint64_t now = 0;
    Scenario scenario = noisy();
    Unit unit{scenario, [this] { return now; }};
    std::mutex mutex;
    Service service{unit, mutex, 1};
};

class PreparedReplies : public testing::Test {
protected:
    /// Both sides answer alike. @return the size of the reply.
    std::size_t ask(const std::string& body) {
        while (preparing.service.prepare()) {
        }
        const Bytes reply = plain.ask(body);
        EXPECT_TRUE(preparing.ask(body) == reply) << "request " << body.front();
        return reply.size();
    }

    void pass(double seconds) {
        for (Side* side : {&plain, &preparing}) {
            side->now += static_cast<std::uint64_t>(seconds * 1e9);
        }
    }

    void write(std::uint32_t address, std::uint32_t value) {
        ask("M" + u32(1) + u32(reg::kindUnit) + u32(address) + u32(value));
    }

    /// A buffer that fills within a second of trace.
    void record(std::uint32_t size) {
        for (unsigned proc = 0; proc < 5; ++proc) {
            write(reg::procFirst(0, proc), reg::enableBit | receiverInputOfEmu(proc == 0 ? 0 : 5 - proc) << 8);
            write(reg::procSecond(0, proc), 0x7804);
        }
        ask("o" + u32(size) + u32(0));
        ask("s");
        write(reg::stmControl(0), reg::captureEnableBit);
        for (Side* side : {&plain, &preparing}) {
            side->unit.programTarget({"none", 0, side->scenario.kind, {0, 1, 2, 3, 4}});
        }
        pass(10.0);
    }

    Side plain;
    Side preparing;
};

TEST_F(PreparedReplies, OfAnUploadAreTheSame) {
    record(4 * delivery);
    EXPECT_GT(ask("?" + u32(0)), 8U) << "the unit has stopped by itself";
    ask("S");
    EXPECT_GT(ask("r" + u32(2 * delivery + 2 * mebi)), delivery);
    EXPECT_TRUE(preparing.service.prepare()) << "more is requested";
    EXPECT_GT(ask("?" + u32(0)), delivery);
    EXPECT_GT(ask("?" + u32(0)), mebi);
    EXPECT_FALSE(preparing.service.prepare()) << "no more is requested";
    ask("p" + u32(0) + u32(0) + u32(100) + std::string(100, '\0'));
    ask("r" + u32(2 * mebi));
    ask("?" + u32(0));
}

TEST_F(PreparedReplies, AreNoMoreThanADelivery) {
    record(4 * delivery);
    ask("S");
    ask("r" + u32(4 * delivery));
    while (preparing.service.prepare()) {
    }
    EXPECT_EQ(preparing.unit.bytesAhead(), delivery);
}

TEST_F(PreparedReplies, OfAPeekAndAStatusDoNotCountWhatIsPrepared) {
    record(4 * mebi);
    ask("S");
    ask("r" + u32(2 * mebi));
    ask("r" + u32(0));
    ask("p" + u32(0) + u32(0) + u32(blocks) + std::string(blocks, '\0'));
    ask("?" + u32(0));
}

TEST_F(PreparedReplies, AreDiscardedWithTheRecording) {
    for (const char* end : {"x", "O", "s"}) {
        record(4 * delivery);
        ask("S");
        ask("r" + u32(4 * delivery));
        ASSERT_TRUE(preparing.service.prepare()) << end;
        ask(end);
        EXPECT_EQ(preparing.unit.bytesAhead(), 0U) << end;
        ask("?" + u32(0));
    }
    record(2 * delivery);
    ask("S");
    ask("r" + u32(2 * delivery));
    EXPECT_GT(ask("?" + u32(0)), mebi) << "nothing of an earlier recording";
}

TEST_F(PreparedReplies, FollowRecordsThatWereInTheReplyBefore) {
    record(4 * delivery);
    ask("S");
    ask("r" + u32(4 * delivery));
    while (preparing.service.prepare()) {
    }
    std::array<Bytes, 2> replies;
    for (std::size_t index = 0; index < replies.size(); ++index) {
        ReplyWriter reply;
        reply.status(7);
        replies[index] = (index == 0 ? plain : preparing).service.answer({'?', {0, 0, 0, 0}}, std::move(reply));
    }
    EXPECT_GT(replies[0].size(), delivery);
    EXPECT_TRUE(replies[0] == replies[1]);
}

} // namespace
} // namespace bench
