#include "link/Escape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace MPX_GDB_AGENT;

namespace {

using Bytes = std::vector<std::uint8_t>;

// Byte by byte, as one would write it down first.
Bytes escapedSlowly(const Bytes& plain) {
    Bytes raw;
    for (const std::uint8_t byte : plain) {
        if (byte == '}' || byte == '#' || byte == '$' || byte == '*') {
            raw.push_back('}');
            raw.push_back(byte ^ 0x20);
        } else {
            raw.push_back(byte);
        }
    }
    return raw;
}

Bytes escaped(const Bytes& plain) {
    Bytes out(2 * plain.size(), 0xEE);
    out.resize(escapeBytes(plain, out.data()));
    return out;
}

struct Result {
    Bytes plain;
    std::size_t used;
};

// Storage is made to measure, so that a sanitizer sees each byte too many.
Result unescaped(const Bytes& raw, std::size_t wanted) {
    const Bytes in(raw.begin(), raw.end());
    Bytes out(wanted);
    const Unescaped done = unescapeBytes(in, out);
    out.resize(done.produced);
    return {out, done.used};
}

Result unescapedSlowly(const Bytes& raw, std::size_t wanted) {
    Result result{{}, 0};
    while (result.plain.size() < wanted && result.used < raw.size()) {
        if (raw[result.used] != '}') {
            result.plain.push_back(raw[result.used++]);
        } else if (result.used + 1 < raw.size()) {
            result.plain.push_back(raw[result.used + 1] ^ 0x20);
            result.used += 2;
        } else {
            break;
        }
    }
    return result;
}

Bytes randomBytes(std::mt19937& generator, std::size_t size, bool mostlySpecial) {
    static const std::uint8_t special[] = {'}', '#', '$', '*', ']', 0x03, 0x04, 0x0A, 0x00, 0xFF};
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) {
        const auto drawn = generator();
        byte = mostlySpecial ? special[drawn % std::size(special)] : static_cast<std::uint8_t>(drawn);
    }
    return bytes;
}

} // namespace

TEST(Escape, ExactlyFourBytesAreEscaped) {
    for (int value = 0; value < 256; ++value) {
        const bool special = value == 0x7D || value == 0x23 || value == 0x24 || value == 0x2A;
        EXPECT_EQ(needsEscape(static_cast<std::uint8_t>(value)), special) << value;
    }
}

TEST(Escape, SpecialBytesStandXored) {
    EXPECT_EQ(escaped({'}', '#', '$', '*'}), (Bytes{'}', ']', '}', 0x03, '}', 0x04, '}', 0x0A}));
    EXPECT_EQ(escaped({0x00, 0xFF, 'a', ']'}), (Bytes{0x00, 0xFF, 'a', ']'}));
}

TEST(Escape, EveryPositionInABlockIsTreatedAlike) {
    for (const std::uint8_t special : {std::uint8_t{'}'}, std::uint8_t{'#'}, std::uint8_t{'$'}, std::uint8_t{'*'}}) {
        for (std::size_t size = 1; size <= 50; ++size) {
            for (std::size_t at = 0; at < size; ++at) {
                Bytes plain(size, 'x');
                plain[at] = special;
                const Bytes raw = escaped(plain);
                ASSERT_EQ(raw, escapedSlowly(plain)) << size << " at " << at;
                const Result back = unescaped(raw, size);
                ASSERT_EQ(back.plain, plain) << size << " at " << at;
                ASSERT_EQ(back.used, raw.size());
            }
        }
    }
}

TEST(Escape, RandomBytesMatchTheByteByByteReference) {
    std::mt19937 generator(20240229);
    for (int round = 0; round < 4000; ++round) {
        const Bytes plain = randomBytes(generator, generator() % 300, round % 2 == 0);
        const Bytes raw = escaped(plain);
        ASSERT_EQ(raw, escapedSlowly(plain)) << "round " << round;
        ASSERT_EQ(unescaped(raw, plain.size()).plain, plain) << "round " << round;
    }
}

TEST(Escape, NothingIsWrittenBehindTheResult) {
    std::mt19937 generator(7);
    for (int round = 0; round < 2000; ++round) {
        const Bytes plain = randomBytes(generator, generator() % 100, round % 2 == 0);
        Bytes out(2 * plain.size(), 0xEE);
        const std::size_t written = escapeBytes(plain, out.data());
        ASSERT_TRUE(std::all_of(out.begin() + static_cast<std::ptrdiff_t>(written), out.end(),
                                [](std::uint8_t byte) { return byte == 0xEE; }))
            << "round " << round;
    }
}

TEST(Unescape, RandomBytesAndSizesMatchTheByteByByteReference) {
    std::mt19937 generator(4711);
    for (int round = 0; round < 8000; ++round) {
        const Bytes raw = randomBytes(generator, generator() % 200, round % 2 == 0);
        const std::size_t wanted = generator() % 220;
        const Result fast = unescaped(raw, wanted);
        const Result slow = unescapedSlowly(raw, wanted);
        ASSERT_EQ(fast.plain, slow.plain) << "round " << round;
        ASSERT_EQ(fast.used, slow.used) << "round " << round;
    }
}

TEST(Unescape, ALoneEscapeAtTheEndIsLeftThere) {
    const Result result = unescaped({'a', '}'}, 10);
    EXPECT_EQ(result.plain, Bytes{'a'});
    EXPECT_EQ(result.used, 1u);
}

TEST(Unescape, StopsWhereTheOutputIsFull) {
    const Result result = unescaped({'}', ']', '}', ']', 'x'}, 1);
    EXPECT_EQ(result.plain, Bytes{'}'});
    EXPECT_EQ(result.used, 2u);
}
