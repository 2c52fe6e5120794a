#include "tests/road/Orvtrace.h"

#include "tests/road/Shell.h"
#include "tests/support/json_schema/JsonSchema.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;

namespace {

/// The name of the schema for what these arguments print.
std::string schemaOf(const std::vector<std::string>& arguments) {
    static const std::vector<std::string> commands{"record", "calibrate", "verify",    "margin", "tune",   "soak",
                                                   "report", "diff",      "doctor",    "burst",  "bursts", "check",
                                                   "tdf",    "pins",      "scenarios", "probe"};
    const auto command = std::find_first_of(arguments.begin(), arguments.end(), commands.begin(), commands.end());
    if (command == arguments.end()) {
        return "version";
    }
    const auto nested = std::find_if(command, arguments.end(), [](const std::string& each) {
        return each == "list" || each == "extract" || each == "create";
    });
    return *command == "tdf" ? "tdf-" + (nested == arguments.end() ? "list" : *nested) : *command;
}

/// Every object that a test asks for fits its published schema.
void checkSchema(const std::vector<std::string>& arguments, const Outcome& run) {
    if (run.code >= 0 && std::find(arguments.begin(), arguments.end(), "--json") != arguments.end()) {
        EXPECT_EQ(test_support::schemaFaults(schemaOf(arguments), run.output), "") << run.output;
    }
}

} // namespace

RunSpace::RunSpace(const std::string& name) {
    static unsigned next = 0;
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    whole = fs::temp_directory_path() / ("orv-road-" + std::to_string(now) + "-" + std::to_string(next++));
    folder = whole;
    if (!name.empty()) {
        folder = startFolder = whole / toolkit::filePath(name);
    }
    fs::create_directories(folder);
}

RunSpace::~RunSpace() {
    if (std::getenv("ORV_KEEP_RUNS") != nullptr) {
        return;
    }
    std::error_code ignored;
    fs::remove_all(whole, ignored);
}

fs::path RunSpace::write(const std::string& name, const std::string& bytes) const {
    std::ofstream(file(name), std::ios::binary) << bytes;
    return file(name);
}

Outcome RunSpace::run(const std::vector<std::string>& arguments, const fs::path& program) const {
    return run(arguments, program, [](RunningProgram&) {});
}

Outcome RunSpace::run(const std::vector<std::string>& arguments, const fs::path& program,
                      const std::function<void(RunningProgram&)>& meanwhile) const {
    Outcome result;
    RunningProgram running(program.empty() ? orvtraceProgram() : program, arguments, file("stdout.txt"),
                           file("stderr.txt"), startFolder);
    meanwhile(running);
    result.code = running.wait();
    result.output = readBytes(file("stdout.txt"));
    result.errors = readBytes(file("stderr.txt"));
    result.json = nlohmann::json::parse(result.output, nullptr, false);
    checkSchema(arguments, result);
    return result;
}

Outcome RunSpace::runUnheard(const std::vector<std::string>& arguments) const {
    Outcome result;
    RunningProgram running(orvtraceProgram(), arguments, {}, file("stderr.txt"), startFolder);
    result.code = running.wait();
    result.errors = readBytes(file("stderr.txt"));
    return result;
}

Outcome RunSpace::record(const std::string& scenario, std::vector<std::string> more, const fs::path& program) const {
    std::vector<std::string> arguments{"record", "--json", "--scenario", scenario, "--out", file("run").string()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments, program);
}

fs::path orvtraceProgram() {
    return fs::absolute(ORV_PROGRAM).make_preferred();
}

fs::path copyOfInstallation(const fs::path& target, const std::string& missing) {
    const fs::path source = orvtraceProgram().parent_path();
    fs::create_directories(target);
    for (const char* stem : {"OrvRcvr", "PartIdentifier", "HaloTargetAdapter", "zarn_xmtr", "AmbitFileChannelDriver",
                             "OrvDataSource", "mpx_ecom_server", "orvtrace", "devices"}) {
        for (const auto& entry : fs::directory_iterator(source)) {
            const fs::path file = entry.path();
            if (file.stem() == stem && stem != missing && entry.is_regular_file()) {
                fs::copy_file(file, target / file.filename());
            }
        }
    }
    fs::copy(source / "scenarios", target / "scenarios", fs::copy_options::recursive);
    return target / orvtraceProgram().filename();
}

std::size_t lines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

std::string withoutProgress(const std::string& errors) {
    static const std::regex progress("orvtrace: (\\d+ of \\d+: )?"
                                     "(waiting for other runs to start their data servers|starting the data "
                                     "server|calibrating|recording|uploading|uploaded|reading back|soaking|"
                                     "verifying known words|verifying after the recording)(, .*)?\r?");
    std::string rest;
    std::istringstream in(errors);
    for (std::string line; std::getline(in, line);) {
        if (!std::regex_match(line, progress)) {
            rest += line + "\n";
        }
    }
    return rest;
}

std::string readBytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<nlohmann::json> truthOf(const Outcome& run) {
    std::vector<nlohmann::json> all;
    std::istringstream in(
        readBytes(toolkit::filePath(run.json.at("files").at("benchFolder").get<std::string>()) / "truth.jsonl"));
    for (std::string line; std::getline(in, line);) {
        all.push_back(nlohmann::json::parse(line));
    }
    return all;
}
