#include "diagnosis/Diagnosis.h"
#include "host/commands/Commands.h"
#include "toolkit/FilePath.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"

#include <iostream>

namespace host {

namespace {

/// The common part of `doctor` and `report`: a diagnosis from files.
class DiagnosisCommand : public Command {
public:
    using Command::Command;

    void setUp(Syntax& syntax) override {
        syntax.addArgument(place, "DIR|STEM", "Folder of a run, stem of its files, or one of them");
    }

protected:
    toolkit::ExitCode print(const diagnosis::DiagnosticSet& set, nlohmann::json object, toolkit::ExitCode code,
                            const std::string& text) const {
        object.update(toolkit::resultHead(code));
        toolkit::printText(json ? toolkit::jsonText(object) : text);
        std::cout << std::flush;
        for (const std::string& trouble : set.troubles) {
            toolkit::printNotice(trouble + "; it was left out");
        }
        return code;
    }

    std::string place;
};

class DoctorCommand final : public DiagnosisCommand {
public:
    DoctorCommand() : DiagnosisCommand("doctor", "Name what is wrong with a board, from the files of a calibration") {}

    void setUp(Syntax& syntax) override {
        DiagnosisCommand::setUp(syntax);
        syntax.footer("Every finding names its evidence. Exit code 10 if there is a fault, and 3 if\n"
                      "there is none but a damaged file was left out, or the files do not say how the\n"
                      "calibration ended.\n"
                      "Example: orvtrace doctor run");
    }

    toolkit::ExitCode run() override {
        const diagnosis::DiagnosticSet set = diagnosis::readDiagnostics(toolkit::filePath(place));
        const diagnosis::Diagnosis diagnosis = diagnosis::diagnose(set);
        // Files without the calibration's end are too few to call a board sound.
        const bool enough = set.troubles.empty() && diagnosis.calibrated.has_value();
        const toolkit::ExitCode code = diagnosis.hasFaults() ? toolkit::ExitCode::FaultsFound
                                       : enough              ? toolkit::ExitCode::Done
                                                             : toolkit::ExitCode::BadInput;
        return print(set, diagnosis::diagnosisJson(set, diagnosis), code, diagnosis::diagnosisText(set, diagnosis));
    }
};

class ReportCommand final : public DiagnosisCommand {
public:
    ReportCommand() : DiagnosisCommand("report", "Write a page about a calibration, from the files that it left") {}

    void setUp(Syntax& syntax) override {
        DiagnosisCommand::setUp(syntax);
        syntax.addOption("--out", out, "FILE",
                         "The page to write (NAME.report.html in the folder, or beside the files)");
        syntax.addFlag("--force", force, "Overwrite a page that exists");
        syntax.footer("The page is one HTML file that needs nothing else. Exit code 3 if a damaged\n"
                      "file was left out.\n"
                      "Example: orvtrace report run");
    }

    toolkit::ExitCode run() override {
        const diagnosis::ReportResult result =
            diagnosis::writeReport(toolkit::filePath(place), toolkit::filePath(out), force);
        const toolkit::ExitCode code =
            result.set.troubles.empty() ? toolkit::ExitCode::Done : toolkit::ExitCode::BadInput;
        nlohmann::json object = diagnosis::diagnosisJson(result.set, result.diagnosis);
        object["files"] = {{"report", result.file.string()}};
        return print(result.set, object, code,
                     toolkit::masked(result.set.name) + ": " + result.diagnosis.headline + "\n" +
                         diagnosis::findingCount(result.diagnosis) + "\nreport " +
                         toolkit::masked(result.file.string()) + "\n");
    }

private:
    std::string out;
    bool force = false;
};

} // namespace

std::unique_ptr<Command> makeDoctorCommand() {
    return std::make_unique<DoctorCommand>();
}

std::unique_ptr<Command> makeReportCommand() {
    return std::make_unique<ReportCommand>();
}

} // namespace host
