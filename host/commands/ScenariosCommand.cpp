#include <cstdio>
#include <iostream>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/basics/ExitCode.h"
#include "host/commands/Commands.h"
#include "host/files/ScenarioFile.h"
#include "host/platform/Platform.h"

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

/// `orvtrace scenarios`.
class ScenariosCommand : public Command {
public:
    ScenariosCommand() : Command("scenarios", "List the scenarios of the bench, or explain one") {}

    void setUp(CLI::App& app) override {
        app.add_option("name", wanted, "The scenario to explain");
        addJson(app);
    }

    ExitCode run() override {
        const auto folder = programFolder() / "scenarios";
        if (!wanted.empty())
            showOne(findScenario(wanted, folder));
        else
            showAll(listScenarios(folder));
        return ExitCode::Done;
    }

private:
    void showOne(const Scenario& scenario) const {
        if (json)
            std::cout << toJson(scenario).dump(2) << "\n";
        else
            explain(scenario);
    }

    void showAll(const std::vector<Scenario>& scenarios) const {
        nlohmann::json all = nlohmann::json::array();
        for (const Scenario& scenario : scenarios) {
            if (json)
                all.push_back(toJson(scenario));
            else
                std::printf("%-16s %s\n", scenario.name.c_str(), scenario.about.c_str());
        }
        if (json)
            std::cout << all.dump(2) << "\n";
    }

    std::string wanted;
};

} // namespace

std::unique_ptr<Command> makeScenariosCommand() {
    return std::make_unique<ScenariosCommand>();
}

} // namespace host
