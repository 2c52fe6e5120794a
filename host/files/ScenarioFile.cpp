#include "host/files/ScenarioFile.h"

#include <algorithm>
#include <sstream>

#include <toml++/toml.h>

#include "host/basics/ExitCode.h"

namespace host {

namespace {

std::string valueText(const toml::node& node) {
    if (const auto text = node.value_exact<std::string>())
        return *text;
    if (const auto truth = node.value_exact<bool>())
        return *truth ? "true" : "false";
    std::ostringstream out;
    if (const auto whole = node.value_exact<std::int64_t>())
        out << *whole;
    else if (const auto number = node.value_exact<double>())
        out << *number;
    else if (const toml::array* list = node.as_array()) {
        for (const toml::node& item : *list)
            out << (out.tellp() > 0 ? "," : "") << valueText(item);
    }
    return out.str();
}

std::map<std::string, std::string> textTable(const toml::node_view<const toml::node>& section) {
    std::map<std::string, std::string> texts;
    if (const toml::table* table = section.as_table()) {
        for (const auto& [key, value] : *table)
            texts[std::string(key.str())] = valueText(value);
    }
    return texts;
}

} // namespace

Scenario readScenario(const std::filesystem::path& file) {
    Scenario scenario;
    std::error_code failed;
    scenario.file = std::filesystem::absolute(file, failed).make_preferred();
    if (failed || !std::filesystem::is_regular_file(scenario.file, failed))
        throw Failure(ExitCode::BadInput, "there is no scenario file " + file.string());
    try {
        const toml::table root = toml::parse_file(scenario.file.string());
        scenario.name = root["name"].value_or(scenario.file.stem().string());
        scenario.about = root["about"].value_or(std::string());
        scenario.cpu = root["cpu"].value_or(std::string());
        scenario.settings.dataPins = root["pins"].value_or(4U);
        scenario.settings.pinMap = root["pin_map"].value_or(std::string());
        scenario.settings.exportKind = root["kind"].value_or(std::string("pti"));
        scenario.settings.bufferIndex = root["settings"]["buffer"].value_or(0U);
        scenario.settings.stopOnFull = root["settings"]["stop_on_full"].value_or(false);
        scenario.settings.followTarget = root["settings"]["sync"].value_or(false);
        scenario.environment = textTable(root["environment"]);
        scenario.expect = textTable(root["expect"]);
    } catch (const toml::parse_error& error) {
        std::ostringstream text;
        text << scenario.file.string() << ":" << error.source().begin.line << ": " << error.description();
        throw Failure(ExitCode::BadInput, text.str());
    }
    if (scenario.cpu.empty())
        throw Failure(ExitCode::BadInput, scenario.file.string() + ": the scenario names no cpu");
    return scenario;
}

Scenario findScenario(const std::string& nameOrPath, const std::filesystem::path& folder) {
    const bool isPath = nameOrPath.find_first_of("/\\") != std::string::npos || nameOrPath.ends_with(".toml");
    if (isPath)
        return readScenario(nameOrPath);
    const auto file = folder / (nameOrPath + ".toml");
    std::error_code failed;
    if (std::filesystem::is_regular_file(file, failed))
        return readScenario(file);
    std::string known;
    for (const Scenario& scenario : listScenarios(folder))
        known.append(known.empty() ? "" : ", ").append(scenario.name);
    throw Failure(ExitCode::BadInput, "there is no scenario '" + nameOrPath + "' in " + folder.string() +
                                          (known.empty() ? std::string() : std::string("; there are: ") + known));
}

std::vector<Scenario> listScenarios(const std::filesystem::path& folder) {
    std::vector<Scenario> found;
    std::error_code failed;
    for (const auto& entry : std::filesystem::directory_iterator(folder, failed)) {
        if (entry.path().extension() == ".toml")
            found.push_back(readScenario(entry.path()));
    }
    std::sort(found.begin(), found.end(), [](const Scenario& a, const Scenario& b) { return a.name < b.name; });
    return found;
}

} // namespace host
