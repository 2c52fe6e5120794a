// The simulated data server: mpx_ecom_server.exe 1 <port>
// Checks a scenario without serving: mpx_ecom_server.exe --check <file>
#include "bench/scenarios/FilePath.h"
#include "bench/server/DataServer.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>

namespace {

constexpr int badUse = 2;
constexpr int failed = 1;

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

std::optional<std::uint16_t> portOf(const char* text) {
    std::uint16_t port = 0;
    const char* end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, port);
    return error == std::errc() && stop == end && port != 0 ? std::optional(port) : std::nullopt;
}

bench::ServerOptions optionsOf(std::uint16_t port) {
    bench::ServerOptions options;
    options.port = port;
    const std::string scenario = environment("ORV_BENCH_SCENARIO");
    if (scenario.empty()) {
        throw bench::ServerError("ORV_BENCH_SCENARIO is not set: it names the scenario file of this run");
    }
    options.scenario = bench::loadScenario(bench::filePath(scenario));
    const std::string folder = environment("ORV_BENCH_DIR");
    if (folder.empty()) {
        throw bench::ServerError("ORV_BENCH_DIR is not set: it names a writable folder of this run");
    }
    options.folder = bench::filePath(folder);
    const std::string play = environment("ORV_BENCH_PLAY");
    if (!play.empty()) {
        std::ifstream in(play, std::ios::binary);
        if (!in) {
            throw bench::ServerError("cannot open " + play + ", which ORV_BENCH_PLAY names");
        }
        options.play.emplace(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return options;
}

// The parent process does not show the standard error output, so the log has a fatal error too.
void leaveLastWords(const std::string& words) {
    std::cerr << words << "\n";
    const std::string folder = environment("ORV_BENCH_DIR");
    if (!folder.empty()) {
        std::ofstream(bench::filePath(folder) / "server.log", std::ios::app) << words << "\n";
    }
}

int check(const std::string& file) {
    try {
        bench::loadScenario(bench::filePath(file));
    } catch (const bench::ScenarioError& error) {
        std::cerr << error.what() << "\n";
        return failed;
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string_view(argv[1]) == "--check") {
        return check(argv[2]);
    }
    const auto port = argc == 3 ? portOf(argv[2]) : std::nullopt;
    if (!port) {
        std::cerr << "usage: mpx_ecom_server.exe 1 <port>, or --check <scenario file>\n";
        return badUse;
    }
    try {
        bench::LoopbackSocket listening = bench::DataServer::listenAt(*port);
        bench::ServerOptions options = optionsOf(*port);
        if (options.scenario.faults.exitAtStart) {
            leaveLastWords("mpx_ecom_server: ending at once, as the scenario says");
            return failed;
        }
        bench::DataServer server(std::move(listening), std::move(options));
        server.run();
    } catch (const std::exception& error) {
        leaveLastWords("mpx_ecom_server: " + std::string(error.what()));
        return failed;
    }
    return EXIT_SUCCESS;
}
