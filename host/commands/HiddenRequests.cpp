#include "host/commands/HiddenRequests.h"

#include "host/commands/Completion.h"
#include "host/commands/ManualPages.h"
#include "host/platform/Platform.h"
#include "host/scenario/ScenarioFile.h"
#include "host/session/RunProperties.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/OutputFiles.h"

#include <iostream>
#include <string_view>
#include <vector>

namespace host {

namespace {

/// Values by the name that help texts give them.
std::vector<std::string> valuesNamed(const std::string& valueName) {
    std::vector<std::string> values;
    if (valueName == "NAME|FILE") {
        for (const Scenario& scenario : listScenarios(programFolder() / "scenarios")) {
            values.push_back(scenario.name);
        }
    } else if (valueName == "NAME=VALUE") {
        for (const std::string& property : settableProperties()) {
            values.push_back(property + "=");
        }
    }
    return values;
}

/// Nothing is better than an error in the middle of the line that is being typed.
void printCandidates(const CommandFacts& program, const std::vector<std::string>& words) {
    std::vector<Candidate> candidates;
    try {
        candidates = candidatesFor(program, words, valuesNamed);
    } catch (const std::exception&) {
        return;
    }
    for (const Candidate& candidate : candidates) {
        std::cout << candidate.word << (candidate.about.empty() ? "" : "\t") << candidate.about << "\n";
    }
}

int writeManualPages(const CommandFacts& program, const std::string& folder, const ManualEdition& edition) {
    try {
        for (const ManualPage& page : manualPagesOf(program, edition)) {
            toolkit::writeOutputFile(toolkit::filePath(folder) / page.file,
                                     [&](std::ostream& out) { out << page.text; });
        }
    } catch (const toolkit::Failure& failure) {
        std::cerr << "orvtrace: " << failure.what() << "\n";
        return static_cast<int>(failure.code);
    }
    return 0;
}

} // namespace

std::optional<int> answeredHidden(const std::function<CommandFacts()>& program, const std::string& version, int argc,
                                  const char* const* argv) {
    const std::string_view request = argc > 1 ? argv[1] : "";
    if (request == "--complete" || request == "--complete-next") {
        std::vector<std::string> words(argv + 2, argv + argc);
        if (request == "--complete-next") {
            words.emplace_back();
        }
        printCandidates(program(), words);
        return 0;
    }
    if (request == "--manual-pages" && argc == 4) {
        return writeManualPages(program(), argv[2], {version, argv[3]});
    }
    return std::nullopt;
}

} // namespace host
