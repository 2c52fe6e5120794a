#include "host/commands/Commands.h"
#include "host/platform/Platform.h"
#include "host/scenario/ScenarioCheck.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <sstream>

namespace host {

namespace {

/// What a person can expect of a run.
std::string outcomeText(const Scenario& scenario) {
    const auto of = [&](const char* key) {
        const auto found = scenario.expect.find(key);
        return found == scenario.expect.end() ? std::string() : found->second;
    };
    std::string text = of("outcome");
    if (!of("setting").empty()) {
        text +=
            ", with setting " + of("setting") + (of("rejected").empty() ? "" : ", after " + of("rejected") + " failed");
    }
    // A test may look for no more than how a message begins.
    std::string message = of("message");
    while (message.ends_with(' ') || message.ends_with(':')) {
        message.pop_back();
    }
    if (!message.empty()) {
        text += ": " + message;
    }
    if (!of("soak").empty()) {
        text += "; of a soak: " + of("soak");
    }
    return text.empty() ? "nothing in particular" : text;
}

void explain(const Scenario& scenario) {
    std::ostringstream out;
    out << toolkit::masked(scenario.name + ": " + scenario.about) << "\n"
        << "  cpu       " << toolkit::masked(scenario.cpu) << "\n"
        << "  export    " << toolkit::masked(scenario.settings.exportKind) << ", "
        << toolkit::countText(scenario.settings.dataPins, "data pin")
        << (scenario.settings.pinMap.empty() ? "" : ", pins " + toolkit::masked(scenario.settings.pinMap)) << "\n"
        << "  buffer    " << bufferSizes.at(scenario.settings.bufferIndex) << ", "
        << (scenario.settings.stopOnFull ? "stops when full" : "wraps") << "\n";
    for (const std::string& trait : scenario.traits) {
        out << (&trait == &scenario.traits.front() ? "  bench     " : "            ") << toolkit::masked(trait) << "\n";
    }
    const auto options = scenario.expect.find("options");
    out << "  outcome   " << toolkit::masked(outcomeText(scenario)) << "\n"
        << "  file      " << toolkit::masked(scenario.file.string()) << "\n"
        << "  try       orvtrace " << (scenario.expect.contains("soak") ? "soak" : "record") << " --scenario "
        << toolkit::masked(scenario.name)
        << (options == scenario.expect.end() ? "" : " " + toolkit::masked(options->second)) << "\n";
    toolkit::printText(out.str());
}

nlohmann::json toJson(const Scenario& scenario) {
    return {{"name", scenario.name},
            {"about", scenario.about},
            {"cpu", scenario.cpu},
            {"export", scenario.settings.exportKind},
            {"pins", scenario.settings.dataPins},
            {"bench", scenario.traits},
            {"expect", scenario.expect},
            {"file", scenario.file.string()}};
}

/// `orvtrace scenarios`.
class ScenariosCommand : public Command {
public:
    ScenariosCommand() : Command("scenarios", "List the scenarios of the bench, or explain one") {}

    void setUp(CLI::App& app) override {
        app.footer("Example: orvtrace scenarios bench-cable");
        app.add_option("name", wanted, "The scenario to explain: a name or a file")->option_text("NAME|FILE");
        addJson(app);
    }

    toolkit::ExitCode run() override {
        if (!wanted.empty()) {
            showOne(soundScenario(wanted, programFolder()));
        } else {
            showAll();
        }
        return toolkit::ExitCode::Done;
    }

private:
    void showOne(const Scenario& scenario) const {
        if (json) {
            std::cout << toolkit::jsonText(toJson(scenario));
        } else {
            explain(scenario);
        }
    }

    void showAll() const {
        const auto folder = programFolder() / "scenarios";
        requireScenarios(folder);
        nlohmann::json all = nlohmann::json::array();
        for (const Scenario& scenario : listScenarios(folder)) {
            if (json) {
                all.push_back(toJson(scenario));
            } else {
                toolkit::printText(toolkit::print("%-16s ", toolkit::masked(scenario.name).c_str()) +
                                   toolkit::masked(scenario.about) + "\n");
            }
        }
        if (json) {
            std::cout << toolkit::jsonText(all);
        }
    }

    std::string wanted;
};

} // namespace

std::unique_ptr<Command> makeScenariosCommand() {
    return std::make_unique<ScenariosCommand>();
}

} // namespace host
