#include <cstdio>
#include <string>

#include <CLI/CLI.hpp>

#include "host/ChannelSettingsFile.h"
#include "host/ExitCode.h"
#include "host/Platform.h"
#include "host/RecordOptions.h"

namespace {

using host::ExitCode;
using host::RecordOptions;

std::string versionText() {
    std::string text = "orvtrace " ORVTRACE_VERSION ", ";
    text.append(host::systemName()).append(", compiled by ");
#ifdef __clang__
    return text.append("clang " __clang_version__);
#else
    return text.append("gcc " __VERSION__);
#endif
}

CLI::App* addRecord(CLI::App& app, RecordOptions& options) {
    CLI::App* record = app.add_subcommand("record", "Calibrate, record, upload and save one trace");
    record->footer("Example: orvtrace record --scenario bench-cable --out run --save run/trace.tdf");
    auto* scenario = record->add_option("--scenario", options.scenario,
                                        "Run on the simulated bench: a name (see 'orvtrace scenarios') or a file");
    record->add_option("--settings", options.settings, "Channel settings file (XML) to use");
    record->add_option("--cpu", options.cpu, "Full CPU name; a scenario brings its own");
    record->add_option("--play", options.play, "File that the simulated target sends once recording starts")
        ->needs(scenario);
    auto* seconds =
        record->add_option("--seconds", options.seconds, "Length of the recording (1)")->check(CLI::Range(0.0, 1e6));
    auto* full = record->add_flag("--until-full", options.untilFull, "Record until the unit's buffer is full")
                     ->excludes(seconds);
    record->add_flag("--trigger-file", options.triggerFile, "End it by the trigger file instead of a stop")
        ->excludes(full);
    record->add_flag("--wrap", options.wrap, "Let the buffer wrap, keeping the newest trace")->excludes(full);
    record->add_option("--buffer", options.buffer, "Size of the unit's buffer, 256k to 128M")
        ->check([](const std::string& text) {
            return host::bufferIndexOf(text) ? std::string()
                                             : std::string("must be 256k, 512k, 1M, 2M, 4M, 8M, 16M, 32M, 64M or 128M");
        });
    record->add_option("--out", options.out, "Folder of the run (a new one, orvtrace-NAME)");
    record->add_option("--save", options.save, "Save the trace into a new trace data file FILE.tdf")
        ->check([](const std::string& text) {
            return text.ends_with(".tdf") ? std::string() : std::string("the file's name must end in .tdf");
        });
    record->add_option("--raw", options.raw, "Save the trace as bare bytes");
    record->add_option("--library", options.library, "Receiver library, by name or path (OrvRcvr)");
    record->add_flag("--force", options.force, "Overwrite outputs that exist");
    record->add_flag("--json", options.json, "Print one JSON object instead of text");
    return record;
}

/// What the parser cannot check.
std::string missing(const RecordOptions& options) {
    if (options.scenario.empty() && options.cpu.empty())
        return "give --scenario NAME for the bench, or --cpu NAME for a real target";
    if (options.scenario.empty() && options.settings.empty())
        return "a real target needs --settings FILE.xml";
    if (!options.settings.empty() && (options.wrap || !options.buffer.empty()))
        return "--wrap and --buffer do not go with --settings, which says both";
    return {};
}

int usageFailure(const std::string& text, const std::string& subcommand) {
    std::fprintf(stderr, "orvtrace: %s; see 'orvtrace %s--help'\n", text.c_str(), subcommand.c_str());
    return static_cast<int>(ExitCode::Usage);
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Records trace of a target through the capture unit, or on the simulated bench.", "orvtrace");
    app.require_subcommand(1);
    app.set_version_flag("--version", versionText());
    app.footer(host::exitCodeTable());

    RecordOptions options;
    CLI::App* record = addRecord(app, options);

    std::string scenarioName;
    bool scenariosJson = false;
    CLI::App* scenarios = app.add_subcommand("scenarios", "List the scenarios of the bench, or explain one");
    scenarios->add_option("name", scenarioName, "The scenario to explain");
    scenarios->add_flag("--json", scenariosJson, "Print JSON");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        return usageFailure(error.what(), record->parsed() ? "record " : "");
    }
    if (scenarios->parsed())
        return host::runScenarios(scenarioName, scenariosJson);
    const std::string lacking = missing(options);
    return lacking.empty() ? host::runRecord(options) : usageFailure(lacking, "record ");
}
