#include "bench/signal/Content.h"

#include "bench/signal/Random.h"
#include "bench/signal/WordStream.h"

#include <algorithm>
#include <array>
#include <utility>

namespace bench {

namespace {

constexpr std::array<std::pair<std::string_view, PatternName>, 7> patternNames{{
    {"f0", PatternName::F0},
    {"a5", PatternName::A5},
    {"ramp", PatternName::Ramp},
    {"ramp0", PatternName::Ramp},
    {"ramp1", PatternName::Ramp1},
    {"walk", PatternName::Walk},
    {"lfsr", PatternName::Lfsr},
}};

// Words that repeat.
class CyclicContent final : public Content {
public:
    explicit CyclicContent(std::vector<std::uint16_t> cycle) : words(std::move(cycle)) {}

    void fill(std::uint64_t first, std::span<std::uint16_t> out) const override {
        std::size_t position = first % words.size();
        std::size_t filled = std::min(out.size(), words.size());
        for (std::uint16_t& word : out.first(filled)) {
            word = words[position];
            position = position + 1 == words.size() ? 0 : position + 1;
        }
        // Whole cycles, twice as many each time.
        while (filled < out.size()) {
            const std::size_t count = std::min(filled, out.size() - filled);
            std::copy_n(out.begin(), count, out.begin() + static_cast<std::ptrdiff_t>(filled));
            filled += count;
        }
    }

private:
    std::vector<std::uint16_t> words;
};

class PlaybackContent final : public Content {
public:
    PlaybackContent(std::vector<std::uint8_t> data, std::uint16_t idleWord, unsigned idleBefore)
        : bytes(std::move(data)), idle(idleWord), start(idleBefore) {
        if (bytes.size() % 2 != 0) {
            bytes.push_back(0);
        }
    }

    void fill(std::uint64_t first, std::span<std::uint16_t> out) const override {
        const std::uint64_t end = start + bytes.size() / 2;
        for (std::uint16_t& word : out) {
            if (first >= start && first < end) {
                const std::size_t at = (first - start) * 2;
                word = static_cast<std::uint16_t>(bytes[at] | (bytes[at + 1] << 8));
            } else {
                word = idle;
            }
            ++first;
        }
    }

private:
    std::vector<std::uint8_t> bytes;
    std::uint16_t idle;
    std::uint64_t start;
};

class GeneratedContent final : public Content {
public:
    explicit GeneratedContent(std::uint64_t seed) : hash(seed) {}

    void fill(std::uint64_t first, std::span<std::uint16_t> out) const override {
        std::uint64_t number = first / messageWords;
        auto begin = static_cast<unsigned>(first % messageWords);
        for (; !out.empty(); begin = 0, ++number) {
            if (begin == 0 && out.size() >= messageWords) {
                putMessage(number, out.first<messageWords>());
                out = out.subspan(messageWords);
                continue;
            }
            const auto end = static_cast<unsigned>(std::min<std::size_t>(messageWords, begin + out.size()));
            for (unsigned position = begin; position < end; ++position) {
                out[position - begin] = messageWord(number, position);
            }
            out = out.subspan(end - begin);
        }
    }

private:
    static constexpr unsigned messageWords = 8;

    // In one piece, which compiles to straight code.
    void putMessage(std::uint64_t number, std::span<std::uint16_t, messageWords> out) const {
        for (unsigned position = 0; position < messageWords; ++position) {
            out[position] = messageWord(number, position);
        }
    }

    static std::uint16_t avoidSync(std::uint64_t value) {
        const auto word = static_cast<std::uint16_t>(value);
        return word == 0 || word == syncMark ? 0x8000 : word;
    }

    std::uint16_t messageWord(std::uint64_t number, unsigned position) const {
        switch (position) {
        case 0:
            return 0xA5F0;
        case 1:
            return avoidSync(number & 0xFFFF);
        case 2:
            return avoidSync((number >> 16) & 0xFFFF);
        default:
            return avoidSync(hash(number * messageWords + position) & 0xFFFF);
        }
    }

    Hash hash;
};

// Maximal length, taps 16, 14, 13 and 11; each word is the register's state.
std::vector<std::uint16_t> lfsrCycle() {
    std::vector<std::uint16_t> cycle;
    cycle.reserve(0xFFFF);
    std::uint16_t state = 0xFFFF;
    do {
        cycle.push_back(state);
        const bool low = (state & 1) != 0;
        state = static_cast<std::uint16_t>(state >> 1);
        if (low) {
            state ^= 0xB400;
        }
    } while (state != 0xFFFF);
    return cycle;
}

std::vector<std::uint16_t> patternCycle(PatternName name, unsigned dataPins) {
    const bool one = dataPins == 1;
    const bool two = dataPins == 2;
    switch (name) {
    case PatternName::F0:
        return one ? std::vector<std::uint16_t>{0x5555}
                   : (two ? std::vector<std::uint16_t>{0x3333} : std::vector<std::uint16_t>{0x0F0F});
    case PatternName::A5:
        return one ? std::vector<std::uint16_t>{0x5555}
                   : (two ? std::vector<std::uint16_t>{0x6666} : std::vector<std::uint16_t>{0x5A5A});
    case PatternName::Ramp:
        return one ? std::vector<std::uint16_t>{0x5555}
                   : (two ? std::vector<std::uint16_t>{0x1B1B}
                          : std::vector<std::uint16_t>{0x0123, 0x4567, 0x89AB, 0xCDEF});
    case PatternName::Ramp1:
        return one ? std::vector<std::uint16_t>{0xAAAA}
                   : (two ? std::vector<std::uint16_t>{0x6C6C}
                          : std::vector<std::uint16_t>{0x1234, 0x5678, 0x9ABC, 0xDEF0});
    case PatternName::Walk:
        return one ? std::vector<std::uint16_t>{0x5555}
                   : (two ? std::vector<std::uint16_t>{0x1861, 0x8618, 0x6186}
                          : std::vector<std::uint16_t>{0x0124, 0x8012, 0x4801, 0x2480, 0x1248});
    case PatternName::Lfsr:
        break;
    }
    return lfsrCycle();
}

} // namespace

std::optional<PatternName> patternFromName(std::string_view name) {
    const auto found =
        std::find_if(patternNames.begin(), patternNames.end(), [&](const auto& entry) { return entry.first == name; });
    return found == patternNames.end() ? std::nullopt : std::optional(found->second);
}

std::string_view patternText(PatternName name) {
    return std::find_if(patternNames.begin(), patternNames.end(),
                        [&](const auto& entry) { return entry.second == name; })
        ->first;
}

ContentPointer makePattern(PatternName name, unsigned dataPins) {
    return std::make_shared<CyclicContent>(patternCycle(name, dataPins));
}

ContentPointer makePlayback(std::vector<std::uint8_t> bytes, std::uint16_t idleWord, unsigned idleBefore) {
    return std::make_shared<PlaybackContent>(std::move(bytes), idleWord, idleBefore);
}

ContentPointer makeGeneratedTrace(std::uint64_t seed) {
    return std::make_shared<GeneratedContent>(seed);
}

} // namespace bench
