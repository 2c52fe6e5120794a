#include "host/platform/Platform.h"
#include "host/session/Receiver.h"
#include "tests/road/Orvtrace.h"
#include "tests/truth/Wirings.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

// One receiver that is configured repeatedly, as by the user of a debugger.

namespace truth {
namespace {

namespace fs = std::filesystem;

/// Whole samples of skew at 28 samples in a period, no jitter, and no synchronisation sequences, whose number in
/// a burst varies: all bursts are the same, whenever they are taken.
bench::Scenario wholeSamples() {
    bench::Scenario scenario;
    scenario.name = "whole samples";
    scenario.cpu = "bench/app";
    scenario.kind = bench::ExportKind::Tpiu;
    scenario.pins = 4;
    scenario.transmitter.frequencies = {25e6, 50e6};
    const double skews[] = {0.0, 1.0, 3.0, 2.0, 0.0};
    for (unsigned emu = 0; emu <= 4; ++emu) {
        bench::PinWiring pin;
        pin.emu = emu;
        pin.skew = skews[emu];
        scenario.wiring.pins.push_back(pin);
    }
    return scenario;
}

/// Results of the calibration, from its report: margins, delays, stretches and so on, without the correlations' digits.
std::vector<std::string> findingsIn(const fs::path& folder) {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (!name.ends_with(".cal.txt")) {
            continue;
        }
        found.push_back(name);
        std::istringstream lines(readBytes(entry.path()));
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with("correlation=")) {
                found.push_back(line);
            }
        }
    }
    return found;
}

TEST(SetConfiguration, TenTimesHasTheSameResult) {
    const RunSpace space;
    // A run of the program writes the settings file for the receiver.
    const fs::path scenario = space.write("wiring.toml", scenarioText(wholeSamples()));
    const ::Outcome run = space.record(scenario.string(), {"--until-full"});
    ASSERT_EQ(run.code, 0) << run.errors;
    const fs::path settings = run.json.at("files").at("settings").get<std::string>();

    fs::create_directories(space.file("again/bench"));
    const std::string home = space.file("again").make_preferred().string();
    host::setEnvironment("ORV_BENCH_SCENARIO", scenario.string());
    host::setEnvironment("ORV_BENCH_DIR", space.file("again/bench").make_preferred().string());
    host::setEnvironment("COMMON_HELIX", host::programFolder().string());
    host::setEnvironment("USERPROFILE", home);
    host::setEnvironment("HOME", home);
    host::setEnvironment("VX_TRACE_DEBUGCLIENT_PID", std::to_string(host::processId()));
    host::setEnvironment("VX_TRACE_LOGGING", "1");

    host::Receiver receiver("OrvRcvr");
    receiver.allocate("bench/app");
    const fs::path data = host::getEnvironment("VX_TRACE_DATA_DIR");
    receiver.channel().SetConfiguration(settings.string().c_str());
    const std::vector<std::string> first = findingsIn(data);
    EXPECT_THAT(first, testing::Contains(testing::StartsWith("delays=")));
    for (int again = 1; again <= 10; ++again) {
        receiver.channel().SetConfiguration(settings.string().c_str());
        ASSERT_EQ(findingsIn(data), first) << "time " << again;
    }
}

} // namespace
} // namespace truth
