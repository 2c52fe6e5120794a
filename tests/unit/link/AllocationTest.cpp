// A packet buffer without memory. The linker replaces the C library's functions with those here.

#include "link/PacketBuffer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

using MPX_GDB_AGENT::PacketBuffer;

namespace {

std::size_t largestGranted = std::numeric_limits<std::size_t>::max();

/// While it lives, blocks of more than `size` bytes are refused.
class Granting {
public:
    explicit Granting(std::size_t size) { largestGranted = size; }
    ~Granting() { largestGranted = std::numeric_limits<std::size_t>::max(); }
    Granting(const Granting&) = delete;
    Granting& operator=(const Granting&) = delete;
};

std::string_view unread(const PacketBuffer& buffer) {
    return {reinterpret_cast<const char*>(buffer.unread()), buffer.length};
}

} // namespace

extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return count * size > largestGranted ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* block, std::size_t size) {
    return size > largestGranted ? nullptr : __real_realloc(block, size);
}
}

TEST(PacketBufferWithoutMemory, HasNoCapacityWhenItCannotBeMade) {
    const Granting nothing(0);
    PacketBuffer buffer;
    EXPECT_FALSE(buffer.create(64));
    EXPECT_EQ(buffer.capacity, 0u);
    EXPECT_FALSE(buffer.appendByte('a'));
    EXPECT_FALSE(buffer.appendEscaped("a", 1));
    EXPECT_FALSE(buffer.appendChecksum(0));
    EXPECT_EQ(buffer.length, 0u);
}

TEST(PacketBufferWithoutMemory, KeepsWhatItHoldsWhenItCannotGrow) {
    PacketBuffer buffer;
    ASSERT_TRUE(buffer.create(4));
    ASSERT_TRUE(buffer.appendEscaped("ab", 2));
    const Granting little(10);
    EXPECT_FALSE(buffer.ensureSpace(100));
    EXPECT_FALSE(buffer.appendEscaped("0123456789", 10));
    EXPECT_EQ(unread(buffer), "ab");
    EXPECT_EQ(buffer.capacity, 4u);
    EXPECT_TRUE(buffer.appendByte('c'));
    EXPECT_EQ(unread(buffer), "abc");
}

TEST(PacketBufferWithoutMemory, TakesWhatItNeedsWhenThereIsNoMore) {
    PacketBuffer buffer;
    ASSERT_TRUE(buffer.create(64));
    ASSERT_TRUE(buffer.appendEscaped("ab", 2));
    // 2 bytes, 70 more and 1; and one past the capacity for the closing NUL.
    const Granting justThat(74);
    EXPECT_TRUE(buffer.ensureSpace(70));
    EXPECT_EQ(buffer.capacity, 73u);
    EXPECT_EQ(unread(buffer), "ab");
}

TEST(PacketBufferWithoutMemory, SizesThatTwiceWouldNotFitAreRefusedUnread) {
    PacketBuffer buffer;
    ASSERT_TRUE(buffer.create(4));
    EXPECT_FALSE(buffer.appendEscaped("a", 0x80000000u));
    EXPECT_FALSE(buffer.ensureSpace(0xFFFFFFFFu));
    EXPECT_EQ(buffer.length, 0u);
}
