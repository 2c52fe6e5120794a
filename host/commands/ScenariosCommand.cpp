#include "host/commands/Commands.h"
#include "host/commands/TerminalText.h"
#include "host/platform/Platform.h"
#include "host/scenario/ScenarioFile.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/Table.h"

#include <iostream>

namespace host {

namespace {

/// What the scenario's author expects, by key; may be empty.
std::string expected(const Scenario& scenario, const char* key) {
    const auto found = scenario.expect.find(key);
    return found == scenario.expect.end() ? std::string() : found->second;
}

/// The expected result of a run, for a person.
std::string outcomeText(const Scenario& scenario) {
    const auto of = [&](const char* key) { return expected(scenario, key); };
    std::string text = of("outcome");
    if (!of("setting").empty()) {
        text +=
            ", with setting " + of("setting") + (of("rejected").empty() ? "" : ", after " + of("rejected") + " failed");
    }
    // A test may expect the beginning of a message only.
    std::string message = of("message");
    message.erase(message.find_last_not_of(" :") + 1);
    text += message.empty() ? "" : ": " + message;
    text += of("soak").empty() ? "" : "; of a soak: " + of("soak");
    return text.empty() ? "nothing in particular" : text;
}

void explain(const Scenario& scenario) {
    toolkit::Table table(2, "  ");
    table.addRow({"cpu", scenario.cpu});
    table.addRow({"export", scenario.settings.exportKind + ", " +
                                toolkit::countText(scenario.settings.dataPins, "data pin") +
                                (scenario.settings.pinMap.empty() ? "" : ", pins " + scenario.settings.pinMap)});
    table.addRow({"buffer", std::string(bufferSizes.at(scenario.settings.bufferIndex)) + ", " +
                                (scenario.settings.stopOnFull ? "stops when full" : "wraps")});
    for (const std::string& trait : scenario.traits) {
        table.addRow({&trait == &scenario.traits.front() ? "bench" : "", trait});
    }
    table.addRow({"outcome", outcomeText(scenario)});
    table.addRow({"file", scenario.file.string()});
    const std::string options = expected(scenario, "options");
    table.addRow({"try", std::string("orvtrace ") + (expected(scenario, "soak").empty() ? "record" : "soak") +
                             " --scenario " + scenario.name + (options.empty() ? "" : " " + options)});
    printResult(toolkit::masked(scenario.name + ": " + scenario.about) + "\n" + table.text(outputColumns()));
}

/// What the scenario's author expects, with each value in its own kind.
nlohmann::json expectJson(const Scenario& scenario) {
    const auto text = [&](const char* key) { return expected(scenario, key); };
    const auto value = [&](const char* key) {
        const auto parsed = nlohmann::json::parse(text(key), nullptr, toolkit::noExceptions);
        return parsed.is_primitive() && !parsed.is_discarded() ? parsed : nlohmann::json();
    };
    const auto rejected = nlohmann::json::parse("[" + text("rejected") + "]", nullptr, toolkit::noExceptions);
    return {{"outcome", toolkit::orNull(text("outcome"))},
            {"message", toolkit::orNull(text("message"))},
            {"setting", value("setting")},
            {"rejected", rejected.is_discarded() ? nlohmann::json::array() : rejected},
            {"state", toolkit::orNull(text("state"))},
            {"wrapped", value("wrapped")},
            {"bytes", value("bytes")},
            {"eye", value("eye")},
            {"options", toolkit::orNull(text("options"))},
            {"soakOutcome", toolkit::orNull(text("soak"))},
            {"soakWords", value("soak_words")},
            {"soakWrongWords", value("soak_errors")}};
}

nlohmann::json toJson(const Scenario& scenario) {
    return {{"name", scenario.name},
            {"about", scenario.about},
            {"cpu", scenario.cpu},
            {"exportKind", scenario.settings.exportKind},
            {"dataPins", scenario.settings.dataPins},
            {"traits", scenario.traits},
            {"expect", expectJson(scenario)},
            {"file", scenario.file.string()}};
}

/// `orvtrace scenarios`.
class ScenariosCommand : public Command {
public:
    ScenariosCommand() : Command("scenarios", "List the scenarios of the bench, or explain one") {}

    void setUp(Syntax& syntax) override {
        syntax.footer("Example: orvtrace scenarios bench-cable");
        syntax.addOptionalArgument(wanted, "NAME|FILE", "The scenario to explain: a name or a file");
    }

    toolkit::ExitCode run() override {
        const auto folder = programFolder() / "scenarios";
        std::vector<Scenario> scenarios;
        if (wanted.empty()) {
            requireScenarios(folder);
            scenarios = listScenarios(folder);
        } else {
            scenarios.push_back(readScenario(scenarioFile(wanted, folder)));
        }
        if (json) {
            nlohmann::json out = toolkit::resultHead(toolkit::ExitCode::Done);
            out["scenarios"] = nlohmann::json::array();
            for (const Scenario& scenario : scenarios) {
                out["scenarios"].push_back(toJson(scenario));
            }
            std::cout << toolkit::jsonText(out);
        } else if (!wanted.empty()) {
            explain(scenarios.front());
        } else {
            toolkit::Table table(2);
            for (const Scenario& scenario : scenarios) {
                table.addRow({scenario.name, scenario.about});
            }
            printResult(table.text(outputColumns()));
        }
        return toolkit::ExitCode::Done;
    }

private:
    std::string wanted;
};

} // namespace

std::unique_ptr<Command> makeScenariosCommand() {
    return std::make_unique<ScenariosCommand>();
}

} // namespace host
