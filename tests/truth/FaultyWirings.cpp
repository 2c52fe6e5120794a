#include "tests/truth/FaultyWirings.h"

#include "bench/signal/Random.h"
#include "bench/unit/EdgeChances.h"
#include "bench/unit/Unit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace truth {

namespace {

constexpr std::array<const char*, faults.size()> names{"stuck", "swapped", "shorted", "open-clock", "late",
                                                       "noisy", "duty",    "drift",   "wrong-rate"};
constexpr std::uint64_t faultPlace = 0x6661756C74; // apart from the draws of the wiring
constexpr double recordedSeconds = 0.2;
constexpr double mostDutyError = 6.0;

/// Draws of one planted fault, in order.
class Draw {
public:
    explicit Draw(std::uint64_t number) : seed(bench::hashOf(number, faultPlace)) {}
    double between(double low, double high) { return low + (high - low) * bench::uniformOf(seed, ++count); }
    unsigned below(unsigned limit) { return static_cast<unsigned>(bench::hashOf(seed, ++count) % limit); }

private:
    std::uint64_t seed;
    std::uint64_t count = 0;
};

/// A wiring, and the places in it.
class Plan {
public:
    Plan(Fault fault, const bench::Scenario& sound, double hertz, std::uint64_t seed)
        : bit(bench::Unit::sampleRate / (2.0 * hertz)), draw(seed) {
        made.fault = fault;
        made.scenario = sound;
        made.without = sound;
    }

    unsigned dataPins() const { return made.scenario.pins; }
    /// The wiring of an EMU pin; data have 1 and up, the top bit the highest.
    bench::PinWiring& pin(unsigned emu) { return made.scenario.wiring.pins.at(emu); }
    unsigned anyEmu() { return 1 + draw.below(dataPins()); }
    std::size_t procOf(unsigned emu) const { return dataPins() + 1 - emu; }
    /// One data pin that the cause has to name.
    bench::PinWiring& victim() {
        const unsigned emu = anyEmu();
        made.pins = {procOf(emu)};
        return pin(emu);
    }
    /// Two different data pins, in the order of the connector.
    std::pair<unsigned, unsigned> pair() {
        const unsigned one = anyEmu();
        const unsigned other = 1 + (one - 1 + 1 + draw.below(dataPins() - 1)) % dataPins();
        made.pins = {procOf(one), procOf(other)};
        std::sort(made.pins.begin(), made.pins.end());
        return std::minmax(one, other);
    }
    void keepOnly(double hertz) {
        made.scenario.transmitter.frequencies = {hertz};
        made.without.transmitter.frequencies = {hertz};
    }

    FaultyWiring made;
    double bit; ///< samples
    Draw draw;
};

bool plantStuck(Plan& plan, double hertz) {
    plan.keepOnly(hertz);
    plan.victim().stuck = plan.draw.below(2);
    return true;
}

bool plantSwapped(Plan& plan, double hertz) {
    if (plan.dataPins() < 2) {
        return false;
    }
    plan.keepOnly(hertz);
    const auto [one, other] = plan.pair();
    plan.pin(one).swappedWith = other;
    return true;
}

bool plantShorted(Plan& plan, double hertz) {
    if (plan.dataPins() < 2) {
        return false;
    }
    plan.keepOnly(hertz);
    const auto [kept, lost] = plan.pair();
    std::string map = "0";
    for (unsigned emu = 1; emu <= plan.dataPins(); ++emu) {
        map += "," + std::to_string(emu == lost ? kept : emu);
    }
    plan.made.scenario.pinMap = map;
    // Both inputs then have this wire's skew.
    plan.made.without.wiring.pins.at(lost) = plan.pin(kept);
    plan.made.without.wiring.pins.at(lost).emu = lost;
    return true;
}

bool plantOpenClock(Plan& plan, double hertz) {
    plan.keepOnly(hertz);
    plan.pin(0).open = true;
    plan.made.pins = {0};
    return true;
}

bool plantLate(Plan& plan, double hertz) {
    if (plan.dataPins() < 2) {
        return false;
    }
    plan.keepOnly(hertz);
    plan.victim().skew += plan.draw.between(1.15, 1.85) * plan.bit;
    plan.made.eitherPin = plan.dataPins() == 2;
    return true;
}

bool plantNoisy(Plan& plan, double hertz) {
    plan.keepOnly(hertz);
    plan.victim().jitter = plan.draw.between(0.1, 0.3) * plan.bit;
    return true;
}

bool plantDuty(Plan& plan, double hertz) {
    if (plan.bit < 2.0 * mostDutyError) {
        return false;
    }
    plan.keepOnly(hertz);
    const double error = plan.draw.between(3.5, mostDutyError);
    plan.victim().lateFall = plan.draw.below(2) == 0 ? error : -error;
    return true;
}

bool plantDrift(Plan& plan, double hertz) {
    if (plan.dataPins() < 2) {
        return false;
    }
    plan.keepOnly(hertz);
    plan.made.seconds = recordedSeconds;
    const double drift = plan.draw.between(1.2, 1.5) * plan.bit / recordedSeconds;
    plan.victim().drift = plan.draw.below(2) == 0 ? drift : -drift;
    plan.made.eitherPin = plan.dataPins() == 2;
    return true;
}

/// In samples: the debounce of 4 with which the receiver begins to count.
constexpr double leastDebounce = 2.0;
constexpr double countedSeconds = 0.0114;

/// Whether not one pulse of the clock is expected to last that long while the rate is counted.
bool vanishes(const bench::PinWiring& clock, double jitter, double hertz) {
    const double shorter = bench::Unit::sampleRate / (2.0 * hertz) - std::abs(clock.lateFall);
    const double kept = 1.0 - bench::chanceBelow(shorter, std::numbers::sqrt2 * jitter, leastDebounce);
    return kept * hertz * countedSeconds < 0.5;
}

bool plantWrongRate(Plan& plan, double) {
    auto& rates = plan.made.scenario.transmitter.frequencies;
    for (double& rate : rates) {
        rate = std::round(plan.draw.between(125.0, 340.0)) * 1e6;
    }
    std::sort(rates.begin(), rates.end());
    plan.made.pins.clear();
    // The receiver ends its scan at the first setting without a clock.
    plan.made.clockVanishes = vanishes(plan.pin(0), plan.made.scenario.wiring.jitter, rates.front());
    return true;
}

constexpr std::array<bool (*)(Plan&, double), faults.size()> planters{plantStuck,     plantSwapped, plantShorted,
                                                                      plantOpenClock, plantLate,    plantNoisy,
                                                                      plantDuty,      plantDrift,   plantWrongRate};

} // namespace

const char* nameOf(Fault fault) {
    return names.at(static_cast<std::size_t>(fault));
}

std::optional<Fault> faultNamed(std::string_view name) {
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? std::nullopt : std::optional(static_cast<Fault>(found - names.begin()));
}

std::optional<FaultyWiring> plant(Fault fault, const bench::Scenario& sound, double hertz, std::uint64_t seed) {
    Plan plan(fault, sound, hertz, seed * faults.size() + static_cast<std::uint64_t>(fault));
    return planters.at(static_cast<std::size_t>(fault))(plan, hertz) ? std::optional(std::move(plan.made))
                                                                     : std::nullopt;
}

} // namespace truth
