#include "host/commands/Commands.h"
#include "host/commands/RunCommand.h"
#include "host/commands/SessionFlags.h"

namespace host {

namespace {

/// `orvtrace calibrate`.
class CalibrateCommand : public RunCommand {
public:
    CalibrateCommand() : RunCommand("calibrate", "Calibrate and report every attempt") { options.repeat = 0; }

    void setUp(Syntax& syntax) override {
        syntax.footer("Example: orvtrace calibrate --scenario step-down");
        addTarget(syntax);
        addPins(syntax, options.session.pins);
        addVerification(syntax);
        addRunFlags(syntax, options.session);
    }

    toolkit::ExitCode run() override { return runAndTell(calibrationJson, attemptsText); }
};

/// One that calibrates and compares known words.
class ComparingCommand : public RunCommand {
public:
    void setUp(Syntax& syntax) override {
        addTarget(syntax);
        addPins(syntax, options.session.pins);
        addBuffer(syntax, options.session);
        addErrorRate(syntax, options.errorRate);
        addRunFlags(syntax, options.session);
    }

protected:
    ComparingCommand(const char* name, const char* about) : RunCommand(name, about) { options.repeat = 0; }
};

/// `orvtrace verify`.
class VerifyCommand : public ComparingCommand {
public:
    VerifyCommand() : ComparingCommand("verify", "Calibrate, then compare known words") { options.verify = true; }

    void setUp(Syntax& syntax) override {
        syntax.footer("Example: orvtrace verify --scenario bench-cable --error-rate 1e-9");
        ComparingCommand::setUp(syntax);
    }

    toolkit::ExitCode run() override { return runAndTell(calibrationJson, resultText); }
};

/// `orvtrace tune`.
class TuneCommand : public ComparingCommand {
public:
    TuneCommand() : ComparingCommand("tune", "Calibrate, and search values where that is not sound") {
        options.tune = true;
    }

    void setUp(Syntax& syntax) override {
        syntax.footer("The values stay in the run's folder: orvtrace record --calibration DIR uses them.\n"
                      "Example: orvtrace tune --scenario half-period-peak --out tuned");
        ComparingCommand::setUp(syntax);
    }

    toolkit::ExitCode run() override { return runAndTell(tuneJson, resultText); }
};

} // namespace

std::unique_ptr<Command> makeCalibrateCommand() {
    return std::make_unique<CalibrateCommand>();
}

std::unique_ptr<Command> makeVerifyCommand() {
    return std::make_unique<VerifyCommand>();
}

std::unique_ptr<Command> makeTuneCommand() {
    return std::make_unique<TuneCommand>();
}

} // namespace host
