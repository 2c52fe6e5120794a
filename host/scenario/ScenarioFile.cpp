#include "host/scenario/ScenarioFile.h"

#include "bench/scenarios/Scenario.h"
#include "bench/scenarios/TomlText.h"
#include "host/scenario/NamesFile.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/Suggestion.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <fmt/core.h>
#include <toml++/toml.h>

#include <algorithm>
#include <cmath>

namespace host {

using toolkit::ExitCode;
using toolkit::Failure;

namespace {

constexpr const char* generatorCpu = "fpga"; ///< the unit's own generator instead of a target

void addTarget(std::vector<std::string>& traits, const bench::Scenario& scenario) {
    if (scenario.cpu == generatorCpu) {
        traits.push_back("the unit's own generator at " + toolkit::frequencyText(scenario.unit.generatorFrequency) +
                         ", no target");
        return;
    }
    std::vector<std::string> frequencies;
    for (const double hertz : scenario.transmitter.frequencies) {
        frequencies.push_back(toolkit::frequencyText(hertz));
    }
    traits.push_back("the target's clock can be " + toolkit::joined(frequencies, ", "));
    if (!scenario.transmitter.fail.empty()) {
        traits.push_back("the transmitter library refuses " + toolkit::joined(scenario.transmitter.fail, ","));
    }
}

void addPin(std::vector<std::string>& traits, const bench::PinWiring& pin) {
    const std::string name = fmt::format("EMU pin {}", pin.emu);
    const auto add = [&](double value, const char* before, const char* positive, const char* negative) {
        if (value != 0.0) {
            traits.push_back(
                fmt::format("{}{}{:g}{}", name, before, std::abs(value), value > 0.0 ? positive : negative));
        }
    };
    add(pin.skew, " comes ", " samples late", " samples early");
    add(pin.lateFall, " falls ", " samples later than it rises", " samples earlier than it rises");
    add(pin.jitter.value_or(0.0), " jitters by ", " samples rms", " samples rms");
    add(pin.drift, " drifts later by ", " samples a second while trace is sent",
        " samples a second, towards early, while trace is sent");
    add(pin.memory, " settles with a time constant of ", " samples", "");
    add(pin.coupling, " is shifted by ", " samples by each edge on a pin beside it", "");
    if (pin.stuck) {
        traits.push_back(fmt::format("{} is stuck at {}", name, *pin.stuck));
    }
    if (pin.open) {
        traits.push_back(name + " is not connected");
    }
    if (pin.swappedWith) {
        traits.push_back(fmt::format("{} and EMU pin {} are swapped", name, *pin.swappedWith));
    }
    if (pin.glitchEvery != 0.0) {
        traits.push_back(
            fmt::format("{} has pulses of {:g} samples, one in {:g} samples", name, pin.glitchLength, pin.glitchEvery));
    }
}

void addWiring(std::vector<std::string>& traits, const bench::WiringSettings& wiring) {
    traits.push_back(wiring.alignment == bench::Alignment::Edge ? "data change together with the clock"
                                                                : "data change in the middle between clock edges");
    if (wiring.jitter != 0.0) {
        traits.push_back(fmt::format("every edge jitters by {:g} samples rms", wiring.jitter));
    }
    for (const bench::PinWiring& pin : wiring.pins) {
        addPin(traits, pin);
    }
}

std::string fromText(std::uint64_t recording) {
    return recording > 1 ? fmt::format(" from recording {} on", recording) : std::string();
}

void addUnit(std::vector<std::string>& traits, const bench::UnitSettings& unit) {
    if (unit.errorA != 0 || unit.errorB != 0) {
        traits.push_back(fmt::format("the unit reports an error {:g} s into each recording", unit.errorAfter) +
                         fromText(unit.errorFrom));
    }
    if (unit.commsStuck) {
        traits.push_back("the unit's export port never comes to rest");
    }
    if (unit.bridgeNeedsReset) {
        traits.push_back("the unit's bridge asks for a reset");
    }
    for (const bench::MemoryCell& cell : unit.cells) {
        traits.push_back(fmt::format("bit {} of byte {} of the capture memory", cell.bit, cell.byte) +
                         (cell.every != 0 ? fmt::format(", and of every {}th after it,", cell.every) : std::string()) +
                         (cell.stuck ? fmt::format(" is stuck at {}", *cell.stuck) : " reads inverted") +
                         fromText(cell.fromRecording));
    }
}

std::vector<std::string> traitsOf(const bench::Scenario& scenario) {
    std::vector<std::string> traits;
    addTarget(traits, scenario);
    addWiring(traits, scenario.wiring);
    addUnit(traits, scenario.unit);
    if (scenario.server.speed != 1.0) {
        traits.push_back(fmt::format("the buffer fills {:g} times as fast as it really would", scenario.server.speed));
    }
    if (!scenario.faults.steps.empty()) {
        traits.push_back("the data server misbehaves: " +
                         toolkit::countText(scenario.faults.steps.size(), "scripted fault"));
    }
    return traits;
}

std::filesystem::path existingFile(const std::filesystem::path& file) {
    std::error_code failed;
    const std::filesystem::path whole = std::filesystem::absolute(file, failed).make_preferred();
    if (std::filesystem::is_directory(whole, failed)) {
        throw Failure(ExitCode::BadInput,
                      "the scenario " + file.string() + " is a folder; give the name of a file, or a scenario's name");
    }
    if (failed || !std::filesystem::is_regular_file(whole, failed)) {
        throw Failure(ExitCode::BadInput,
                      "there is no scenario file " + file.string() + "; check the name, or give a scenario's name");
    }
    return whole;
}

bench::Scenario parsed(const std::filesystem::path& file) {
    const std::string text = toolkit::readText(file);
    try {
        return bench::parseScenario(text, file.string());
    } catch (const bench::ScenarioError& error) {
        throw Failure(ExitCode::BadInput, error.what());
    }
}

} // namespace

Scenario readScenario(const std::filesystem::path& file) {
    Scenario scenario;
    scenario.file = existingFile(file);
    const bench::Scenario read = parsed(scenario.file);
    if (read.cpu.empty()) {
        throw Failure(ExitCode::BadInput,
                      scenario.file.string() + ": the scenario names no cpu; add a line such as cpu = \"bench/app\"");
    }
    scenario.name = read.name.empty() ? scenario.file.stem().string() : read.name;
    scenario.about = read.about;
    scenario.cpu = read.cpu;
    scenario.settings.dataPins = read.pins;
    scenario.settings.pinMap = read.pinMap;
    scenario.settings.exportKind = bench::exportKindName(read.kind);
    scenario.settings.bufferIndex = read.settings.buffer;
    scenario.settings.stopOnFull = read.settings.stopOnFull;
    scenario.settings.followTarget = read.settings.sync;
    scenario.names = namesOfTable(read.names, scenario.file.string());
    scenario.traits = traitsOf(read);
    scenario.environment = read.environment;
    scenario.expect = read.expect;
    return scenario;
}

void requireScenarios(const std::filesystem::path& folder) {
    std::error_code failed;
    if (!std::filesystem::is_directory(folder, failed)) {
        throw Failure(ExitCode::NoSystem, "the simulated bench is not installed: there is no folder " +
                                              folder.string() + "; install the component bench");
    }
}

std::filesystem::path scenarioFile(const std::string& nameOrPath, const std::filesystem::path& folder) {
    const bool isPath = nameOrPath.find_first_of("/\\") != std::string::npos || nameOrPath.ends_with(".toml");
    if (isPath) {
        return existingFile(toolkit::filePath(nameOrPath));
    }
    requireScenarios(folder);
    const auto file = folder / toolkit::filePath(nameOrPath + ".toml");
    std::error_code failed;
    if (std::filesystem::is_regular_file(file, failed)) {
        return existingFile(file);
    }
    std::vector<std::string> names;
    for (const Scenario& scenario : listScenarios(folder)) {
        names.push_back(scenario.name);
    }
    // The list is long; a near name is enough.
    const std::string nearest = toolkit::suggestion(nameOrPath, names);
    const std::string known = toolkit::joined(names, ", ");
    throw Failure(ExitCode::BadInput, "there is no scenario '" + nameOrPath + "' in " + folder.string() +
                                          (!nearest.empty() ? nearest
                                           : known.empty()  ? std::string()
                                                            : std::string("; there are: ") + known));
}

std::vector<Scenario> listScenarios(const std::filesystem::path& folder) {
    std::vector<Scenario> found;
    std::error_code failed;
    for (const auto& entry : std::filesystem::directory_iterator(folder, failed)) {
        if (entry.path().extension() == ".toml") {
            found.push_back(readScenario(entry.path()));
        }
    }
    std::sort(found.begin(), found.end(), [](const Scenario& a, const Scenario& b) { return a.name < b.name; });
    return found;
}

std::vector<std::pair<std::string, std::string>> devicesOf(const std::filesystem::path& file) {
    std::vector<std::pair<std::string, std::string>> devices;
    try {
        const std::string text = toolkit::readText(file);
        if (!bench::tomlTextFault(text, file.string()).empty()) {
            return devices;
        }
        const toml::table root = toml::parse(text);
        const toml::array* list = root["device"].as_array();
        for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
            const toml::table* device = (*list)[i].as_table();
            if (device != nullptr) {
                devices.emplace_back((*device)["name"].value_or(std::string()),
                                     (*device)["note"].value_or(std::string()));
            }
        }
    } catch (const toolkit::Failure&) { // a real database has no such file
    } catch (const toml::parse_error&) {
    }
    return devices;
}

} // namespace host
