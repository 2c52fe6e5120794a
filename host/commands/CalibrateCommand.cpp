#include <CLI/CLI.hpp>

#include "host/commands/Commands.h"
#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "host/report/Report.h"
#include "host/results/ResultText.h"

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

    ExitCode run() override {
        checkSessionOptions(options);
        RecordResult result;
        return concluded(
            result, [&] { calibrate(result); }, json, attemptsText);
    }

private:
    void calibrate(RecordResult& result) const {
        Session session(options, result);
        session.checkInputs();
        session.prepare();
        session.open();
        ProgressLine line(options.quiet);
        try {
            session.calibrate(line);
        } catch (const Failure&) {
            leaveReport(session, result);
            throw;
        }
        leaveReport(session, result);
        if (interrupted())
            throw Failure(ExitCode::Interrupted, "interrupted, after the calibration had ended");
    }

    /// A refused calibration is what a report is wanted for most; one that left no files has none.
    static void leaveReport(const Session& session, RecordResult& result) {
        const auto file = session.runFolder() / (session.fileStem().filename().string() + ".report.html");
        try {
            result.files.emplace_back("report", writeReport(session.fileStem(), file, true).file.string());
        } catch (const Failure& failure) {
            if (failure.code != ExitCode::BadInput)
                throw;
        }
    }

    SessionOptions options;
};

} // namespace

std::unique_ptr<Command> makeCalibrateCommand() {
    return std::make_unique<CalibrateCommand>();
}

} // namespace host
