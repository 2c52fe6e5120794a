#include "link/Escape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <span>
#include <vector>

using namespace MPX_GDB_AGENT;

namespace {

using Bytes = std::vector<std::uint8_t>;

// The simple implementation, byte by byte.
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

// Storage has exactly the size needed, so that a sanitizer reports each byte beyond it.
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
    for (int round = 0; round < 4000 / ORV_RANDOM_SHARE; ++round) {
        const Bytes plain = randomBytes(generator, generator() % 300, round % 2 == 0);
        const Bytes raw = escaped(plain);
        ASSERT_EQ(raw, escapedSlowly(plain)) << "round " << round;
        ASSERT_EQ(unescaped(raw, plain.size()).plain, plain) << "round " << round;
    }
}

TEST(Escape, NothingIsWrittenPastTheResult) {
    std::mt19937 generator(7);
    for (int round = 0; round < 2000 / ORV_RANDOM_SHARE; ++round) {
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
    for (int round = 0; round < 8000 / ORV_RANDOM_SHARE; ++round) {
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

namespace {

enum class Mix { Random, AllSpecial, EscapesOnly, Sparse, Plain };

std::uint8_t drawn(std::mt19937& generator, Mix mix) {
    static const std::uint8_t special[] = {'}', '#', '$', '*'};
    const auto number = generator();
    switch (mix) {
    case Mix::AllSpecial:
        return special[number % std::size(special)];
    case Mix::EscapesOnly:
        return '}';
    case Mix::Sparse:
        return number % 512 == 0 ? special[number / 512 % std::size(special)] : std::uint8_t{'x'};
    case Mix::Plain:
        return static_cast<std::uint8_t>('a' + number % 26);
    case Mix::Random:
        break;
    }
    return static_cast<std::uint8_t>(number);
}

// Bytes that begin `shift` bytes after the start of the storage and end with it.
struct Shifted {
    Shifted(const Bytes& bytes, std::size_t shift) : storage(shift), at(shift) {
        storage.insert(storage.end(), bytes.begin(), bytes.end());
        storage.shrink_to_fit();
    }
    std::span<const std::uint8_t> span() const { return std::span(storage).subspan(at); }

    Bytes storage;
    std::size_t at;
};

void expectRoundTrip(const Bytes& plain, std::size_t fromShift, std::size_t toShift) {
    const Bytes raw = escapedSlowly(plain);
    const Shifted in(plain, fromShift);
    Bytes out(toShift + 2 * plain.size(), 0xEE);
    const std::size_t written = escapeBytes(in.span(), out.data() + toShift);
    const auto begin = out.begin() + static_cast<std::ptrdiff_t>(toShift);
    const auto end = begin + static_cast<std::ptrdiff_t>(written);
    ASSERT_EQ(Bytes(begin, end), raw);
    ASSERT_TRUE(std::all_of(out.begin(), begin, [](std::uint8_t byte) { return byte == 0xEE; }));
    ASSERT_TRUE(std::all_of(end, out.end(), [](std::uint8_t byte) { return byte == 0xEE; }));

    const Shifted escapedIn(raw, fromShift);
    Bytes back(toShift + plain.size(), 0xEE);
    const Unescaped done = unescapeBytes(escapedIn.span(), std::span(back).subspan(toShift));
    ASSERT_EQ(done.used, raw.size());
    ASSERT_EQ(done.produced, plain.size());
    ASSERT_TRUE(std::equal(plain.begin(), plain.end(), back.begin() + static_cast<std::ptrdiff_t>(toShift)));
}

} // namespace

TEST(Escape, EveryLengthOfEveryMixMatchesTheReference) {
    std::mt19937 generator(99);
    for (const Mix mix : {Mix::Random, Mix::AllSpecial, Mix::EscapesOnly, Mix::Sparse, Mix::Plain}) {
        for (std::size_t size = 0; size <= 300; ++size) {
            Bytes plain(size);
            std::generate(plain.begin(), plain.end(), [&] { return drawn(generator, mix); });
            ASSERT_NO_FATAL_FAILURE(expectRoundTrip(plain, 0, 0)) << size;
        }
    }
}

TEST(Escape, EveryAlignmentMatchesTheReference) {
    std::mt19937 generator(101);
    for (std::size_t fromShift = 0; fromShift < 17; ++fromShift) {
        for (std::size_t toShift = 0; toShift < 17; ++toShift) {
            Bytes plain(300 + generator() % 100);
            std::generate(plain.begin(), plain.end(), [&] { return drawn(generator, Mix::Random); });
            ASSERT_NO_FATAL_FAILURE(expectRoundTrip(plain, fromShift, toShift)) << fromShift << ' ' << toShift;
        }
    }
}

TEST(Escape, LongStretchesWithAndWithoutEscapesFollowEachOther) {
    std::mt19937 generator(103);
    for (int round = 0; round < 200 / ORV_RANDOM_SHARE; ++round) {
        Bytes plain;
        while (plain.size() < 20000) {
            const auto mix = static_cast<Mix>(generator() % 5);
            for (auto left = generator() % 2500; left != 0; --left) {
                plain.push_back(drawn(generator, mix));
            }
        }
        ASSERT_NO_FATAL_FAILURE(expectRoundTrip(plain, generator() % 16, generator() % 16)) << round;
    }
}

// No encoder writes an escape byte after an escape, but both implementations have to agree on it.
TEST(Unescape, EscapeBytesInARowMatchTheReferenceWhereverTheyStand) {
    for (std::size_t row = 1; row <= 70; ++row) {
        for (std::size_t at = 0; at < 140; ++at) {
            Bytes raw(300, 'x');
            std::fill_n(raw.begin() + static_cast<std::ptrdiff_t>(at), row, std::uint8_t{'}'});
            const Result fast = unescaped(raw, raw.size());
            const Result slow = unescapedSlowly(raw, raw.size());
            ASSERT_EQ(fast.plain, slow.plain) << row << " at " << at;
            ASSERT_EQ(fast.used, slow.used) << row << " at " << at;
        }
    }
}

TEST(Unescape, AnyBytesAndSizesMatchTheReferenceOverLongStretches) {
    std::mt19937 generator(107);
    for (int round = 0; round < 3000 / ORV_RANDOM_SHARE; ++round) {
        Bytes raw;
        while (raw.size() < 1500) {
            const auto mix = static_cast<Mix>(generator() % 5);
            for (auto left = generator() % 300; left != 0; --left) {
                raw.push_back(drawn(generator, mix));
            }
        }
        raw.resize(generator() % raw.size());
        const std::size_t wanted = generator() % 1600;
        const Result fast = unescaped(raw, wanted);
        const Result slow = unescapedSlowly(raw, wanted);
        ASSERT_EQ(fast.plain, slow.plain) << "round " << round;
        ASSERT_EQ(fast.used, slow.used) << "round " << round;
    }
}
