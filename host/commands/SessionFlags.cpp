#include "host/commands/SessionFlags.h"

#include <algorithm>
#include <cctype>

namespace host {

CLI::Option* addScenario(CLI::App& app, SessionOptions& options) {
    return app.add_option("--scenario", options.scenario, "Run on the simulated bench: a scenario's name or file")
        ->option_text("NAME|FILE");
}

CLI::Option* addSettings(CLI::App& app, SessionOptions& options) {
    return app.add_option("--settings", options.settings, "Channel settings file to use, XML")->option_text("FILE");
}

CLI::Option* addCpu(CLI::App& app, SessionOptions& options) {
    return app.add_option("--cpu", options.cpu, "Full CPU name; a scenario brings its own")->option_text("NAME");
}

CLI::Option* addPins(CLI::App& app, SessionOptions& options) {
    return app.add_option("--pins", options.pins, "1, 2 or 4 data pins, or EMU pins, clock first: 0,1,2")
        ->option_text("N|LIST")
        ->check([](const std::string& text) {
            return pinChoiceOf(text) ? std::string()
                                     : std::string("must be 1, 2 or 4, or a clock and 1, 2 or 4 data pins out of 0 to "
                                                   "5, such as 0,1,2");
        });
}

CLI::Option* addBuffer(CLI::App& app, SessionOptions& options) {
    return app.add_option("--buffer", options.buffer, "Size of the unit's buffer, 256k to 128M")
        ->option_text("SIZE")
        ->check([](const std::string& text) {
            return bufferIndexOf(text) ? std::string()
                                       : std::string("must be 256k, 512k, 1M, 2M, 4M, 8M, 16M, 32M, 64M or 128M");
        });
}

void addRunFlags(CLI::App& app, SessionOptions& options) {
    app.add_option("--out", options.out, "Folder of the run (a new one, orvtrace-NAME)")->option_text("DIR");
    app.add_option("--library", options.library, "Receiver library, by name or path (OrvRcvr)")
        ->option_text("NAME|FILE");
    app.add_flag("--force", options.force, "Overwrite outputs that exist");
    app.add_flag("--quiet", options.quiet, "No progress");
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
    for (char& c : ending) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return ending == ".tdf" ? std::string() : std::string("the file's name must end in .tdf");
}

} // namespace host
