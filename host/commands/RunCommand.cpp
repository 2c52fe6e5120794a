#include "host/commands/RunCommand.h"

#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "toolkit/JsonText.h"

namespace host {

Option RunCommand::addTarget(Syntax& syntax) {
    const Option scenario = addScenario(syntax, options.session);
    addSettings(syntax, options.session);
    addCpu(syntax, options.session);
    return scenario;
}

void RunCommand::addVerification(Syntax& syntax) {
    const Option verify =
        syntax.addFlag("--verify", options.verify, "Compare known words: before and after a recording");
    addErrorRate(syntax, options.errorRate).needs(verify);
    syntax.addFlag("--no-verify", options.noVerify, "Compare no words after the calibration of a tpiu export")
        .excludes(verify)
        .common();
}

toolkit::ExitCode RunCommand::runAndTell(nlohmann::json (*asJson)(const RecordResult&),
                                         std::string (*asText)(const RecordResult&, std::size_t columns)) {
    checkSessionOptions(options.session);
    RecordResult result;
    return concluded(
        result, {json, options.session.strict}, [&] { runRecord(options, result); },
        [&] { return json ? toolkit::jsonText(asJson(result)) : asText(result, outputColumns()); });
}

} // namespace host
