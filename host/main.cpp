#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/platform/Platform.h"

namespace {

std::string versionText() {
    std::string text = "orvtrace " ORVTRACE_VERSION ", ";
    text.append(host::systemName()).append(", compiled by ");
#ifdef __clang__
    return text.append("clang " __clang_version__);
#else
    return text.append("gcc " __VERSION__);
#endif
}

} // namespace

int main(int argc, char** argv) {
    host::CommandList commands;
    // In the order of the help text. With a target or the bench:
    commands.push_back(host::makeRecordCommand());
    // On files that are there already:

    // About the installation:
    commands.push_back(host::makeScenariosCommand());
    return host::runCommandLine(commands, versionText(), argc, argv);
}
