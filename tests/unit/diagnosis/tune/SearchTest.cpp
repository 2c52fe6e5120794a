#include "diagnosis/tune/Conditioning.h"
#include "diagnosis/tune/Search.h"
#include "diagnosis/tune/SlotLag.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

// The search on drawn waveforms: a clock and lanes whose edges are where the test puts them.

namespace diagnosis::tune {
namespace {

constexpr std::size_t samples = 8192;

/// A lane's edges after the start of its slot, in samples.
struct Wire {
    double rise = 0.0;
    double fall = 0.0;
};

/// Four lanes that carry the walking one, and a clock whose edges are in the middle of the slots.
struct DrawnBoard final : Board {
    double half = 13.37;
    std::array<Wire, 4> wires{};
    double clockFallLate = 0.0;
    int slotWrong = -1; ///< this lane's words are its neighbours' once
    std::size_t comparisons = 0;

    double levelEdge(std::size_t lane, long slot, bool rises, const PinValue& value) const {
        const EdgeShift shift = shiftOf(value);
        const Wire& wire = wires[lane];
        return 40.3 + static_cast<double>(slot) * half + (rises ? wire.rise + shift.rise : wire.fall + shift.fall);
    }

    bool bitOf(std::size_t lane, long slot) const {
        const Pattern pattern = patternOfBursts(wires.size());
        const auto count = static_cast<long>(pattern.words.size() * slotsOf(wires.size()));
        const auto at = static_cast<std::size_t>((slot % count + count) % count);
        return lineBit(pattern.words[at / slotsOf(wires.size())], wires.size(), at % slotsOf(wires.size()), lane);
    }

    void drawLane(std::vector<std::uint8_t>& levels, std::size_t lane, const PinValue& value) const {
        levels.assign(samples, 0);
        for (long slot = -10; static_cast<double>(slot) * half < samples + 100.0; ++slot) {
            const double from = levelEdge(lane, slot, bitOf(lane, slot), value);
            for (auto at = static_cast<long>(std::ceil(std::max(0.0, from))); at < static_cast<long>(samples); ++at) {
                if (static_cast<double>(at) > from + 3.0 * half) {
                    break;
                }
                levels[static_cast<std::size_t>(at)] = bitOf(lane, slot) ? 1 : 0;
            }
        }
    }

    void drawClock(std::vector<std::uint8_t>& levels, const PinValue& value) const {
        levels.assign(samples, 0);
        const EdgeShift shift = shiftOf(value);
        for (std::size_t at = 0; at < samples; ++at) {
            const double place = static_cast<double>(at) - 40.3 - half / 2.0;
            const double sinceRise = place - shift.rise;
            const double turn = std::floor(sinceRise / (2.0 * half));
            const double high = half + clockFallLate + shift.fall - shift.rise;
            levels[at] = sinceRise - turn * 2.0 * half < high ? 1 : 0;
        }
    }

    Burst burst(const Values& values) override {
        Burst drawn;
        drawn.pins.resize(values.size());
        drawClock(drawn.pins[0].levels, values[0]);
        for (std::size_t lane = 0; lane < wires.size(); ++lane) {
            drawLane(drawn.pins[lane + 1].levels, lane, values[lane + 1]);
        }
        return drawn;
    }

    Words words(const Values&, double errorRate) override {
        Words words;
        words.bits = static_cast<std::uint64_t>(3.0 / errorRate);
        words.lanes.resize(wires.size());
        if (slotWrong >= 0 && comparisons++ == 0) {
            words.errors = words.lanes[static_cast<std::size_t>(slotWrong)].errors = words.bits / 8;
            words.lanes[static_cast<std::size_t>(slotWrong)].late = words.bits / 8;
        }
        return words;
    }
};

Task taskOf(const DrawnBoard& board) {
    Task task;
    task.lanes = board.wires.size();
    task.half = board.half;
    task.pattern = patternOfBursts(task.lanes);
    return task;
}

Values plain(std::size_t pins) {
    return Values(pins);
}

TEST(Places, AreThoseOfTheWiresWithTheValuesTakenOut) {
    DrawnBoard board;
    board.wires = {Wire{0.4, 1.2}, {2.0, 2.0}, {3.1, 3.6}, {1.0, 0.5}};
    board.clockFallLate = 0.8;
    Values values = plain(5);
    values[0].delay = 4;
    values[1].stretch = -2;
    values[2].delay = 3;
    values[3].stretch = 3;
    const Seen seen = rawPlacesOf(board.burst(values), values, board.half * 1.004);
    ASSERT_TRUE(seen.places) << seen.fault;
    EXPECT_NEAR(seen.places->half, board.half, 0.002);
    EXPECT_NEAR(seen.places->clockFallLate, 0.8, 0.1);
    for (std::size_t lane = 0; lane < 4; ++lane) {
        const LanePlace& place = seen.places->lanes[lane];
        EXPECT_NEAR(place.fall - place.rise, board.wires[lane].fall - board.wires[lane].rise, 0.15) << lane;
        const double expected = board.wires[lane].rise - board.half / 2.0;
        EXPECT_NEAR(std::remainder(place.rise - expected, board.half), 0.0, 0.15) << lane;
    }
}

TEST(SlotLags, AreFoundWhereALaneIsMoreThanHalfASlotLate) {
    DrawnBoard board;
    board.wires = {Wire{1.0, 1.0}, {1.0 + 9.0, 1.0 + 9.0}, {1.0 - 11.0, 1.0 - 11.0}, {1.0 + 20.0, 1.0 + 20.0}};
    const Values values = plain(5);
    const Burst burst = board.burst(values);
    Seen seen = rawPlacesOf(burst, values, board.half);
    ASSERT_TRUE(seen.places);
    const auto lags = slotLags(burst, values, *gridOf(burst, board.half), *seen.places, patternOfBursts(4));
    ASSERT_TRUE(lags);
    alignSlots(*seen.places, *lags);
    const double first = seen.places->lanes[0].rise;
    for (std::size_t lane = 1; lane < 4; ++lane) {
        EXPECT_NEAR(seen.places->lanes[lane].rise - first, board.wires[lane].rise - 1.0, 0.2) << lane;
    }
}

TEST(Choice, CentresEveryLaneAndEvensOutTheDuty) {
    RawPlaces places;
    places.half = 13.4;
    places.lanes = {{.rise = 6.0, .fall = 7.0}, {.rise = 9.2, .fall = 9.2}, {.rise = 4.1, .fall = 4.6}};
    const Choice choice = choose(places, 1e-9);
    EXPECT_EQ(choice.values[1].stretch, -2);
    EXPECT_EQ(choice.values[2].stretch, 0);
    // Both margins of an even lane add up to half a period less the sample at the clock edge.
    EXPECT_GT(choice.margin, 5.4);
    EXPECT_DOUBLE_EQ(judged(places, choice.values, 1e-9).margin, choice.margin);
    int smallest = 31;
    for (const PinValue& value : choice.values) {
        smallest = std::min(smallest, value.delay);
    }
    EXPECT_EQ(smallest, 0) << "nothing is delayed in vain";
}

TEST(Choice, WithoutTheRangeTakesWhatTheDelaysReach) {
    RawPlaces places;
    places.half = 70.0; // the middle is 35 samples from the edges of an edge-aligned lane
    places.lanes = {{.rise = 0.5, .fall = 0.5}};
    const Choice choice = choose(places, 1e-9);
    EXPECT_EQ(std::abs(choice.values[0].delay - choice.values[1].delay), 31);
    EXPECT_NEAR(choice.margin, 30.5, 0.1);
}

TEST(Conditioning, IsTheReceiversUnlessItWouldRemoveSingleBits) {
    EXPECT_EQ(conditioningFor(28.0, 13.0, 0.3, 1e-9).debounce, receiversConditioning(28.0).debounce);
    const PinValue weak = conditioningFor(11.7, 4.8, 0.3, 1e-9);
    EXPECT_LT(weak.debounce, receiversConditioning(11.7).debounce);
    EXPECT_GE(4.8 - 0.5 * weak.debounce, 6.0 * std::sqrt(2.0) * 0.3);
    EXPECT_EQ(receiversConditioning(14.2).filter, 3);
    EXPECT_EQ(receiversConditioning(14.2).plateau, 7);
}

TEST(Search, EndsSoundOnACleanBoardWithFourBursts) {
    DrawnBoard board;
    board.wires = {Wire{0.0, 0.9}, {2.0, 2.0}, {12.0, 12.4}, {1.0, 1.5}};
    const Found found = search(board, taskOf(board));
    EXPECT_EQ(found.kind, Found::Kind::Sound);
    EXPECT_LE(found.bursts, 5U);
    EXPECT_GT(found.choice.margin, 4.5);
}

TEST(Search, MovesALaneWhoseWordsAreItsNeighbours) {
    DrawnBoard board;
    board.slotWrong = 2;
    const Found found = search(board, taskOf(board));
    EXPECT_EQ(found.kind, Found::Kind::Sound);
    EXPECT_EQ(board.comparisons, 2U);
    bool said = false;
    for (const std::string& step : found.steps) {
        said = said || step == "the words show D1 a bit too late";
    }
    EXPECT_TRUE(said);
}

TEST(Search, OfALaneWithoutChangesFindsNothingAndSaysWhichOne) {
    DrawnBoard board;
    struct Stuck final : Board {
        DrawnBoard& drawn;
        explicit Stuck(DrawnBoard& used) : drawn(used) {}
        Burst burst(const Values& values) override {
            Burst burst = drawn.burst(values);
            burst.pins[2].levels.assign(samples, 1);
            return burst;
        }
        Words words(const Values& values, double rate) override { return drawn.words(values, rate); }
    } stuck(board);
    const Found found = search(stuck, taskOf(board));
    EXPECT_EQ(found.kind, Found::Kind::Nothing);
    ASSERT_EQ(found.steps.size(), 1U);
    EXPECT_EQ(found.steps.front(), "a burst is of no use: D2 does not change with the clock");
}

} // namespace
} // namespace diagnosis::tune
