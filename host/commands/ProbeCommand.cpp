#include "host/commands/Commands.h"
#include "host/commands/SessionFlags.h"
#include "host/commands/TerminalText.h"
#include "host/session/SystemProbe.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"

#include <fmt/core.h>

#include <algorithm>

namespace host {

namespace {

std::string lineOf(const ProbedPart& part) {
    return fmt::format("{:<8} {:<23} {}\n", stateName(part.state), part.name, toolkit::masked(part.text)) +
           (part.remedy.empty() ? "" : "         do: " + toolkit::masked(part.remedy) + "\n");
}

/// `orvtrace probe`.
class ProbeCommand final : public Command {
public:
    ProbeCommand() : Command("probe", "Check that a run would start, and what is missing") {}

    void setUp(Syntax& syntax) override {
        syntax.addFlag("--bench", request.bench, "For a run on the simulated bench");
        syntax.addFlag("--connect", request.connect, "Start the data server, too, and ask it for its version");
        syntax.addOption("--library", request.library, "NAME|FILE", "Receiver library, by name or path (OrvRcvr)")
            .common();
        syntax.footer("Each line says what to do. Nothing is changed; --connect makes the receiver's folders\n"
                      "and its log. Exit code 4 if a run would not start.\n"
                      "Example: orvtrace probe --bench");
    }

    toolkit::ExitCode run() override {
        request.version = programVersion();
        if (request.bench && request.connect) {
            throw toolkit::Failure(
                toolkit::ExitCode::Usage,
                "--connect is for a real unit's data server; orvtrace record --scenario clean starts the bench's");
        }
        const std::vector<ProbedPart> parts = probeSystem(request);
        const bool starts = wouldStart(parts);
        const toolkit::ExitCode code = starts ? toolkit::ExitCode::Done : toolkit::ExitCode::NoSystem;
        if (json) {
            toolkit::printText(jsonOf(parts, starts, code));
            return code;
        }
        std::string text;
        for (const ProbedPart& part : parts) {
            text += lineOf(part);
        }
        const auto first = std::find_if(parts.begin(), parts.end(), [](const ProbedPart& part) {
            return part.state == ProbedPart::State::Missing;
        });
        text += starts ? std::string("a run would start\n") : "a run would not start: " + first->name + " is missing\n";
        printResult(text);
        return code;
    }

private:
    static std::string jsonOf(const std::vector<ProbedPart>& parts, bool starts, toolkit::ExitCode code) {
        nlohmann::json out = toolkit::resultHead(code);
        out["wouldStart"] = starts;
        out["parts"] = nlohmann::json::array();
        for (const ProbedPart& part : parts) {
            out["parts"].push_back({{"name", part.name},
                                    {"state", stateName(part.state)},
                                    {"text", part.text},
                                    {"remedy", toolkit::orNull(part.remedy)}});
        }
        return toolkit::jsonText(out);
    }

    ProbeRequest request{"OrvRcvr", "", false, false};
};

} // namespace

std::unique_ptr<Command> makeProbeCommand() {
    return std::make_unique<ProbeCommand>();
}

} // namespace host
