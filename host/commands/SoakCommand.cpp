#include "host/commands/Commands.h"
#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "host/soak/SoakRun.h"
#include "toolkit/JsonText.h"

namespace host {

namespace {

/// `orvtrace soak`.
class SoakCommand : public Command {
public:
    SoakCommand() : Command("soak", "Check the unit against its own generator, again and again") {}

    void setUp(Syntax& syntax) override;
    toolkit::ExitCode run() override;

private:
    SessionOptions options;
    SoakLength length;
};

void SoakCommand::setUp(Syntax& syntax) {
    syntax.footer("Without --settings the simulated unit is checked, scenario self-test.\n"
                  "Example: orvtrace soak --seconds 60");
    const Option seconds =
        syntax.addSeconds("--seconds", length.seconds, 0.0, 1e7, "How long (10); the last round is finished");
    syntax.addWhole("--rounds", length.rounds, "N", 1, 1000000000, "Do N rounds, however long that takes")
        .excludes(seconds);
    addScenario(syntax, options);
    addSettings(syntax, options);
    addPins(syntax, options.pins);
    addBuffer(syntax, options);
    addRunFlags(syntax, options);
}

toolkit::ExitCode SoakCommand::run() {
    options = generatorSession(options);
    checkSessionOptions(options);
    SoakResult result;
    return concluded(
        result, {json, options.strict}, [&] { soak(options, length, result); },
        [&] { return json ? toolkit::jsonText(soakJson(result)) : soakText(result); });
}

} // namespace

std::unique_ptr<Command> makeSoakCommand() {
    return std::make_unique<SoakCommand>();
}

} // namespace host
