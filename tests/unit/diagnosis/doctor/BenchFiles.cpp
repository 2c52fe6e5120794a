#include "tests/unit/diagnosis/doctor/BenchFiles.h"

#include "common/source/Exception.h"

#include <algorithm>
#include <stdexcept>

namespace {

std::filesystem::path scenarioFolder() {
    return std::filesystem::path(ORV_SOURCE_DIR) / "bench" / "scenarios";
}

} // namespace

BenchFiles::BenchFiles(const bench::Scenario& scenario, const std::string& lines,
                       const std::function<void(bench_client::BenchRig&)>& after) {
    const std::filesystem::path live = folder.path / "live";
    std::filesystem::create_directories(live);
    bench_client::BenchRig rig(scenario, live, lines);
    try {
        rig.channel->calibrate();
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (after) {
        after(rig);
    }
    // The channel takes its files away when it goes.
    std::filesystem::copy(live, place(), std::filesystem::copy_options::recursive);
}

bench::Scenario namedScenario(const std::string& name) {
    return bench::loadScenario(scenarioFolder() / (name + ".toml"));
}

std::vector<std::string> scenarioNames() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(scenarioFolder())) {
        if (entry.path().extension() == ".toml" && entry.path().stem() != "devices") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

bench::PinWiring wiring(unsigned emu) {
    bench::PinWiring pin;
    pin.emu = emu;
    return pin;
}

bench::Scenario withPin(const bench::PinWiring& pin, const std::vector<double>& frequencies) {
    bench::Scenario scenario = namedScenario("clean");
    scenario.transmitter.frequencies = frequencies;
    scenario.wiring.pins.push_back(pin);
    return scenario;
}

std::vector<std::string> kindsOf(const diagnosis::Diagnosis& diagnosis) {
    std::vector<std::string> kinds;
    for (const diagnosis::Finding& finding : diagnosis.findings) {
        kinds.emplace_back(diagnosis::slugOf(finding.kind));
    }
    return kinds;
}

const diagnosis::Finding& findingOf(const diagnosis::Diagnosis& diagnosis, const std::string& kind) {
    for (const diagnosis::Finding& finding : diagnosis.findings) {
        if (diagnosis::slugOf(finding.kind) == kind) {
            return finding;
        }
    }
    throw std::runtime_error("no finding " + kind);
}
