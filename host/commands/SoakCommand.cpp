#include "host/commands/Commands.h"
#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "host/soak/SoakRun.h"
#include "toolkit/Masked.h"
#include "toolkit/Numbers.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace host {

namespace {

/// `orvtrace soak`.
class SoakCommand : public Command {
public:
    SoakCommand() : Command("soak", "Check the unit against its own generator, again and again") {}

    void setUp(CLI::App& app) override;
    toolkit::ExitCode run() override;

private:
    SessionOptions options;
    SoakLength length;
};

void SoakCommand::setUp(CLI::App& app) {
    app.footer("Without --settings the simulated unit is checked, scenario self-test.\n"
               "Example: orvtrace soak --seconds 60");
    auto* seconds = app.add_option("--seconds", length.seconds, "How long (10); the last round is finished")
                        ->option_text("SECONDS")
                        ->check(toolkit::numberFrom(0.0, 1e7));
    app.add_option("--rounds", length.rounds, "Do N rounds, however long that takes")
        ->option_text("N")
        ->check(toolkit::wholeNumberFrom(1, 1000000000))
        ->excludes(seconds)
        ->each([this](const std::string&) { length.seconds = SoakLength::noLimit; });
    addScenario(app, options);
    addSettings(app, options);
    addPins(app, options);
    addBuffer(app, options);
    addRunFlags(app, options);
    addJson(app);
}

toolkit::ExitCode SoakCommand::run() {
    options = generatorSession(options);
    checkSessionOptions(options);
    SoakResult result;
    try {
        soak(options, length, result);
    } catch (const toolkit::Failure& failure) {
        result.code = failure.code;
        result.failure = failure.what();
        result.where = failure.where;
    } catch (const std::exception& error) {
        result.code = toolkit::ExitCode::Failed;
        result.failure = error.what();
    }
    if (json) {
        std::cout << soakJson(result);
    } else {
        toolkit::printText(soakText(result));
    }
    std::cout << std::flush;
    printTroubles(result, result.code, result.failure);
    return result.code;
}

} // namespace

std::unique_ptr<Command> makeSoakCommand() {
    return std::make_unique<SoakCommand>();
}

} // namespace host
