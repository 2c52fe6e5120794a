#include <cstdio>
#include <iostream>

#include <nlohmann/json.hpp>

#include "host/ExitCode.h"
#include "host/Platform.h"
#include "host/RecordOptions.h"
#include "host/ScenarioFile.h"

namespace host {

namespace {

void explain(const Scenario& scenario) {
    std::cout << scenario.name << ": " << scenario.about << "\n"
              << "  cpu         " << scenario.cpu << "\n"
              << "  export      " << scenario.settings.exportKind << ", " << scenario.settings.dataPins
              << " data pin(s)\n"
              << "  buffer      " << bufferSizes.at(scenario.settings.bufferIndex) << ", "
              << (scenario.settings.stopOnFull ? "stops when full" : "wraps") << "\n";
    for (const auto& [key, value] : scenario.expect)
        std::cout << "  expected    " << key << " = " << value << "\n";
    std::cout << "  file        " << scenario.file.string() << "\n";
}

nlohmann::json toJson(const Scenario& scenario) {
    return {{"name", scenario.name},
            {"about", scenario.about},
            {"cpu", scenario.cpu},
            {"export", scenario.settings.exportKind},
            {"pins", scenario.settings.dataPins},
            {"expect", scenario.expect},
            {"file", scenario.file.string()}};
}

void show(const std::string& name, bool json) {
    const auto folder = programFolder() / "scenarios";
    if (!name.empty()) {
        const Scenario scenario = findScenario(name, folder);
        if (json)
            std::cout << toJson(scenario).dump(2) << "\n";
        else
            explain(scenario);
        return;
    }
    nlohmann::json all = nlohmann::json::array();
    for (const Scenario& scenario : listScenarios(folder)) {
        if (json)
            all.push_back(toJson(scenario));
        else
            std::printf("%-16s %s\n", scenario.name.c_str(), scenario.about.c_str());
    }
    if (json)
        std::cout << all.dump(2) << "\n";
}

} // namespace

int runScenarios(const std::string& name, bool json) {
    try {
        show(name, json);
    } catch (const Failure& failure) {
        std::fprintf(stderr, "orvtrace: %s\n", failure.what());
        return static_cast<int>(failure.code);
    }
    return static_cast<int>(ExitCode::Done);
}

} // namespace host
