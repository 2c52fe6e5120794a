#include "diagnosis/Diagnosis.h"
#include "host/commands/Commands.h"
#include "toolkit/FilePath.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace host {

namespace {

class ReportCommand final : public Command {
public:
    ReportCommand() : Command("report", "Write a page about a calibration, from the files that it left") {}

    void setUp(CLI::App& app) override {
        app.add_option("place", place, "Folder of a run, stem of its files, or one of them")
            ->required()
            ->option_text("DIR|STEM");
        app.add_option("--out", out, "The page to write (NAME.report.html in the folder, or beside the files)")
            ->option_text("FILE");
        app.add_flag("--force", force, "Overwrite a page that exists");
        addJson(app);
        app.footer("The page is one HTML file that needs nothing else. Exit code 3 when a damaged\n"
                   "file was left out.\n"
                   "Example: orvtrace report run");
    }

    toolkit::ExitCode run() override {
        const diagnosis::ReportResult result =
            diagnosis::writeReport(toolkit::filePath(place), toolkit::filePath(out), force);
        const toolkit::ExitCode code =
            result.set.troubles.empty() ? toolkit::ExitCode::Done : toolkit::ExitCode::BadInput;
        if (json) {
            nlohmann::json text = diagnosis::diagnosisJson(result.set, result.diagnosis);
            text["outcome"] = toolkit::exitCodeName(code);
            text["exitCode"] = static_cast<int>(code);
            text["report"] = result.file.string();
            std::cout << toolkit::jsonText(text);
        } else {
            toolkit::printText(toolkit::masked(result.set.name) + ": " + result.diagnosis.headline + "\n" +
                               diagnosis::findingCount(result.diagnosis) + "\nreport " +
                               toolkit::masked(result.file.string()) + "\n");
        }
        std::cout << std::flush;
        for (const std::string& trouble : result.set.troubles) {
            toolkit::printNotice(trouble + "; it was left out");
        }
        return code;
    }

private:
    std::string place;
    std::string out;
    bool force = false;
};

} // namespace

std::unique_ptr<Command> makeReportCommand() {
    return std::make_unique<ReportCommand>();
}

} // namespace host
