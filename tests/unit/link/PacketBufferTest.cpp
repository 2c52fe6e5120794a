#include "link/PacketBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

using namespace MPX_GDB_AGENT;

namespace {

// Of PacketBuffer::startsWith.
constexpr bool keep = false;
constexpr bool consume = true;

class PacketBufferTest : public ::testing::Test {
protected:
    PacketBufferTest() { EXPECT_TRUE(buffer.create(16)); }

    void append(const std::string& raw) {
        for (const char c : raw) {
            ASSERT_TRUE(buffer.appendByte(static_cast<std::uint8_t>(c)));
        }
    }

    std::string unread() const { return {reinterpret_cast<const char*>(buffer.unread()), buffer.length}; }

    bool zeroBehindData() const {
        const std::uint8_t* const end = buffer.storage + buffer.capacity;
        return std::all_of(buffer.unread() + buffer.length, end, [](std::uint8_t byte) { return byte == 0; });
    }

    std::string decode(std::uint32_t count, std::uint32_t expectedUsed) {
        std::string out(count, '?');
        std::uint32_t decoded = 0;
        EXPECT_EQ(buffer.decode(out.data(), count, decoded), expectedUsed);
        out.resize(decoded);
        return out;
    }

    PacketBuffer buffer;
};

} // namespace

TEST_F(PacketBufferTest, CreateGivesZeroedBytesOfTheSize) {
    EXPECT_EQ(buffer.capacity, 16u);
    EXPECT_EQ(buffer.offset, 0u);
    EXPECT_EQ(buffer.length, 0u);
    EXPECT_TRUE(zeroBehindData());
}

TEST_F(PacketBufferTest, CreateAgainForgetsWhatWasThere) {
    append("abc");
    ASSERT_TRUE(buffer.create(4));
    EXPECT_EQ(buffer.capacity, 4u);
    EXPECT_EQ(buffer.length, 0u);
    EXPECT_TRUE(zeroBehindData());
}

TEST_F(PacketBufferTest, ReserveWithStorageChangesNothingAndAnswersFalse) {
    append("abc");
    EXPECT_FALSE(buffer.reserve(0x100000));
    EXPECT_EQ(buffer.capacity, 16u);
    EXPECT_EQ(unread(), "abc");
}

TEST(PacketBuffer, ReserveWithoutStorageAllocates) {
    PacketBuffer buffer;
    EXPECT_TRUE(buffer.reserve(8));
    EXPECT_EQ(buffer.capacity, 8u);
}

TEST_F(PacketBufferTest, ClearZeroesTheWholeCapacity) {
    append("0123456789abcdef");
    buffer.startsWith("0", 1, consume);
    buffer.clear();
    EXPECT_EQ(buffer.offset, 0u);
    EXPECT_EQ(buffer.length, 0u);
    EXPECT_EQ(buffer.capacity, 16u);
    EXPECT_TRUE(zeroBehindData());
}

TEST(PacketBuffer, ClearWithoutStorageIsHarmless) {
    PacketBuffer buffer;
    buffer.clear();
    EXPECT_EQ(buffer.length, 0u);
}

TEST_F(PacketBufferTest, SpaceThatFitsAfterTheDataMovesNothing) {
    append("abcdef");
    buffer.startsWith("ab", 2, consume);
    ASSERT_TRUE(buffer.ensureSpace(10));
    EXPECT_EQ(buffer.offset, 2u);
    EXPECT_EQ(buffer.capacity, 16u);
}

TEST_F(PacketBufferTest, SpaceThatFitsOnlyWithoutTheOffsetMovesTheDataToTheStart) {
    append("abcdef");
    buffer.startsWith("ab", 2, consume);
    ASSERT_TRUE(buffer.ensureSpace(11));
    EXPECT_EQ(buffer.offset, 0u);
    EXPECT_EQ(buffer.capacity, 16u);
    EXPECT_EQ(unread(), "cdef");
    EXPECT_TRUE(zeroBehindData());
}

TEST_F(PacketBufferTest, SpaceBeyondTheRoomGivesTheCapacityOfDataCountAndOne) {
    append("abcdef");
    buffer.startsWith("ab", 2, consume);
    ASSERT_TRUE(buffer.ensureSpace(13));
    EXPECT_EQ(buffer.capacity, 4u + 13u + 1u);
    EXPECT_EQ(buffer.offset, 0u);
    EXPECT_EQ(unread(), "cdef");
    EXPECT_TRUE(zeroBehindData());
    // The block is larger than the capacity by now; the capacity follows the same rule anyway.
    append(std::string(14, 'x'));
    buffer.startsWith("cde", 3, consume);
    ASSERT_TRUE(buffer.ensureSpace(4));
    EXPECT_EQ(buffer.capacity, 15u + 4u + 1u);
    EXPECT_EQ(buffer.offset, 0u);
    EXPECT_EQ(unread(), "fxxxxxxxxxxxxxx");
    EXPECT_TRUE(zeroBehindData());
}

TEST_F(PacketBufferTest, GrowingStepByStepKeepsAllBytesAndZeroesTheRest) {
    std::string all;
    for (int i = 0; i < 2000; ++i) {
        const std::string part(static_cast<std::size_t>(i % 37), static_cast<char>('a' + i % 26));
        append(part);
        all += part;
        ASSERT_TRUE(buffer.ensureSpace(static_cast<std::uint32_t>(i % 91)));
        ASSERT_LE(buffer.offset + buffer.length, buffer.capacity);
        ASSERT_TRUE(zeroBehindData()) << i;
        if (i % 11 == 0) {
            buffer.startsWith(all.data(), 5, consume);
            all.erase(0, 5);
        }
    }
    EXPECT_EQ(unread(), all);
}

TEST_F(PacketBufferTest, SpaceThatNoCapacityCanHoldIsRefusedAndLeavesTheContents) {
    append("abc");
    EXPECT_FALSE(buffer.ensureSpace(0xFFFFFFFF));
    EXPECT_FALSE(buffer.ensureSpace(0xFFFFFFFC));
    const std::uint8_t byte = 0;
    EXPECT_FALSE(buffer.appendEscaped(&byte, 0x80000000));
    EXPECT_EQ(unread(), "abc");
    EXPECT_EQ(buffer.capacity, 16u);
}

TEST_F(PacketBufferTest, RawBytesAreStoredUnescaped) {
    append("$}#*");
    EXPECT_EQ(unread(), "$}#*");
}

TEST_F(PacketBufferTest, EscapedAppendOfNothingChangesNothing) {
    append("0123456789abcdef");
    EXPECT_TRUE(buffer.appendEscaped(nullptr, 0));
    EXPECT_EQ(unread(), "0123456789abcdef");
    EXPECT_EQ(buffer.capacity, 16u);
}

TEST_F(PacketBufferTest, EscapedAppendMakesRoomForTwiceTheCount) {
    EXPECT_TRUE(buffer.appendEscaped("abcdefghi", 9));
    EXPECT_EQ(buffer.capacity, 19u);
    EXPECT_EQ(unread(), "abcdefghi");
}

TEST_F(PacketBufferTest, EscapeBytesAloneDoubleOnTheWireAndDecodeBack) {
    const std::string plain(100, '}');
    ASSERT_TRUE(buffer.appendEscaped(plain.data(), 100));
    std::string doubled;
    for (int i = 0; i < 100; ++i) {
        doubled += "}]";
    }
    EXPECT_EQ(unread(), doubled);
    EXPECT_EQ(decode(100, 200), plain);
    EXPECT_EQ(buffer.length, 0u);
    EXPECT_EQ(buffer.offset, 0u);
}

TEST_F(PacketBufferTest, ChecksumIsTwoLowerCaseDigitsHighFirst) {
    ASSERT_TRUE(buffer.appendChecksum(0xA7));
    ASSERT_TRUE(buffer.appendChecksum(0));
    EXPECT_EQ(unread(), "a700");
}

TEST_F(PacketBufferTest, StartsWithComparesAndConsumesOnlyAMatch) {
    append("$cbxyz");
    EXPECT_TRUE(buffer.startsWith("$cb", 3, keep));
    EXPECT_EQ(unread(), "$cbxyz");
    EXPECT_FALSE(buffer.startsWith("$OK", 3, consume));
    EXPECT_EQ(unread(), "$cbxyz");
    EXPECT_TRUE(buffer.startsWith("$cb", 3, consume));
    EXPECT_EQ(unread(), "xyz");
    EXPECT_EQ(buffer.offset, 3u);
    EXPECT_FALSE(buffer.startsWith("xyz1", 4, consume)) << "fewer bytes than asked for";
}

TEST_F(PacketBufferTest, FindByteGivesTheFirstUnreadOne) {
    append("#a#b#");
    std::uint32_t index = 99;
    EXPECT_TRUE(buffer.findByte('#', index));
    EXPECT_EQ(index, 0u);
    buffer.startsWith("#", 1, consume);
    EXPECT_TRUE(buffer.findByte('#', index));
    EXPECT_EQ(index, 1u);
    EXPECT_TRUE(buffer.findByte('#', index, 2));
    EXPECT_EQ(index, 3u);
    EXPECT_FALSE(buffer.findByte('#', index, 4));
    EXPECT_FALSE(buffer.findByte('#', index, 400));
    EXPECT_FALSE(buffer.findByte('z', index));
    EXPECT_EQ(index, 3u);
}

TEST_F(PacketBufferTest, PeekAtTheLengthReadsTheBytePastTheData) {
    append("abc");
    buffer.startsWith("a", 1, consume);
    std::uint8_t value = 1;
    EXPECT_TRUE(buffer.peekByte(1, value));
    EXPECT_EQ(value, 'c');
    EXPECT_TRUE(buffer.peekByte(2, value));
    EXPECT_EQ(value, 0);
    value = 1;
    EXPECT_FALSE(buffer.peekByte(3, value));
    EXPECT_EQ(value, 1);
}

TEST_F(PacketBufferTest, PeekPastAFullStorageStaysInsideTheBlock) {
    append("0123456789abcdef");
    ASSERT_EQ(buffer.length, buffer.capacity);
    std::uint8_t value = 1;
    EXPECT_TRUE(buffer.peekByte(16, value));
    EXPECT_EQ(value, 0);
    buffer.terminate();
    EXPECT_EQ(unread(), "0123456789abcdef");
}

TEST(PacketBuffer, PeekWithoutStorageIsRefused) {
    PacketBuffer buffer;
    std::uint8_t value = 1;
    EXPECT_FALSE(buffer.peekByte(0, value));
    buffer.terminate();
    EXPECT_EQ(buffer.storage, nullptr);
}

TEST_F(PacketBufferTest, DropMovesTheRestToTheStartAndZeroesTheTail) {
    append("0123456789");
    buffer.startsWith("01", 2, consume);
    buffer.drop(3);
    EXPECT_EQ(unread(), "56789");
    EXPECT_EQ(buffer.offset, 0u);
    EXPECT_TRUE(zeroBehindData());
}

TEST_F(PacketBufferTest, DroppingMoreThanThereIsEmptiesTheBuffer) {
    append("0123");
    buffer.startsWith("0", 1, consume);
    buffer.drop(50);
    EXPECT_EQ(buffer.length, 0u);
    EXPECT_EQ(buffer.offset, 0u);
}

TEST_F(PacketBufferTest, DroppingNothingStillMovesToTheStart) {
    append("0123");
    buffer.startsWith("0", 1, consume);
    buffer.drop(0);
    EXPECT_EQ(unread(), "123");
    EXPECT_EQ(buffer.offset, 0u);
}

TEST_F(PacketBufferTest, DecodeTakesTheRawBytesItUsed) {
    append("ab}\x03"
           "c#00");
    EXPECT_EQ(decode(3, 4), "ab#");
    EXPECT_EQ(buffer.offset, 4u);
    EXPECT_EQ(unread(), "c#00");
}

TEST_F(PacketBufferTest, DecodeOfTooManyGivesWhatThereIs) {
    append("ab");
    EXPECT_EQ(decode(5, 2), "ab");
    EXPECT_EQ(buffer.length, 0u);
    EXPECT_EQ(buffer.offset, 0u);
    EXPECT_EQ(decode(5, 0), "");
}

TEST_F(PacketBufferTest, ALastEscapeByteCombinesWithTheNulPastTheData) {
    append("a}");
    buffer.terminate();
    EXPECT_EQ(decode(5, 2), "a ");
    EXPECT_EQ(buffer.length, 0u);
    EXPECT_EQ(buffer.offset, 0u);
}

TEST_F(PacketBufferTest, ALastEscapeByteInAFullStorageReadsNothingBeyondTheBlock) {
    append("0123456789abcde}");
    ASSERT_EQ(buffer.length, buffer.capacity);
    EXPECT_EQ(decode(20, 16), "0123456789abcde ");
    EXPECT_EQ(buffer.length, 0u);
}

TEST_F(PacketBufferTest, DecodeOfNothingUsesNothing) {
    append("}");
    EXPECT_EQ(decode(0, 0), "");
    EXPECT_EQ(unread(), "}");
}
