#include "tests/unit/client/patterns/PatternSupport.h"

#include <cstdio>
#include <map>
#include <stdexcept>

// Verification against a second, slow one: patterns as lists, one flat pass over the bytes, nothing shared with the
// product. Files are drawn at random, with faults of every kind.

namespace pattern_test {

namespace {

/// Name and pins to the sequence.
const std::map<std::pair<std::string, std::uint32_t>, Words>& sequences() {
    static const std::map<std::pair<std::string, std::uint32_t>, Words> all{
        {{"f0", 1}, {0x5555}},
        {{"f0", 2}, {0x3333}},
        {{"f0", 4}, {0x0F0F}},
        {{"a5", 1}, {0x5555}},
        {{"a5", 2}, {0x6666}},
        {{"a5", 4}, {0x5A5A}},
        {{"ff0", 1}, {0x0FF0, 0xFF0F, 0xF0FF}},
        {{"ff0", 4}, {0x0FF0, 0xFF0F, 0xF0FF}},
        {{"ramp0", 1}, {0x5555}},
        {{"ramp0", 2}, {0x1B1B}},
        {{"ramp0", 4}, {0x0123, 0x4567, 0x89AB, 0xCDEF}},
        {{"ramp1", 1}, {0xAAAA}},
        {{"ramp1", 2}, {0x6C6C}},
        {{"ramp1", 4}, {0x1234, 0x5678, 0x9ABC, 0xDEF0}},
        {{"walk", 1}, {0x5555}},
        {{"walk", 2}, {0x1861, 0x8618, 0x6186}},
        {{"walk", 4}, {0x0124, 0x8012, 0x4801, 0x2480, 0x1248}},
        {{"none", 4}, {}},
    };
    return all;
}

class SlowVerification {
public:
    SlowVerification(const Words& pattern, const std::vector<std::uint8_t>& file) : sequence(pattern), bytes(file) {}

    Outcome run(std::uint64_t first, std::uint64_t wanted) {
        Outcome o;
        o.tracePackets = o.otherPackets = 0;
        const bool tenBit = isTenBit();
        std::uint64_t available = 0;
        while ((first + available + 1) * 512 <= bytes.size()) {
            ++available;
        }
        if (wanted > available) {
            o.status = eVALUE;
            o.text = "invalid verification file size";
            return o;
        }
        for (std::uint64_t k = 0; k < (wanted == 0 ? available : wanted); ++k) {
            const std::uint64_t packet = first + k;
            const unsigned type = word(packet, 255) & 0xF800u;
            if (tenBit && type == 0x1000) {
                ++o.otherPackets;
                continue;
            }
            if (tenBit && type != 0x0800) {
                if (errorCount < 11) {
                    invalid.push_back(packet);
                }
                continue;
            }
            pairs.clear();
            if (tenBit) {
                checkTenBit(packet);
            } else {
                checkPlain(packet);
            }
            if (!pairs.empty()) {
                errors.push_back({packet, pairs});
            }
            ++o.tracePackets;
        }
        if (errorCount != 0 || !invalid.empty()) {
            o.status = eVALUE;
            o.text = compose();
            return o;
        }
        o.dataWords = dataWords;
        o.syncWords = syncWords;
        o.zeroWords = zeroWords;
        return o;
    }

private:
    using Pair = std::pair<unsigned, unsigned>;

    unsigned word(std::uint64_t packet, unsigned index) const {
        const std::size_t at = packet * 512 + 2 * index;
        return bytes.at(at) + 256u * bytes.at(at + 1);
    }

    bool isTenBit() const {
        const std::uint64_t n = bytes.size() / 512;
        std::uint64_t like = 0;
        for (std::uint64_t k = 1; k + 1 <= n; ++k) {
            const std::size_t at = 512 * k - 2;
            const unsigned w = bytes.at(at) + 256u * bytes.at(at + 1);
            if ((w & 0xF800u) == 0x0800 || (w & 0xF800u) == 0x1000) {
                ++like;
            }
        }
        return like > n / 2;
    }

    bool check(unsigned previous, unsigned current) {
        if (sequence.empty()) {
            return false;
        }
        unsigned expected = 0;
        bool bad = true;
        for (std::size_t i = 0; i < sequence.size(); ++i) {
            if (sequence[i] == previous) {
                expected = sequence[(i + 1) % sequence.size()];
                bad = false;
            }
        }
        if (current != expected) {
            bad = true;
        }
        if (!synced) {
            bad = false;
        }
        if (bad) {
            synced = false;
            return true;
        }
        synced = true;
        return false;
    }

    void error(unsigned index, unsigned w) {
        ++errorCount;
        if (errorCount <= 10) {
            pairs.emplace_back(index, w);
        }
    }

    void checkTenBit(std::uint64_t packet) {
        for (unsigned i = 0; i <= 254; ++i) {
            const unsigned w = word(packet, i);
            if (w == 0) {
                if (mode == 0) {
                    zeroRun = 1;
                } else if (mode == 1) {
                    zeroRun = zeroRun + 1;
                } else {
                    error(i, w);
                }
                zeroWords = zeroWords + 1;
                mode = 1;
            } else if (w != 0x0FF0) {
                if (mode != 2) {
                    if (last != 0 && check(last, w)) {
                        error(i, w);
                    }
                    dataWords = dataWords + 1;
                    last = w;
                }
                mode = 0;
                zeroRun = 0;
            } else if (mode == 2) {
                error(i, w);
            } else if (mode == 1 && zeroRun >= 5) {
                mode = 2;
                syncWords = syncWords + 7;
                if (zeroWords >= 5) {
                    zeroWords = zeroWords - 5;
                }
            } else {
                if (check(last, w)) {
                    error(i, w);
                }
                dataWords = dataWords + 1;
                last = w;
                mode = 0;
                zeroRun = 0;
            }
        }
        if (word(packet, 255) % 256 < 255) {
            zeroRun = 0;
        }
    }

    void checkPlain(std::uint64_t packet) {
        for (unsigned i = 0; i <= 255; ++i) {
            const unsigned w = word(packet, i);
            if (check(last, w)) {
                error(i, w);
            }
            dataWords = dataWords + 1;
            last = w;
            mode = 0;
            zeroRun = 0;
        }
    }

    std::string compose() const {
        std::string text = "failed to verify pattern";
        char part[64];
        int items = 0;
        for (const auto& [packet, wrong] : errors) {
            if (items >= 5) {
                return text;
            }
            std::snprintf(part, sizeof part, " : data errors in packet %u", static_cast<unsigned>(packet));
            text += part;
            for (const auto& [index, w] : wrong) {
                std::snprintf(part, sizeof part, ", [%03u]=0x%04x", index, w);
                text += part;
                ++items;
            }
        }
        bool titled = false;
        for (const std::uint64_t packet : invalid) {
            if (items >= 5) {
                return text;
            }
            if (!titled) {
                text += " : invalid packet types";
            }
            titled = true;
            text += ", " + std::to_string(packet);
            ++items;
        }
        return text;
    }

    const Words& sequence;
    const std::vector<std::uint8_t>& bytes;
    unsigned mode = 0, zeroRun = 0, dataWords = 0, syncWords = 0, zeroWords = 0, last = 0;
    bool synced = false;
    unsigned errorCount = 0;
    std::vector<Pair> pairs;
    std::vector<std::pair<std::uint64_t, std::vector<Pair>>> errors;
    std::vector<std::uint64_t> invalid;
};

class Draw {
public:
    explicit Draw(std::uint32_t seed) : engine(seed) {}
    std::uint32_t below(std::uint32_t n) { return static_cast<std::uint32_t>(std::uint64_t{engine()} % n); }
    bool oneIn(std::uint32_t n) { return below(n) == 0; }

private:
    std::mt19937 engine;
};

/// A stream of the pattern with synchronisation sequences and, at the given rate, faults; framed in some way.
std::vector<std::uint8_t> drawFile(Draw& draw, const Words& sequence, std::uint32_t packets) {
    const bool tenBit = !draw.oneIn(3);
    const std::uint32_t faultRate = draw.oneIn(3) ? 0xFFFFFFFF : 20 + draw.below(3000);
    const std::uint32_t syncRate = 10 + draw.below(400);
    const std::uint32_t trailerRate = draw.oneIn(2) ? 0xFFFFFFFF : 2 + draw.below(8);
    std::vector<std::uint8_t> bytes;
    std::vector<unsigned> queue;
    std::size_t phase = draw.below(60);
    const auto nextWord = [&]() -> unsigned {
        if (queue.empty()) {
            if (tenBit && draw.oneIn(syncRate)) {
                queue.assign(draw.oneIn(4) ? 3 + draw.below(6) : 5, 0u);
                queue.push_back(0x0FF0);
                queue.push_back(draw.oneIn(6) ? (draw.oneIn(2) ? 0u : 0x0FF0u) : draw.below(0x10000));
            } else {
                queue.push_back(sequence.empty() ? draw.below(0x10000) : sequence[phase++ % sequence.size()]);
            }
        }
        unsigned w = queue.front();
        queue.erase(queue.begin());
        if (draw.oneIn(faultRate)) {
            switch (draw.below(4)) {
            case 0:
                w ^= 1u << draw.below(16);
                break;
            case 1:
                w = 0;
                break;
            case 2:
                w = 0x0FF0;
                break;
            default:
                phase += 1;
            }
        }
        return w;
    };
    for (std::uint32_t p = 0; p < packets; ++p) {
        for (int i = 0; i < 255; ++i) {
            const unsigned w = nextWord();
            bytes.push_back(static_cast<std::uint8_t>(w % 256));
            bytes.push_back(static_cast<std::uint8_t>(w / 256));
        }
        unsigned last =
            tenBit ? (draw.oneIn(8) ? 0x1000u : 0x0800u) + (draw.oneIn(3) ? draw.below(0x800) : 0xFFu) : nextWord();
        if (draw.oneIn(trailerRate)) {
            last = draw.below(0x10000);
        }
        bytes.push_back(static_cast<std::uint8_t>(last % 256));
        bytes.push_back(static_cast<std::uint8_t>(last / 256));
    }
    if (draw.oneIn(5)) {
        bytes.resize(bytes.size() + draw.below(512), 0x0F);
    }
    return bytes;
}

} // namespace

/// The pattern without its sequence, so that every word is checked by itself.
class WordByWord : public Pattern {
public:
    explicit WordByWord(Pattern& wrapped) : pattern(wrapped) {}
    double onesRatio() override { return pattern.onesRatio(); }
    bool check(std::uint16_t previous, std::uint16_t current, bool& synced) override {
        ++checks;
        return pattern.check(previous, current, synced);
    }

    std::uint64_t checks = 0;

private:
    Pattern& pattern;
};

/// What kinds of outcome were met, so that the comparison is known to mean something.
class Kinds {
public:
    void add(const Outcome& o) {
        if (o.status == 0) {
            ++seen[o.syncWords != 0 ? "good with synchronisation" : o.dataWords != 0 ? "good" : "nothing"];
        } else if (o.text.find("size") != std::string::npos) {
            ++seen["size"];
        }
        if (o.text.find("data errors") != std::string::npos) {
            ++seen["errors"];
        }
        if (o.text.find("invalid packet types") != std::string::npos) {
            ++seen["invalid packets"];
        }
    }
    void expectAll(int least) {
        for (const char* kind : {"good with synchronisation", "good", "nothing", "size", "errors", "invalid packets"}) {
            EXPECT_GE(seen[kind], least) << kind;
        }
    }

private:
    std::map<std::string, int> seen;
};

auto anyImage(Draw& draw) {
    auto image = sequences().begin();
    std::advance(image, draw.below(static_cast<std::uint32_t>(sequences().size())));
    return image;
}

TEST(PatternComparison, RandomFilesGetTheSameJudgementFromBoth) {
    const TemporaryFolder folder;
    const std::string path = folder.file("random.ver");
    Kinds kinds;
    for (std::uint32_t seed = 1; seed <= ORV_RANDOM_BURSTS / 50; ++seed) {
        Draw draw(seed);
        const auto image = anyImage(draw);
        const std::vector<std::uint8_t> bytes = drawFile(draw, image->second, draw.below(12));
        const std::uint32_t first = draw.oneIn(3) ? draw.below(14) : 0;
        const std::uint32_t count = draw.oneIn(2) ? draw.below(13) : 0;
        writeBytes(path, bytes);
        const auto pattern = makePattern(image->first.first.c_str(), image->first.second);
        const Outcome fast = verifyFile(*pattern, path, first, count);
        ASSERT_EQ(fast, SlowVerification(image->second, bytes).run(first, count))
            << "seed " << seed << ", " << image->first.first << " on " << image->first.second;
        WordByWord slow(*pattern);
        ASSERT_EQ(fast, verifyFile(slow, path, first, count)) << "seed " << seed;
        ASSERT_GE(slow.checks + 2, fast.status == 0 ? fast.dataWords : 0) << "seed " << seed;
        kinds.add(fast);
    }
    kinds.expectAll(ORV_RANDOM_BURSTS / 5000);
}

/// Many stretches of one long file cost fewer files.
class LongFiles : public testing::TestWithParam<std::uint32_t> {};

TEST_P(LongFiles, GetTheSameJudgementOfAnyStretchFromBoth) {
    constexpr std::uint32_t stretches = 500;
    const TemporaryFolder folder;
    const std::string path = folder.file("long.ver");
    Kinds kinds;
    for (std::uint32_t i = 0; i < ORV_RANDOM_BURSTS / 8 / stretches; ++i) {
        Draw draw(1000 * GetParam() + i);
        const auto image = anyImage(draw);
        const std::vector<std::uint8_t> bytes = drawFile(draw, image->second, 40);
        writeBytes(path, bytes);
        for (std::uint32_t k = 0; k < stretches; ++k) {
            const std::uint32_t first = draw.below(42);
            const std::uint32_t count = draw.oneIn(20) ? 0 : draw.below(draw.oneIn(4) ? 44 : 8);
            const auto pattern = makePattern(image->first.first.c_str(), image->first.second);
            const Outcome fast = verifyFile(*pattern, path, first, count);
            ASSERT_EQ(fast, SlowVerification(image->second, bytes).run(first, count))
                << "file " << i << ", " << count << " packets from " << first << ", " << image->first.first << " on "
                << image->first.second;
            kinds.add(fast);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, LongFiles, testing::Range(1U, 9U));

} // namespace pattern_test
