#include "tests/simulation/exploration/Search.h"

#include <algorithm>
#include <utility>

namespace simulation {

namespace {

/// Follows the departures of a failure and removes what the failure does not need.
class Shortener {
public:
    Shortener(const Failure& failure, unsigned tries) : best(failure), rule(failure.rule), left(tries) {
        best.recipe.strategy = "departures";
        best.recipe.departures = failure.departures;
    }

    /// Whether the failure comes back by its departures alone.
    bool isRepeatable() { return keeps(best.recipe); }

    void removeDepartures() {
        for (std::size_t piece = std::max<std::size_t>(count() / 2, 1); piece > 0; piece /= 2) {
            removePieces(piece);
        }
        // Departures matter in pairs, to a thread and back, and what is gone may make others needless.
        for (std::size_t before = count() + 1; count() < before && left > 0;) {
            before = count();
            for (const std::size_t piece : {4U, 3U, 2U, 1U}) {
                removePieces(piece);
            }
        }
    }

    void removeStalls() {
        for (std::size_t at = 0; at < count() && left > 0; ++at) {
            Recipe simpler = best.recipe;
            if (std::exchange(simpler.departures[at].choice.stall, 0) != 0) {
                keeps(simpler);
            }
        }
    }

    void removeFault() {
        Recipe simpler = best.recipe;
        simpler.fault.reset();
        if (best.recipe.fault.has_value()) {
            keeps(simpler);
        }
    }

    const Failure& result() const { return best; }

private:
    std::size_t count() const { return best.recipe.departures.size(); }

    void removePieces(std::size_t piece) {
        constexpr std::size_t smallPiece = 4; // from here on every position is tried
        for (std::size_t at = 0; at < count() && left > 0;) {
            Recipe shorter = best.recipe;
            const auto begin = shorter.departures.begin() + static_cast<std::ptrdiff_t>(at);
            const std::size_t size = std::min(piece, count() - at);
            shorter.departures.erase(begin, begin + static_cast<std::ptrdiff_t>(size));
            if (!keeps(shorter)) {
                at += piece > smallPiece ? piece : 1;
            }
        }
    }

    /// Takes the recipe over when it breaks the same rule.
    bool keeps(const Recipe& recipe) {
        if (left == 0) {
            return false;
        }
        --left;
        Failure failure = tryRecipe(recipe);
        if (failure.rule != rule) {
            return false;
        }
        best = std::move(failure);
        best.recipe = recipe;
        return true;
    }

    Failure best;
    std::string rule;
    unsigned left;
};

} // namespace

Failure shorten(const Failure& failure, unsigned tries) {
    Shortener shortener(failure, tries);
    if (!shortener.isRepeatable()) {
        return failure;
    }
    shortener.removeFault();
    shortener.removeDepartures();
    shortener.removeStalls();
    shortener.removeDepartures();
    return shortener.result();
}

} // namespace simulation
