#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/platform/Platform.h"
#include "rcvr/framework/compiler/Compiler.h"

namespace {

host::VersionFacts versionFacts() {
    return {{"version", ORVTRACE_VERSION},
            {"build", ORVTRACE_BUILD},
            {"compiler", ORV_COMPILER},
            {"system", std::string(host::systemName()) + " " + host::systemVersion()}};
}

} // namespace

int main(int argc, char** argv) {
    const host::Utf8Console console;
    host::CommandList commands;
    // In the order of the help text. With a target or the bench:
    commands.push_back(host::makeRecordCommand());
    commands.push_back(host::makeCalibrateCommand());
    commands.push_back(host::makeVerifyCommand());
    commands.push_back(host::makeSoakCommand());
    // On existing files:
    commands.push_back(host::makeReportCommand());
    commands.push_back(host::makeDoctorCommand());
    commands.push_back(host::makeBurstCommand());
    commands.push_back(host::makeCheckCommand());
    commands.push_back(host::makeTdfCommand());
    // About the installation:
    commands.push_back(host::makePinsCommand());
    commands.push_back(host::makeScenariosCommand());
    return host::runCommandLine(commands, versionFacts(), argc, argv);
}
