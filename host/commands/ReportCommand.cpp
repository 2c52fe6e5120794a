#include <iostream>

#include <CLI/CLI.hpp>

#include "host/basics/FilePath.h"
#include "host/basics/JsonText.h"
#include "host/basics/Masked.h"
#include "host/commands/Commands.h"
#include "host/doctor/DiagnosisText.h"
#include "host/report/Report.h"

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

    ExitCode run() override {
        const ReportResult result = writeReport(filePath(place), filePath(out), force);
        const ExitCode code = result.set.troubles.empty() ? ExitCode::Done : ExitCode::BadInput;
        if (json) {
            nlohmann::json text = diagnosisJson(result.set, result.diagnosis);
            text["outcome"] = exitCodeName(code);
            text["exitCode"] = static_cast<int>(code);
            text["report"] = result.file.string();
            std::cout << jsonText(text);
        } else {
            printText(masked(result.set.name) + ": " + result.diagnosis.headline + "\n" +
                      findingCount(result.diagnosis) + "\nreport " + masked(result.file.string()) + "\n");
        }
        std::cout << std::flush;
        for (const std::string& trouble : result.set.troubles)
            printNotice(trouble + "; it was left out");
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
