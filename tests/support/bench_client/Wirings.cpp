#include "tests/support/bench_client/Wirings.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace bench_client {

namespace {

/// The standard's distributions differ between libraries; this does not.
class Draw {
public:
    explicit Draw(std::uint64_t seed) : random(seed) {}
    double between(double low, double high) {
        return low + (high - low) * static_cast<double>(random() >> 11) / 9007199254740992.0;
    }
    unsigned below(unsigned count) { return static_cast<unsigned>(random() % count); }

private:
    std::mt19937_64 random;
};

} // namespace

bench::Scenario drawScenario(std::uint64_t seed, bench::ExportKind kind) {
    Draw draw(seed);
    bench::Scenario scenario;
    scenario.name = "wiring " + std::to_string(seed);
    scenario.kind = kind;
    scenario.pins = 1U << draw.below(3);
    scenario.wiring.alignment = draw.below(2) != 0 ? bench::Alignment::Edge : bench::Alignment::Center;
    scenario.wiring.jitter = draw.between(0.0, 0.4);
    scenario.wiring.seed = seed;
    for (unsigned emu = 0; emu <= scenario.pins; ++emu) {
        bench::PinWiring pin;
        pin.emu = emu;
        pin.skew = draw.between(0.0, 3.0);
        pin.lateFall = draw.between(0.0, 1.0);
        scenario.wiring.pins.push_back(pin);
    }
    scenario.transmitter.frequencies.clear();
    const unsigned settings = 1 + draw.below(6);
    for (unsigned i = 0; i < settings; ++i) {
        scenario.transmitter.frequencies.push_back(std::round(draw.between(8.0, 130.0) * 10.0) * 1e5);
    }
    std::sort(scenario.transmitter.frequencies.begin(), scenario.transmitter.frequencies.end());
    return scenario;
}

} // namespace bench_client
