#include "host/doctor/DoctorCommand.h"

#include <cstdio>
#include <iostream>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/doctor/DiagnosisText.h"

namespace host {

namespace {

class DoctorCommand final : public Command {
public:
    DoctorCommand() : Command("doctor", "Name what is wrong with a board, from the files of a calibration") {}

    void setUp(CLI::App& app) override {
        app.add_option("place", place, "Folder of a run, stem of its files, or one of them")->required();
        addJson(app);
        app.footer("Every finding says what it rests on. Exit code 10 when there is a fault, and 3\n"
                   "when there is none but a damaged file was left out.\n"
                   "Example: orvtrace doctor run");
    }

    ExitCode run() override {
        const diagnostics::DiagnosticSet set = diagnostics::readDiagnostics(place);
        const Diagnosis diagnosis = diagnose(set);
        const ExitCode code = diagnosis.hasFaults()  ? ExitCode::FaultsFound
                              : set.troubles.empty() ? ExitCode::Done
                                                     : ExitCode::BadInput;
        if (json) {
            nlohmann::json out = diagnosisJson(set, diagnosis);
            out["outcome"] = exitCodeName(code);
            out["exitCode"] = static_cast<int>(code);
            std::cout << out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
        } else {
            std::cout << diagnosisText(set, diagnosis);
        }
        std::cout << std::flush;
        for (const std::string& trouble : set.troubles)
            std::fprintf(stderr, "orvtrace: %s; it was left out\n", trouble.c_str());
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
