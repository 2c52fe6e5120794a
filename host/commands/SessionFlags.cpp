#include "host/commands/SessionFlags.h"

#include "toolkit/Suggestion.h"

#include <algorithm>
#include <cctype>

namespace host {

Option addScenario(Syntax& syntax, SessionOptions& options) {
    return syntax.addOption("--scenario", options.scenario, "NAME|FILE",
                            "Run on the simulated bench: a scenario's name or file");
}

void addSettings(Syntax& syntax, SessionOptions& options) {
    syntax.addOption("--settings", options.settings, "FILE", "Channel settings file to use, XML");
}

void addCpu(Syntax& syntax, SessionOptions& options) {
    syntax.addOption("--cpu", options.cpu, "NAME", "Full CPU name; a scenario brings its own");
}

void addPins(Syntax& syntax, std::string& pins) {
    syntax.addOption("--pins", pins, "N|LIST", "1, 2 or 4 data pins, or EMU pins, clock first: 0,1,2")
        .check([](const std::string& text) {
            return pinChoiceOf(text) ? ""
                                     : "must be 1, 2 or 4, or a clock and 1, 2 or 4 data pins out of 0 to 5, such as "
                                       "0,1,2";
        });
}

void addBuffer(Syntax& syntax, SessionOptions& options) {
    syntax.addOption("--buffer", options.buffer, "SIZE", "Size of the unit's buffer, 256k to 128M")
        .check([](const std::string& text) {
            return bufferIndexOf(text) ? "" : "must be 256k, 512k, 1M, 2M, 4M, 8M, 16M, 32M, 64M or 128M";
        });
}

Option addErrorRate(Syntax& syntax, double& rate) {
    return syntax
        .addNumber("--error-rate", rate, "RATE", 1e-13, 1e-3, "Bit error rate to exclude, with 95 % confidence (1e-8)")
        .common();
}

void addRunFlags(Syntax& syntax, SessionOptions& options) {
    syntax.addRepeatable("--set", options.set, "NAME=VALUE", "Set a property of the channel; may be repeated")
        .check([](const std::string& text) {
            const std::string fault = propertyFault(text);
            const std::vector<std::string> known = settableProperties();
            const std::string name = text.substr(0, text.find('='));
            const bool isKnown = std::find(known.begin(), known.end(), name) != known.end();
            return fault.empty() || isKnown ? fault : fault + toolkit::suggestion(name, known);
        })
        .common();
    addNames(syntax, options.names);
    syntax.addOption("--out", options.out, "DIR", "Folder of the run (a new one, orvtrace-NAME)");
    syntax.addOption("--library", options.library, "NAME|FILE", "Receiver library, by name or path (OrvRcvr)").common();
    addForce(syntax, options.force);
    syntax.addFlag("--quiet", options.quiet, "No progress").common();
    addStrict(syntax, options.strict);
}

void addStrict(Syntax& syntax, bool& strict) {
    syntax.addFlag("--strict", strict, "Exit code 10 for the verdicts thin and unknown, too").common();
}

void addForce(Syntax& syntax, bool& force) {
    syntax.addFlag("--force", force, "Overwrite outputs that exist").common();
}

void addNames(Syntax& syntax, std::string& names) {
    syntax
        .addOption("--names", names, "LIST|FILE",
                   "Names of the pins: CLK,D3,D2,D1,D0, or D0=NET,EMU4=NET, or a file with a table [names]")
        .common();
}

void checkSessionOptions(const SessionOptions& options) {
    if (options.scenario.empty() && options.cpu.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::Usage,
                               "give --scenario NAME for the bench, or --cpu NAME for a real target");
    }
    if (options.scenario.empty() && options.settings.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::Usage, "a real target needs --settings FILE");
    }
    const bool saysMore = options.stopOnFull.has_value() || !options.buffer.empty() || !options.pins.empty();
    if (!options.settings.empty() && saysMore) {
        throw toolkit::Failure(toolkit::ExitCode::Usage,
                               "--pins, --buffer, --wrap and --until-full do not go with --settings, which "
                               "says all that");
    }
}

std::string checkTdfName(const std::string& name) {
    std::string ending = name.substr(name.size() - std::min<std::size_t>(name.size(), 4));
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    return ending == ".tdf" ? "" : "the file's name must end in .tdf";
}

} // namespace host
