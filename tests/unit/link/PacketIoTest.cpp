#include "link/GdbDisplay.h"
#include "link/HexDigit.h"
#include "link/PacketIo.h"
#include "tests/support/scripted_server/ScriptedLink.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace MPX_GDB_AGENT;

namespace {

// Of PacketBuffer::startsWith.

class PacketIoTest : public ::testing::Test {
protected:
    PacketIoTest() { EXPECT_TRUE(buffer.create(9)); }
    ~PacketIoTest() override { script->verify(); }

    std::string unread() const { return {reinterpret_cast<const char*>(buffer.unread()), buffer.length}; }

    std::shared_ptr<LinkScript> script = std::make_shared<LinkScript>();
    ScriptedLink link{script};
    PacketBuffer buffer;
};

std::string described(const std::string& text, std::size_t limit) {
    return describePacket("<<<< ", {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, limit);
}

} // namespace

TEST_F(PacketIoTest, WritingGoesOnUntilAllBytesAreOut) {
    script->expect("$m0123456789#00");
    buffer.appendEscaped("x", 1);
    buffer.clear();
    for (const char c : std::string("$m0123456789#00")) {
        buffer.appendByte(static_cast<std::uint8_t>(c));
    }
    EXPECT_EQ(writePacket(link, buffer), IoOk);
    EXPECT_EQ(unread(), "$m0123456789#00") << "the packet is kept";
}

TEST_F(PacketIoTest, WritingStopsAtTheFirstFailure) {
    script->writeGives(IoFailed);
    buffer.appendByte('x');
    EXPECT_EQ(writePacket(link, buffer), IoFailed);
}

TEST_F(PacketIoTest, WritingAFullBufferKeepsToItsStorage) {
    ASSERT_TRUE(buffer.create(3));
    for (const char c : {'a', 'b', 'c'}) {
        ASSERT_TRUE(buffer.appendByte(static_cast<std::uint8_t>(c)));
    }
    ASSERT_EQ(buffer.capacity, 3u);
    script->expect("abc");
    EXPECT_EQ(writePacket(link, buffer), IoOk);
}

TEST_F(PacketIoTest, ReadingTakesAtMostAChunkAndAppendsANul) {
    script->give("0123456789");
    EXPECT_EQ(readPacket(link, buffer, 8, 1000), IoOk);
    EXPECT_EQ(unread(), "01234567");
    EXPECT_EQ(buffer.unread()[8], 0);
    EXPECT_EQ(buffer.capacity, 9u);
    EXPECT_EQ(readPacket(link, buffer, 8, 1000), IoOk);
    EXPECT_EQ(unread(), "0123456789");
    EXPECT_EQ(buffer.unread()[10], 0);
    EXPECT_EQ(buffer.capacity, 8u + 9u + 1u);
}

TEST_F(PacketIoTest, TheNulOverwritesBytesOfAnEarlierPacket) {
    const auto leaveOldBytes = [this] {
        buffer.clear();
        for (const char c : std::string("01234567")) {
            buffer.appendByte(static_cast<std::uint8_t>(c));
        }
        buffer.drop(8);
        ASSERT_EQ(buffer.storage[2], '2') << "emptying the buffer leaves its bytes";
    };
    leaveOldBytes();
    script->give("ab");
    EXPECT_EQ(readPacket(link, buffer, 8, 1000), IoOk);
    EXPECT_EQ(unread(), "ab");
    EXPECT_EQ(buffer.unread()[2], 0);

    leaveOldBytes();
    for (const char c : {'x', 'y'}) {
        buffer.appendByte(static_cast<std::uint8_t>(c));
    }
    script->expect("xy");
    EXPECT_EQ(writePacket(link, buffer), IoOk);
    EXPECT_EQ(buffer.unread()[2], 0);
}

TEST_F(PacketIoTest, TwoRepliesInOneReadLeaveTheSecondAtTheStart) {
    script->give("$OK#00$OK}\x03#00");
    EXPECT_EQ(readPacket(link, buffer, 100, 1000), IoOk);
    EXPECT_TRUE(buffer.startsWith("$OK", 3, /*consume=*/true));
    buffer.drop(3);
    EXPECT_EQ(buffer.offset, 0u);
    EXPECT_EQ(unread(), "$OK}\x03#00");
}

TEST_F(PacketIoTest, AQuietLinkGivesTheTimeOutOfTheWait) {
    script->quiet(1);
    EXPECT_EQ(readPacket(link, buffer, 8, 1), IoTimeout);
    EXPECT_EQ(buffer.length, 0u);
}

TEST_F(PacketIoTest, FailuresOfWaitAndReadAreHandedOn) {
    script->waitGives(IoNotConnected).readGives(IoFailed).hangUp();
    EXPECT_EQ(readPacket(link, buffer, 8, 1), IoNotConnected);
    EXPECT_EQ(readPacket(link, buffer, 8, 1), IoFailed);
    EXPECT_EQ(readPacket(link, buffer, 8, 1), IoDisconnected);
    EXPECT_EQ(buffer.length, 0u);
}

TEST_F(PacketIoTest, AChunkSizeOfZeroReadsNothing) {
    EXPECT_EQ(readPacket(link, buffer, 0, 1000), IoOk);
    EXPECT_EQ(buffer.length, 0u);
}

TEST_F(PacketIoTest, ABufferThatCannotGrowReadsNothingAndIsNoFailure) {
    buffer.appendByte('x');
    EXPECT_EQ(readPacket(link, buffer, 0xFFFFFFFE, 1000), IoOk);
    EXPECT_EQ(unread(), "x");
}

TEST(DescribePacket, PrintableBytesStandAndOthersAreTwoDigits) {
    EXPECT_EQ(described("$m~ \x01\x1f\x7f\xff#00", 200), "<<<< $m~ 011f7fff#00\n");
    EXPECT_EQ(described("", 200), "<<<< \n");
}

TEST(DescribePacket, BeyondTheLimitDotsFollow) {
    EXPECT_EQ(described("abcd", 4), "<<<< abcd\n");
    EXPECT_EQ(described("abcde", 4), "<<<< abcd...\n");
}

TEST(HexDigit, SixteenValuesHaveADigitAndOthersGiveZero) {
    const std::string digits = "0123456789abcdef";
    for (int value = 0; value < 16; ++value) {
        EXPECT_EQ(hexDigit(value), digits[static_cast<std::size_t>(value)]);
    }
    EXPECT_EQ(hexDigit(16), 0);
    EXPECT_EQ(hexDigit(255), 0);
    EXPECT_EQ(hexDigit(-1), 0);
}

namespace {
struct Collecting {
    static std::vector<std::string>& texts() {
        static std::vector<std::string> all;
        return all;
    }
    static void output(const std::string& text) { texts().push_back(text); }
};
} // namespace

TEST(GdbDisplay, TextReachesThePolicyOnceAtTheEnd) {
    Collecting::texts().clear();
    {
        GdbDisplay<Collecting> display;
        display << "Internal error: " << 16;
        display << '\n';
        EXPECT_TRUE(Collecting::texts().empty());
    }
    EXPECT_EQ(Collecting::texts(), std::vector<std::string>{"Internal error: 16\n"});
}

TEST(GdbDisplay, PacketsAreBelowTheTracesVerbosity) {
    EXPECT_EQ(traceVerbosity(), 2);
    EXPECT_STREQ(Output2Client::fileName, "vx_gdb_adapter.log");
}
