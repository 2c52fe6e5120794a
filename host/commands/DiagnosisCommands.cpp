#include "diagnosis/Diagnosis.h"
#include "host/commands/Commands.h"
#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "host/commands/StandardStreams.h"
#include "host/scenario/NamesFile.h"
#include "toolkit/FilePath.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"

#include <iostream>
#include <optional>

namespace host {

namespace {

/// The common part of `doctor` and `report`: a diagnosis from files.
class DiagnosisCommand : public Command {
public:
    using Command::Command;

    void setUp(Syntax& syntax) override {
        syntax.addArgument(place, "DIR|STEM", "Folder of a run, stem of its files, or one of them");
        addNames(syntax, names);
        addStrict(syntax, strict);
    }

protected:
    std::optional<toolkit::LaneNames> givenNames() const {
        return names.empty() ? std::nullopt : std::optional(laneNamesOf(names));
    }

    diagnosis::DiagnosticSet readPlace() const {
        const std::optional<toolkit::LaneNames> given = givenNames();
        diagnosis::DiagnosticSet set = diagnosis::readDiagnostics(toolkit::filePath(place));
        set.names = given.value_or(set.names);
        return set;
    }

    toolkit::ExitCode print(const diagnosis::DiagnosticSet& set, const diagnosis::Diagnosis& diagnosis,
                            nlohmann::json object, toolkit::ExitCode otherwise, const std::string& text,
                            const NamedOutputs& outputs) const {
        const diagnosis::RunVerdict verdict = diagnosis::judgeRun(set, diagnosis);
        const bool fault = verdict.kind == diagnosis::RunVerdict::Kind::Fault;
        const toolkit::ExitCode code =
            diagnosis::exitCodeOf(verdict, fault ? toolkit::ExitCode::Done : otherwise, strict);
        object["verdict"] = diagnosis::verdictJson(verdict);
        object.update(toolkit::resultHead(code));
        if (json) {
            toolkit::printText(toolkit::jsonText(object));
        } else {
            outputs.print(text);
        }
        std::cout << std::flush;
        for (const std::string& trouble : set.troubles) {
            toolkit::printNotice(trouble + "; it was left out");
        }
        if (!json) {
            outputs.print(toolkit::masked(diagnosis::verdictLine(verdict)) + "\n");
        }
        return code;
    }

    std::string place;
    std::string names;
    bool strict = false;
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
        const diagnosis::DiagnosticSet set = readPlace();
        const diagnosis::Diagnosis diagnosis = diagnosis::diagnose(set);
        // Files without the calibration's end are too few to call a board sound.
        const bool enough = set.troubles.empty() && diagnosis.calibrated.has_value();
        return print(set, diagnosis, diagnosis::diagnosisJson(set, diagnosis),
                     enough ? toolkit::ExitCode::Done : toolkit::ExitCode::BadInput,
                     diagnosis::diagnosisText(set, diagnosis), NamedOutputs({}, json));
    }
};

class ReportCommand final : public DiagnosisCommand {
public:
    ReportCommand() : DiagnosisCommand("report", "Write a page about a calibration, from the files that it left") {}

    void setUp(Syntax& syntax) override {
        DiagnosisCommand::setUp(syntax);
        syntax.addOption("--out", out, "FILE",
                         "The page to write, or - (NAME.report.html in the folder, or beside the files)");
        addForce(syntax, force);
        syntax.footer("The page is one HTML file that needs nothing else; an earlier one is renewed. Exit\n"
                      "code 10 if the verdict is a fault, otherwise 3 if a damaged file was left out.\n"
                      "Example: orvtrace report run");
    }

    toolkit::ExitCode run() override {
        const NamedOutputs outputs({out}, json);
        const diagnosis::ReportResult result = written(outputs);
        const toolkit::ExitCode code =
            result.set.troubles.empty() ? toolkit::ExitCode::Done : toolkit::ExitCode::BadInput;
        nlohmann::json object = diagnosis::diagnosisJson(result.set, result.diagnosis);
        object["files"] = {{"report", result.file.string()}};
        return print(result.set, result.diagnosis, object, code,
                     toolkit::masked(result.set.name) + ": " + result.diagnosis.headline + "\n" +
                         diagnosis::findingCount(result.diagnosis) + "\nreport " +
                         toolkit::masked(result.file.string()) + "\n",
                     outputs);
    }

private:
    diagnosis::ReportResult written(const NamedOutputs& outputs) const {
        if (out != standardStream) {
            return diagnosis::writeReport(toolkit::filePath(place), toolkit::filePath(out),
                                          {force, givenNames(), pageOrigin()});
        }
        diagnosis::ReportResult result{toolkit::filePath("on the standard output"), readPlace(), {}};
        result.diagnosis = diagnosis::diagnose(result.set);
        const std::string page = diagnosis::reportPage(result.set, result.diagnosis, pageOrigin());
        outputs.write(out, [&](std::ostream& to) { to << page; });
        return result;
    }

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
