#include "host/scenario/ScenarioFile.h"

#include "bench/scenarios/Environment.h"
#include "bench/scenarios/TomlText.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/TextFile.h"

#include <toml++/toml.h>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace host {

namespace {

std::string valueText(const toml::node& node) {
    if (const auto text = node.value_exact<std::string>()) {
        return *text;
    }
    if (const auto truth = node.value_exact<bool>()) {
        return *truth ? "true" : "false";
    }
    std::ostringstream out;
    if (const auto whole = node.value_exact<std::int64_t>()) {
        out << *whole;
    } else if (const auto number = node.value_exact<double>()) {
        out << *number;
    } else if (const toml::array* list = node.as_array()) {
        for (const toml::node& item : *list) {
            out << (out.tellp() > 0 ? "," : "") << valueText(item);
        }
    }
    return out.str();
}

/// Refuses what the bench's server refuses too: the check must hold where no server is installed to do it.
void requireOwnVariables(const toml::table& root, const std::string& pinMap, const std::string& file) {
    constexpr std::string_view section = "environment";
    const toml::table* variables = root[section].as_table();
    if (variables == nullptr) {
        return;
    }
    for (const auto& [key, value] : *variables) {
        const std::string path = std::string(section) + "." + std::string(key.str());
        if (!bench::scenarioMaySet(key.str(), pinMap)) {
            throw toolkit::Failure(toolkit::ExitCode::BadInput, file + ":" + std::to_string(value.source().begin.line) +
                                                                    ": '" + path + "' " + bench::environmentRule);
        }
    }
}

std::map<std::string, std::string> textTable(const toml::node_view<const toml::node>& section) {
    std::map<std::string, std::string> texts;
    if (const toml::table* table = section.as_table()) {
        for (const auto& [key, value] : *table) {
            texts[std::string(key.str())] = valueText(value);
        }
    }
    return texts;
}

using View = toml::node_view<const toml::node>;

std::string numberText(double value) {
    return toolkit::print("%g", value);
}

void addTarget(std::vector<std::string>& traits, const View& transmitter, const View& unit, bool generator) {
    if (generator) {
        traits.push_back("the unit's own generator at " +
                         toolkit::frequencyText(unit["generator_frequency"].value_or(50e6)) + ", no target");
        return;
    }
    std::string list;
    if (const toml::array* frequencies = transmitter["frequencies"].as_array()) {
        for (const toml::node& item : *frequencies) {
            list += (list.empty() ? "" : ", ") + toolkit::frequencyText(item.value_or(0.0));
        }
    }
    traits.push_back("the target's clock can be " + (list.empty() ? toolkit::frequencyText(50e6) : list));
    if (const toml::array* failing = transmitter["fail"].as_array()) {
        traits.push_back("the transmitter library refuses " + valueText(*failing));
    }
}

void addPin(std::vector<std::string>& traits, const toml::table& pin) {
    const std::string name = "EMU pin " + std::to_string(pin["emu"].value_or(0));
    const auto add = [&](const char* key, const char* before, const char* positive, const char* negative) {
        if (const auto value = pin[key].value<double>(); value && *value != 0.0) {
            traits.push_back(name + before + numberText(std::abs(*value)) + (*value > 0.0 ? positive : negative));
        }
    };
    add("skew", " comes ", " samples late", " samples early");
    add("late_fall", " falls ", " samples later than it rises", " samples earlier than it rises");
    add("jitter", " jitters by ", " samples rms", " samples rms");
    add("drift", " drifts later by ", " samples a second while trace is sent",
        " samples a second, towards early, while trace is sent");
    if (const auto level = pin["stuck"].value<int>()) {
        traits.push_back(name + " is stuck at " + std::to_string(*level));
    }
    if (pin["open"].value_or(false)) {
        traits.push_back(name + " is not connected");
    }
    if (const auto other = pin["swapped_with"].value<int>()) {
        traits.push_back(name + " and EMU pin " + std::to_string(*other) + " are swapped");
    }
    if (pin["glitch_every"].value_or(0.0) != 0.0) {
        traits.push_back(name + " has pulses of " + numberText(pin["glitch_length"].value_or(0.0)) +
                         " samples, one in " + numberText(pin["glitch_every"].value_or(0.0)) + " samples");
    }
}

void addWiring(std::vector<std::string>& traits, const View& wiring) {
    traits.push_back(wiring["alignment"].value_or(std::string("center")) == "edge"
                         ? "data change together with the clock"
                         : "data change in the middle between clock edges");
    if (const double jitter = wiring["jitter"].value_or(0.0); jitter != 0.0) {
        traits.push_back("every edge jitters by " + numberText(jitter) + " samples rms");
    }
    if (const toml::array* pins = wiring["pin"].as_array()) {
        for (const toml::node& pin : *pins) {
            if (const toml::table* table = pin.as_table()) {
                addPin(traits, *table);
            }
        }
    }
}

void addCell(std::vector<std::string>& traits, const toml::table& cell) {
    std::string text = "bit " + std::to_string(cell["bit"].value_or(0)) + " of byte " +
                       std::to_string(cell["byte"].value_or(std::int64_t{0})) + " of the capture memory";
    if (const auto every = cell["every"].value_or(std::int64_t{0}); every != 0) {
        text += ", and of every " + std::to_string(every) + "th behind it,";
    }
    const auto level = cell["stuck"].value<int>();
    text += level ? " is stuck at " + std::to_string(*level) : " reads inverted";
    if (const auto from = cell["from_recording"].value_or(std::int64_t{1}); from > 1) {
        text += " from recording " + std::to_string(from) + " on";
    }
    traits.push_back(text);
}

void addUnit(std::vector<std::string>& traits, const View& unit) {
    if (unit["error_a"].value_or(0) != 0 || unit["error_b"].value_or(0) != 0) {
        traits.push_back("the unit reports an error " + numberText(unit["error_after"].value_or(0.0)) +
                         " s into each recording" +
                         (unit["error_from"].value_or(1) > 1
                              ? " from recording " + std::to_string(unit["error_from"].value_or(1)) + " on"
                              : ""));
    }
    if (unit["comms_stuck"].value_or(false)) {
        traits.push_back("the unit's export port never comes to rest");
    }
    if (unit["bridge_needs_reset"].value_or(false)) {
        traits.push_back("the unit's bridge asks for a reset");
    }
    if (const toml::array* cells = unit["cell"].as_array()) {
        for (const toml::node& cell : *cells) {
            if (const toml::table* table = cell.as_table()) {
                addCell(traits, *table);
            }
        }
    }
}

void addServer(std::vector<std::string>& traits, const View& server, const View& faults) {
    if (const double speed = server["speed"].value_or(1.0); speed != 1.0) {
        traits.push_back("the buffer fills " + numberText(speed) + " times as fast as it really would");
    }
    if (const toml::array* steps = faults["at"].as_array()) {
        traits.push_back("the data server misbehaves: " + toolkit::countText(steps->size(), "scripted fault"));
    }
}

std::vector<std::string> traitsOf(const toml::table& root, const std::string& cpu) {
    std::vector<std::string> traits;
    addTarget(traits, root["transmitter"], root["unit"], cpu == "fpga");
    addWiring(traits, root["wiring"]);
    addUnit(traits, root["unit"]);
    addServer(traits, root["server"], root["faults"]);
    return traits;
}

std::filesystem::path existingFile(const std::filesystem::path& file) {
    std::error_code failed;
    const std::filesystem::path whole = std::filesystem::absolute(file, failed).make_preferred();
    if (std::filesystem::is_directory(whole, failed)) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput,
                               "the scenario " + file.string() +
                                   " is a folder; give the name of a file, or a scenario's name");
    }
    if (failed || !std::filesystem::is_regular_file(whole, failed)) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput, "there is no scenario file " + file.string() +
                                                                "; check the name, or give a scenario's name");
    }
    return whole;
}

} // namespace

Scenario readScenario(const std::filesystem::path& file) {
    Scenario scenario;
    scenario.file = existingFile(file);
    const std::string text = toolkit::readText(scenario.file);
    if (const std::string fault = bench::tomlTextFault(text, scenario.file.string()); !fault.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput, fault);
    }
    try {
        const toml::table root = toml::parse(text);
        scenario.name = root["name"].value_or(scenario.file.stem().string());
        scenario.about = root["about"].value_or(std::string());
        scenario.cpu = root["cpu"].value_or(std::string());
        scenario.settings.dataPins = root["pins"].value_or(4U);
        scenario.settings.pinMap = root["pin_map"].value_or(std::string());
        scenario.settings.exportKind = root["kind"].value_or(std::string("pti"));
        scenario.settings.bufferIndex = root["settings"]["buffer"].value_or(0U);
        scenario.settings.stopOnFull = root["settings"]["stop_on_full"].value_or(false);
        scenario.settings.followTarget = root["settings"]["sync"].value_or(false);
        requireOwnVariables(root, scenario.settings.pinMap, scenario.file.string());
        scenario.environment = textTable(root["environment"]);
        scenario.expect = textTable(root["expect"]);
        scenario.traits = traitsOf(root, scenario.cpu);
    } catch (const toml::parse_error& error) {
        std::ostringstream words;
        words << scenario.file.string() << ":" << error.source().begin.line << ": " << error.description();
        throw toolkit::Failure(toolkit::ExitCode::BadInput, words.str());
    }
    if (scenario.cpu.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput,
                               scenario.file.string() +
                                   ": the scenario names no cpu; add a line such as cpu = \"bench/app\"");
    }
    return scenario;
}

void requireScenarios(const std::filesystem::path& folder) {
    std::error_code failed;
    if (!std::filesystem::is_directory(folder, failed)) {
        throw toolkit::Failure(toolkit::ExitCode::NoSystem,
                               "the simulated bench is not installed: there is no folder " + folder.string() +
                                   "; install the component bench");
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
    std::string known;
    for (const Scenario& scenario : listScenarios(folder)) {
        known.append(known.empty() ? "" : ", ").append(scenario.name);
    }
    throw toolkit::Failure(toolkit::ExitCode::BadInput,
                           "there is no scenario '" + nameOrPath + "' in " + folder.string() +
                               (known.empty() ? std::string() : std::string("; there are: ") + known));
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

} // namespace host
