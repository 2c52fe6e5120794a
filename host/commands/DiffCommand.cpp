#include "diagnosis/comparison/Comparison.h"
#include "host/commands/Commands.h"
#include "host/platform/Platform.h"
#include "toolkit/FilePath.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/OutputFiles.h"

#include <array>
#include <iostream>
#include <limits>
#include <ostream>

namespace host {

namespace {

/// `orvtrace diff`.
class DiffCommand final : public Command {
public:
    DiffCommand() : Command("diff", "Compare two calibrations, from the files that they left") {}

    void setUp(Syntax& syntax) override {
        syntax.addArgument(places[0], "A", "Folder of a run, stem of its files, or one of them");
        syntax.addArgument(places[1], "B", "The other one, in most cases the later");
        syntax.addNumber("--allow", allowed, "N", 0.0, 1000.0,
                         "Exit code 10 if a margin shrank by more than N samples, or B is slower or lacks a pin");
        syntax.addOption("--html", page, "FILE", "Write a page, too");
        syntax.addFlag("--force", force, "Overwrite a page that exists");
        syntax.footer("Moved: a pin's data change earlier or later with delays and stretches taken out, which\n"
                      "is the board's doing. For the trace it counts whether a margin shrank.\n"
                      "Example: orvtrace diff monday tuesday --allow 1");
    }

    toolkit::ExitCode run() override {
        toolkit::CommandFiles files(force);
        for (const std::string& place : places) {
            files.read(toolkit::filePath(place));
        }
        if (!page.empty()) {
            files.write(toolkit::filePath(page));
        }
        const diagnosis::Comparison found = diagnosis::compare(read(places[0]), read(places[1]));
        const toolkit::ExitCode code =
            diagnosis::isWorse(found, allowed) && limits() ? toolkit::ExitCode::FaultsFound : toolkit::ExitCode::Done;
        if (!page.empty()) {
            toolkit::writeOutputFile(toolkit::filePath(page),
                                     [&](std::ostream& out) { out << diagnosis::comparisonPage(found); });
        }
        nlohmann::json object = toolkit::resultHead(code);
        object.update(diagnosis::comparisonJson(found));
        object["allow"] = limits() ? nlohmann::json(allowed) : nlohmann::json();
        toolkit::printText(json ? toolkit::jsonText(object)
                                : diagnosis::comparisonText(found, outputColumns()) + pageLine());
        std::cout << std::flush;
        return code;
    }

private:
    static constexpr double noLimit = std::numeric_limits<double>::infinity();

    bool limits() const { return allowed != noLimit; }
    std::string pageLine() const { return page.empty() ? page : "page " + toolkit::masked(page) + "\n"; }

    static diagnosis::KeptCalibration read(const std::string& place) {
        diagnosis::KeptCalibration kept = diagnosis::readKeptCalibration(toolkit::filePath(place));
        for (const std::string& trouble : kept.troubles) {
            toolkit::printNotice(trouble + "; it was left out");
        }
        return kept;
    }

    std::array<std::string, 2> places;
    double allowed = noLimit;
    std::string page;
    bool force = false;
};

} // namespace

std::unique_ptr<Command> makeDiffCommand() {
    return std::make_unique<DiffCommand>();
}

} // namespace host
