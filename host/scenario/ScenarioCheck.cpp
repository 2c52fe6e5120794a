#include "host/scenario/ScenarioCheck.h"

#include "host/platform/Program.h"
#include "toolkit/ExitCode.h"

namespace host {

namespace {

constexpr const char* serverName = "mpx_ecom_server.exe"; // on both systems
constexpr int badScenario = 1;

} // namespace

Scenario soundScenario(const std::string& nameOrFile, const std::filesystem::path& programs) {
    const std::filesystem::path file = scenarioFile(nameOrFile, programs / "scenarios");
    const auto end = runProgram(programs / serverName, {"--check", file.string()});
    if (end && end->code == badScenario && !end->errors.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput, end->errors.substr(0, end->errors.find_first_of("\r\n")));
    }
    return readScenario(file);
}

} // namespace host
