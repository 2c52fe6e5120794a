#include "host/commands/Commands.h"
#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "host/margin/MarginRun.h"
#include "host/platform/Platform.h"
#include "toolkit/JsonText.h"

namespace host {

namespace {

/// `orvtrace margin`.
class MarginCommand : public Command {
public:
    MarginCommand() : Command("margin", "Count errors around the sampling point, lane by lane") {}

    void setUp(Syntax& syntax) override;
    toolkit::ExitCode run() override;

private:
    MarginOptions options;
};

void MarginCommand::setUp(Syntax& syntax) {
    syntax.footer("Example: orvtrace margin --scenario bench-cable --quick");
    addScenario(syntax, options.session);
    addSettings(syntax, options.session);
    addCpu(syntax, options.session);
    addPins(syntax, options.session.pins);
    addBuffer(syntax, options.session);
    syntax.addFlag("--quick", options.quick, "The kept rate only, with fewer bits");
    syntax.addHertz("--rate", options.hertz, 1e3, 1e9, "Scan this rate only, such as 50MHz (all usable ones)");
    addErrorRate(syntax, options.errorRate);
    syntax.addOption("--html", options.page, "FILE", "Write a page with the pictures");
    syntax.addOption("--write", options.pinned, "FILE", "Write properties that pin the fastest sound rate");
    addRunFlags(syntax, options.session);
}

toolkit::ExitCode MarginCommand::run() {
    if (options.session.settings.empty()) {
        options.session.stopOnFull = true;
        if (options.session.buffer.empty()) {
            options.session.buffer = "16M";
        }
    }
    checkSessionOptions(options.session);
    MarginResult result;
    return concluded(
        result, {json, options.session.strict}, [&] { measureMargins(options, result); },
        [&] {
            return json ? toolkit::jsonText(marginResultJson(result))
                        : diagnosis::marginText(result.rates, outputColumns());
        });
}

} // namespace

std::unique_ptr<Command> makeMarginCommand() {
    return std::make_unique<MarginCommand>();
}

} // namespace host
