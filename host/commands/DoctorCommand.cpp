#include <iostream>

#include <CLI/CLI.hpp>

#include "host/basics/FilePath.h"
#include "host/basics/JsonText.h"
#include "host/basics/Masked.h"
#include "host/commands/Commands.h"
#include "host/doctor/DiagnosisText.h"

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

    ExitCode run() override {
        const diagnostics::DiagnosticSet set = diagnostics::readDiagnostics(filePath(place));
        const Diagnosis diagnosis = diagnose(set);
        // Files that do not tell how the calibration ended are too few to call a board sound.
        const bool enough = set.troubles.empty() && diagnosis.calibrated.has_value();
        const ExitCode code = diagnosis.hasFaults() ? ExitCode::FaultsFound
                              : enough              ? ExitCode::Done
                                                    : ExitCode::BadInput;
        if (json) {
            nlohmann::json out = diagnosisJson(set, diagnosis);
            out["outcome"] = exitCodeName(code);
            out["exitCode"] = static_cast<int>(code);
            std::cout << jsonText(out);
        } else {
            printText(diagnosisText(set, diagnosis));
        }
        std::cout << std::flush;
        for (const std::string& trouble : set.troubles)
            printNotice(trouble + "; it was left out");
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
