#include "diagnosis/Diagnosis.h"
#include "host/commands/Commands.h"
#include "toolkit/FilePath.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace host {

namespace {

class DoctorCommand final : public Command {
public:
    DoctorCommand() : Command("doctor", "Name what is wrong with a board, from the files of a calibration") {}

    void setUp(CLI::App& app) override {
        app.add_option("place", place, "Folder of a run, stem of its files, or one of them")
            ->required()
            ->option_text("DIR|STEM");
        addJson(app);
        app.footer("Every finding says what it rests on. Exit code 10 when there is a fault, and 3\n"
                   "when there is none but a damaged file was left out, or the files do not tell\n"
                   "how the calibration ended.\n"
                   "Example: orvtrace doctor run");
    }

    toolkit::ExitCode run() override {
        const diagnosis::DiagnosticSet set = diagnosis::readDiagnostics(toolkit::filePath(place));
        const diagnosis::Diagnosis diagnosis = diagnosis::diagnose(set);
        // Files that do not tell how the calibration ended are too few to call a board sound.
        const bool enough = set.troubles.empty() && diagnosis.calibrated.has_value();
        const toolkit::ExitCode code = diagnosis.hasFaults() ? toolkit::ExitCode::FaultsFound
                                       : enough              ? toolkit::ExitCode::Done
                                                             : toolkit::ExitCode::BadInput;
        if (json) {
            nlohmann::json out = diagnosis::diagnosisJson(set, diagnosis);
            out["outcome"] = toolkit::exitCodeName(code);
            out["exitCode"] = static_cast<int>(code);
            std::cout << toolkit::jsonText(out);
        } else {
            toolkit::printText(diagnosis::diagnosisText(set, diagnosis));
        }
        std::cout << std::flush;
        for (const std::string& trouble : set.troubles) {
            toolkit::printNotice(trouble + "; it was left out");
        }
        return code;
    }

private:
    std::string place;
};

} // namespace

std::unique_ptr<Command> makeDoctorCommand() {
    return std::make_unique<DoctorCommand>();
}

} // namespace host
