#include "diagnosis/comparison/Comparison.h"
#include "diagnosis/comparison/MarginComparison.h"
#include "host/commands/Commands.h"
#include "host/platform/Platform.h"
#include "toolkit/FilePath.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/TextFile.h"

#include <array>
#include <filesystem>
#include <iostream>
#include <limits>
#include <optional>
#include <ostream>

namespace host {

namespace {

/// `orvtrace diff`.
class DiffCommand final : public Command {
public:
    DiffCommand() : Command("diff", "Compare two calibrations or margin scans, from their files") {}

    void setUp(Syntax& syntax) override {
        syntax.addArgument(places[0], "A", "Folder of a run, stem or one of its files, or a result of margin");
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
        margins = compareScans();
        if (isResult(places[0]) || isResult(places[1])) {
            if (!margins) {
                throw toolkit::Failure(toolkit::ExitCode::BadInput,
                                       "one of the two is a result of orvtrace margin, and the other holds none");
            }
            return concluded(diagnosis::isWorse(*margins, allowed), {{"places", places}},
                             diagnosis::marginComparisonText(*margins, outputColumns()), marginPage());
        }
        const diagnosis::Comparison found = diagnosis::compare(read(places[0]), read(places[1]));
        const bool isWorse = diagnosis::isWorse(found, allowed) || (margins && diagnosis::isWorse(*margins, allowed));
        const std::string more = margins ? "\n" + diagnosis::marginComparisonText(*margins, outputColumns()) : "";
        return concluded(isWorse, diagnosis::comparisonJson(found),
                         diagnosis::comparisonText(found, outputColumns()) + more,
                         diagnosis::comparisonPage(found, markup()));
    }

private:
    static constexpr double noLimit = std::numeric_limits<double>::infinity();

    static bool isResult(const std::string& place) {
        std::error_code failed;
        const std::filesystem::path path = toolkit::filePath(place);
        // The checks of a run are one of its files.
        return path.extension() == ".json" && !place.ends_with(".checks.json") &&
               std::filesystem::is_regular_file(path, failed);
    }

    /// Of both places, where both hold a scan.
    std::optional<diagnosis::MarginComparison> compareScans() const {
        const std::filesystem::path a = scanAt(places[0]);
        const std::filesystem::path b = scanAt(places[1]);
        return a.empty() || b.empty() ? std::nullopt : std::optional(diagnosis::compareMargins(scan(a), scan(b)));
    }
    static std::filesystem::path scanAt(const std::string& place) {
        return place.ends_with(".checks.json") ? std::filesystem::path()
                                               : diagnosis::scannedMarginsAt(toolkit::filePath(place));
    }
    static diagnosis::ScannedMargins scan(const std::filesystem::path& file) {
        return diagnosis::parseScannedMargins(toolkit::readText(file), file.string());
    }

    std::string markup() const { return margins ? diagnosis::marginComparisonMarkup(*margins) : std::string(); }
    std::string marginPage() const { return diagnosis::marginComparisonPage(*margins); }

    toolkit::ExitCode concluded(bool isWorse, const nlohmann::json& result, const std::string& text,
                                const std::string& markupOfPage) const {
        const toolkit::ExitCode code = isWorse && limits() ? toolkit::ExitCode::FaultsFound : toolkit::ExitCode::Done;
        if (!page.empty()) {
            toolkit::writeOutputFile(toolkit::filePath(page), [&](std::ostream& out) { out << markupOfPage; });
        }
        nlohmann::json object = toolkit::resultHead(code);
        object.update(result);
        object["margins"] = margins ? diagnosis::marginComparisonJson(*margins) : nlohmann::json();
        object["allow"] = limits() ? nlohmann::json(allowed) : nlohmann::json();
        toolkit::printText(json ? toolkit::jsonText(object) : text + pageLine());
        std::cout << std::flush;
        return code;
    }

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
    std::optional<diagnosis::MarginComparison> margins;
    double allowed = noLimit;
    std::string page;
    bool force = false;
};

} // namespace

std::unique_ptr<Command> makeDiffCommand() {
    return std::make_unique<DiffCommand>();
}

} // namespace host
