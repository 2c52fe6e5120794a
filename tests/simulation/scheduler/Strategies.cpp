#include "tests/simulation/scheduler/Random.h"
#include "tests/simulation/scheduler/Strategy.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>

namespace simulation {

namespace {

constexpr double shortestStall = 1e3; // microseconds
constexpr double longestStall = 2e6;

Time drawStall(Random& random) {
    return static_cast<Time>(random.logUniform(shortestStall, longestStall));
}

ThreadNumber oneOf(std::span<const ThreadNumber> numbers, Random& random) {
    return numbers[random.below(numbers.size())];
}

/// Any ready thread. `early` is how often sleepers count as ready; `stall` how often the running thread is held up.
class Walk final : public Strategy {
public:
    Walk(std::uint64_t seed, double early, double stall) : random(seed), earlyChance(early), stallChance(stall) {}

    Choice choose(const Situation& situation) override {
        if (stallChance > 0 && random.chance(stallChance) && situation.canGoOn) {
            return stalled(situation);
        }
        if (situation.ready.empty()) {
            const bool any = earlyChance > 0 && random.chance(earlyChance);
            return {any ? oneOf(situation.sleepers, random) : situation.sleepers.front(), 0};
        }
        const bool withSleepers = earlyChance > 0 && random.chance(earlyChance);
        const std::size_t count = situation.ready.size() + (withSleepers ? situation.sleepers.size() : 0);
        const std::size_t drawn = random.below(count);
        const std::size_t ready = situation.ready.size();
        return {drawn < ready ? situation.ready[drawn] : situation.sleepers[drawn - ready], 0};
    }

private:
    Choice stalled(const Situation& situation) {
        const Time stall = drawStall(random);
        for (const ThreadNumber number : situation.ready) {
            if (number != situation.running) {
                return {number, stall};
            }
        }
        return {situation.sleepers.empty() ? situation.running : situation.sleepers.front(), stall};
    }

    Random random;
    double earlyChance;
    double stallChance;
};

/// Probabilistic concurrency testing: random priorities that fall at a few random points. Finds with a known probability
/// what needs that many points in the right places.
class Priorities final : public Strategy {
public:
    Priorities(std::uint64_t seed, unsigned depth, std::uint64_t length) : random(seed) {
        for (unsigned i = 1; i < depth; ++i) {
            changes.insert(random.below(std::max<std::uint64_t>(length, 1)));
        }
    }

    Choice choose(const Situation& situation) override {
        Time stall = 0;
        if (situation.yields) {
            fall(situation.running); // who polls would keep all others out
        } else if (changes.contains(points++) && situation.canGoOn) {
            fall(situation.running);
            stall = random.chance(0.5) ? drawStall(random) : 0;
        }
        ThreadNumber best = situation.ready.empty() ? situation.sleepers.front() : situation.ready.front();
        for (const ThreadNumber number : situation.ready) {
            const bool heldUp = stall != 0 && number == situation.running;
            if (!heldUp && (priorityOf(number) > priorityOf(best) || (stall != 0 && best == situation.running))) {
                best = number;
            }
        }
        if (stall != 0 && best == situation.running) {
            best = situation.sleepers.empty() ? best : situation.sleepers.front();
        }
        return {best, stall};
    }

private:
    double priorityOf(ThreadNumber number) {
        const auto [found, isNew] = priorities.try_emplace(number, 0.0);
        if (isNew) {
            found->second = 1.0 + random.fraction();
        }
        return found->second;
    }

    void fall(ThreadNumber number) { priorities[number] = --lowest; }

    Random random;
    std::set<std::uint64_t> changes; // points at which the running thread falls; polls do not count
    std::uint64_t points = 0;
    std::map<ThreadNumber, double> priorities;
    double lowest = 0;
};

} // namespace

const std::vector<std::string>& strategyNames() {
    static const std::vector<std::string> names{"walk", "early", "stalls", "pct3", "pct5"};
    return names;
}

std::unique_ptr<Strategy> makeStrategy(const std::string& name, std::uint64_t seed, std::uint64_t length) {
    constexpr double earlyChance = 0.25;
    constexpr double usualStalls = 4; // a schedule
    if (name == "walk") {
        return std::make_unique<Walk>(seed, 0, 0);
    }
    if (name == "early") {
        return std::make_unique<Walk>(seed, earlyChance, 0);
    }
    if (name == "stalls") {
        return std::make_unique<Walk>(seed, 0, usualStalls / static_cast<double>(std::max<std::uint64_t>(length, 40)));
    }
    if (name == "pct3") {
        return std::make_unique<Priorities>(seed, 3, length);
    }
    if (name == "pct5") {
        return std::make_unique<Priorities>(seed, 5, length);
    }
    throw std::invalid_argument("unknown strategy '" + name + "'");
}

} // namespace simulation
