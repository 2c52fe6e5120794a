#pragma once

#include "diagnosis/files/Patterns.h"
#include "diagnosis/tune/Choice.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The search for values at one rate, over a board that measures what they do.

namespace diagnosis::tune {

/// What a comparison of known words found with some values.
struct Words {
    std::uint64_t bits = 0;
    std::uint64_t errors = 0;
    struct Lane {
        std::uint64_t errors = 0;
        std::uint64_t early = 0; ///< equal to the next slot's bit: the lane's bits come too early
        std::uint64_t late = 0;
    };
    std::vector<Lane> lanes; ///< of all, in their order
    bool sound() const { return bits != 0 && errors == 0; }
};

/// A board that takes values and shows what they do. Failures are the implementation's own exceptions.
class Board {
public:
    virtual ~Board() = default;
    /// A burst of the search's pattern with these values.
    virtual Burst burst(const Values& values) = 0;
    /// Compares known words, enough to exclude the rate.
    virtual Words words(const Values& values, double errorRate) = 0;
};

struct Task {
    std::size_t lanes = 0;
    double half = 0.0; ///< samples in half a clock period, by the measured rate
    Pattern pattern;   ///< what bursts show
    double errorRate = 1e-9;
    double wordsErrorRate = 1e-8; ///< that the comparison of words has to exclude
};

/// The walking one; on a single lane every pattern is the same.
Pattern patternOfBursts(std::size_t lanes);

struct Found {
    enum class Kind {
        Sound,   ///< margins as the error rate asks for, and all words as sent
        Thin,    ///< all words as sent, as many as the error rate asks for, with less margin
        Nothing, ///< no values carry the words
    };
    Kind kind = Kind::Nothing;
    Choice choice;                  ///< unless nothing
    std::vector<std::string> steps; ///< what was seen and done, a sentence each
    Words words;
    std::size_t bursts = 0;
    std::optional<RawPlaces> places; ///< of the board's edges, as last measured; nothing if bursts do not show them
};

/// Of two settings, the first of them faster: whether the second one is the better. Sound beats thin, a sound faster one a
/// sound slower one, and of two thin ones the one with more to spare counts.
bool isBetter(const Found& second, const Found& first);

Found search(Board& board, const Task& task);

} // namespace diagnosis::tune
