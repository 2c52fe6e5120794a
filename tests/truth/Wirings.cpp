#include "tests/truth/Wirings.h"

#include "bench/unit/Unit.h"
#include "bench/wiring/ContentShift.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string_view>

namespace truth {

namespace {

/// Unlike the standard's distributions, the same with every library.
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

std::string exactly(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17e", value);
    return text;
}

constexpr double fastHalfPeriod = bench::Unit::sampleRate / 200e6; // 100 MHz
constexpr std::uint64_t unkindSeed = 0x756E6B696E64;               // apart from the wiring's

void makeUnkind(std::uint64_t seed, double mostShift, bench::Scenario& scenario) {
    Draw draw(seed + unkindSeed);
    for (bench::PinWiring& pin : scenario.wiring.pins) {
        pin.memory = memoryOfLateness(draw.between(0.0, mostShift), fastHalfPeriod);
        pin.coupling = draw.between(0.0, mostShift);
    }
}

} // namespace

double memoryOfLateness(double lateness, double halfPeriod) {
    double low = 0.0;
    double high = bench::PinWiring::longestMemory;
    for (int step = 0; step < 60; ++step) {
        const double middle = (low + high) / 2.0;
        (bench::LineMemory(middle, halfPeriod).latest() < lateness ? low : high) = middle;
    }
    return low;
}

bench::Scenario drawScenario(std::uint64_t seed, bench::ExportKind kind, const Board& board) {
    Draw draw(seed);
    bench::Scenario scenario;
    scenario.name = "wiring " + std::to_string(seed);
    scenario.cpu = "bench/app";
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
    if (board.unkind()) {
        makeUnkind(seed, *board.mostShift, scenario);
    }
    return scenario;
}

std::string pinMapOf(const bench::Scenario& scenario) {
    std::string map = "0";
    for (unsigned pin = 1; pin <= scenario.pins; ++pin) {
        map += ',' + std::to_string(pin);
    }
    return map;
}

std::string scenarioText(const bench::Scenario& scenario) {
    std::string text = "name = \"" + scenario.name + "\"\nabout = \"a wiring drawn at random\"\ncpu = \"" +
                       scenario.cpu + "\"\nkind = \"" + std::string(bench::exportKindName(scenario.kind)) +
                       "\"\npins = " + std::to_string(scenario.pins) + "\npin_map = \"" + pinMapOf(scenario) +
                       "\"\n\n[settings]\nbuffer = 0\nstop_on_full = true\n\n[transmitter]\nfrequencies = [";
    for (const double frequency : scenario.transmitter.frequencies) {
        text += (text.back() == '[' ? "" : ", ") + exactly(frequency);
    }
    text += "]\n\n[wiring]\nalignment = \"";
    text += scenario.wiring.alignment == bench::Alignment::Edge ? "edge" : "center";
    text += "\"\njitter = " + exactly(scenario.wiring.jitter) + "\nseed = " + std::to_string(scenario.wiring.seed);
    for (const bench::PinWiring& pin : scenario.wiring.pins) {
        text += "\n\n[[wiring.pin]]\nemu = " + std::to_string(pin.emu) + "\nskew = " + exactly(pin.skew) +
                "\nlate_fall = " + exactly(pin.lateFall);
        if (pin.memory != 0.0 || pin.coupling != 0.0) {
            text += "\nmemory = " + exactly(pin.memory) + "\ncoupling = " + exactly(pin.coupling);
        }
    }
    return text + "\n\n[expect]\noutcome = \"any\"\n";
}

} // namespace truth
