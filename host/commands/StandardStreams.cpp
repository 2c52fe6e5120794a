#include "host/commands/StandardStreams.h"

#include "host/commands/TerminalText.h"
#include "host/platform/Platform.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/Masked.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace host {

using toolkit::ExitCode;
using toolkit::Failure;

NamedOutputs::NamedOutputs(const std::vector<std::string>& names, bool json) {
    for (const std::string& name : names) {
        if (!name.empty()) {
            outputs.push_back(name);
        }
    }
    const auto count = std::count(outputs.begin(), outputs.end(), standardStream);
    toStandard = count != 0;
    if (count > 1 || (toStandard && json)) {
        throw Failure(ExitCode::Usage, "the standard output, -, can hold one output only; give the others a file");
    }
}

void NamedOutputs::test(toolkit::CommandFiles& files) const {
    for (const std::string& name : outputs) {
        if (name != standardStream) {
            files.write(toolkit::filePath(name));
        }
    }
}

void NamedOutputs::write(const std::string& name, const std::function<void(std::ostream&)>& body) const {
    if (name == standardStream) {
        writeOutputAsBytes();
        body(std::cout);
        std::cout << std::flush;
    } else if (!name.empty()) {
        toolkit::writeOutputFile(toolkit::filePath(name), body);
    }
}

void NamedOutputs::print(const std::string& text) const {
    if (toStandard) {
        std::fputs(toolkit::maskedLines(text).c_str(), stderr);
    } else {
        printResult(text);
    }
}

} // namespace host
