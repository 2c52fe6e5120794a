#include "host/commands/Commands.h"
#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "host/results/ResultText.h"

#include <CLI/CLI.hpp>

namespace host {

namespace {

/// `orvtrace calibrate`.
class CalibrateCommand : public Command {
public:
    CalibrateCommand() : Command("calibrate", "Calibrate and tell every attempt") {}

    void setUp(CLI::App& app) override {
        app.footer("Example: orvtrace calibrate --scenario step-down");
        addScenario(app, options);
        addSettings(app, options);
        addCpu(app, options);
        addPins(app, options);
        addRunFlags(app, options);
        addJson(app);
    }

    toolkit::ExitCode run() override {
        checkSessionOptions(options);
        RecordResult result;
        return concluded(result, [&] { calibrate(result); }, json, attemptsText);
    }

private:
    void calibrate(RecordResult& result) const {
        Session session(options, result);
        session.checkInputs();
        session.prepare();
        ProgressLine line(options.quiet);
        session.open(line);
        if (interrupted()) {
            throw toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted before the calibration");
        }
        try {
            session.calibrate(line);
        } catch (const toolkit::Failure& failure) {
            const toolkit::Failure explained = session.explained(failure);
            if (explained.code == failure.code) {
                leaveReport(session, result);
            }
            throw explained;
        }
        leaveReport(session, result);
        if (interrupted()) {
            throw toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted, after the calibration had ended");
        }
    }

    SessionOptions options;
};

} // namespace

std::unique_ptr<Command> makeCalibrateCommand() {
    return std::make_unique<CalibrateCommand>();
}

} // namespace host
