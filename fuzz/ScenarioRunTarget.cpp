#include "bench/scenarios/Scenario.h"
#include "fuzz/Require.h"
#include "fuzz/Scratch.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"
#include "fuzz/UnitMeasure.h"
#include "host/scenario/ScenarioFile.h"

#include <algorithm>
#include <optional>
#include <string>

namespace fuzz {

namespace {

constexpr std::size_t mostFrequencies = 2; // each is measured

std::optional<bench::Scenario> parsedScenario(std::string_view text) {
    try {
        return bench::parseScenario(text, shownName);
    } catch (const bench::ScenarioError&) {
        return std::nullopt;
    }
}

/// The host's reading of the same file.
void checkHost(const std::string& path, const bench::Scenario& scenario) {
    try {
        const host::Scenario read = host::readScenario(path);
        require(read.cpu == scenario.cpu && !read.cpu.empty(), "host and bench read the same");
    } catch (const toolkit::Failure& failure) {
        require(failure.code == toolkit::ExitCode::BadInput && scenario.cpu.empty(), failure.what());
    }
}

bench::TargetProgram programOf(const bench::Scenario& scenario, unsigned frequency) {
    bench::TargetProgram program;
    program.pattern = frequency == 0 ? "none" : "ramp";
    program.frequency = frequency;
    program.kind = scenario.kind;
    for (unsigned pin = 0; pin <= scenario.pins; ++pin) {
        program.pins.push_back(pin);
    }
    return program;
}

void run(const bench::Scenario& scenario) {
    std::uint64_t now = 0;
    bench::Unit unit(scenario, [&now] { return now; });
    enableInputs(unit);
    const auto count = static_cast<unsigned>(std::min(scenario.transmitter.frequencies.size(), mostFrequencies));
    for (unsigned frequency = 0; frequency < count; ++frequency) {
        try {
            unit.programTarget(programOf(scenario, frequency));
        } catch (const bench::UnitError&) { // no pattern for so many pins
            continue;
        }
        measure(unit, now);
    }
}

} // namespace

void scenarioRun(Input input) {
    const auto scenario = parsedScenario(textOf(input));
    if (!scenario) {
        return;
    }
    checkHost(scratchFile("scenario.toml", textOf(input)), *scenario);
    run(*scenario);
}

} // namespace fuzz
