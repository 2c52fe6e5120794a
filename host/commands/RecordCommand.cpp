#include "host/commands/Commands.h"
#include "host/commands/RunCommand.h"
#include "host/commands/SessionFlags.h"
#include "host/commands/StandardStreams.h"

namespace host {

namespace {

/// `orvtrace record`.
class RecordCommand : public RunCommand {
public:
    RecordCommand() : RunCommand("record", "Calibrate, record, upload and save trace") {}
    void setUp(Syntax& syntax) override;
    toolkit::ExitCode run() override;
};

void RecordCommand::setUp(Syntax& syntax) {
    syntax.footer("Example: orvtrace record --scenario bench-cable --save trace.tdf");
    const Option scenario = addTarget(syntax);
    syntax.addOption("--play", options.session.play, "FILE", "File that the simulated target sends").needs(scenario);
    addPins(syntax, options.session.pins);
    addBuffer(syntax, options.session);
    const Option seconds =
        syntax.addSeconds("--seconds", options.seconds, 0.0, 1e6, "Length of the recording, such as 0.5 or 500ms (1)");
    const Option full = syntax.addFlag("--until-full", options.untilFull, "Record until the unit's buffer is full");
    full.excludes(seconds);
    syntax.addFlag("--trigger-file", options.triggerFile, "End it by a trigger file that is made after --seconds")
        .excludes(full);
    syntax.addFlag("--wrap", options.wrap, "Let the buffer wrap: keeps the newest trace").excludes(full);
    syntax.addWhole("--repeat", options.repeat, "N", 1, 9999, "Record N times on one calibration (1)");
    syntax.addOption("--save", options.save, "FILE.tdf", "Write a trace data file, a section for each recording")
        .check(checkTdfName);
    syntax.addOption("--raw", options.raw, "FILE", "Write the samples alone; if several, FILE-1 and so on")
        .check([](const std::string& name) {
            return name == standardStream ? "give a file; the standard output has the result" : "";
        });
    addVerification(syntax);
    syntax.addOption("--calibration", options.calibration, "DIR", "Use an earlier run's calibration if it still fits");
    syntax.addFlag("--tune", options.tune, "Search values where the calibration is not sound");
    addRunFlags(syntax, options.session);
}

toolkit::ExitCode RecordCommand::run() {
    if (options.untilFull) {
        options.session.stopOnFull = true;
    }
    if (options.wrap) {
        options.session.stopOnFull = false;
    }
    return runAndTell(recordJson, resultText);
}

} // namespace

std::unique_ptr<Command> makeRecordCommand() {
    return std::make_unique<RecordCommand>();
}

} // namespace host
