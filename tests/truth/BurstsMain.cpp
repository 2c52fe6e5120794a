#include "tests/support/bench_client/BenchRig.h"
#include "tests/truth/Judgement.h"
#include "tests/truth/Wirings.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

// Writes bursts, one file for each step of an attempt; tools/draw-pictures draws them.
//
//     truth_bursts FOLDER              four data pins with skews at 50 MHz, step by step
//     truth_bursts FOLDER SEED         the files of the wiring of that seed
//     truth_bursts FOLDER FILE.toml    a calibrated scenario that sends "f0", then trace

namespace {

using namespace VX_QRS::ORV::CLIENT;

bench::Scenario cable() {
    bench::Scenario scenario;
    scenario.name = "cable";
    scenario.pins = 4;
    scenario.transmitter.frequencies = {50e6};
    scenario.wiring.jitter = 0.2;
    const double skews[] = {0.0, 1.2, 4.0, -2.6, 2.0};
    for (unsigned emu = 0; emu <= 4; ++emu) {
        bench::PinWiring pin;
        pin.emu = emu;
        pin.skew = skews[emu];
        pin.lateFall = emu == 2 ? 1.5 : 0.2;
        scenario.wiring.pins.push_back(pin);
    }
    return scenario;
}

/// The steps of an attempt, with the burst of each kept.
void stepByStep(const std::filesystem::path& folder) {
    bench_client::BenchRig rig(cable(), folder);
    ChannelInspector in = rig.inside();
    Metrics metrics;
    Cal work(5);
    const auto commit = [&](const char* name) {
        in.getCalFromMetrics(metrics, work);
        in.writeCal(work);
        in.captureOvs();
        in.logOvs(work, name);
    };
    in.applyPinSettings();
    in.setupPins(work);
    rig.transmitter.program("calibration", 0);
    in.manualCal(work);
    in.applyFrequencyChange(50e6);
    in.computeFreqBasedCal(work);
    in.writeCal(work);
    in.captureOvs();
    in.logOvs(work, ".1-as-it-comes.cap.txt");
    in.detectSamplingPosition();
    in.stretch(metrics);
    commit(".2-duty.cap.txt");
    in.align(metrics, 1);
    commit(".3-aligned.cap.txt");
    in.findMargin(metrics);
    in.adjustClockDelay(metrics);
    commit(".4-centred.cap.txt");
}

/// What calibration sees of a scenario, and what it does not.
void patternAndTrace(const std::filesystem::path& folder, const char* file) {
    bench_client::BenchRig rig(bench::loadScenario(file), folder);
    rig.channel->calibrate();
    ChannelInspector in = rig.inside();
    Cal cal = in.cal();
    for (const auto& [pattern, name] : {std::pair("calibration", ".f0.cap.txt"), std::pair("none", ".trace.cap.txt")}) {
        rig.transmitter.program(pattern, in.clocking().frequencySetting);
        rig.time.sleep(1);
        in.captureOvs();
        in.logOvs(cal, name);
    }
    // The channel deletes its files unless logging is on, so they are kept under another name.
    for (const char* name : {".f0.cap.txt", ".trace.cap.txt"}) {
        std::filesystem::copy_file(folder / (std::string("trace") + name), folder / (std::string("sent") + name),
                                   std::filesystem::copy_options::overwrite_existing);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FOLDER [SEED | FILE.toml]\n", *argv);
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    if (argc == 2) {
        stepByStep(folder);
        return 0;
    }
    if (std::string_view(argv[2]).ends_with(".toml")) {
        patternAndTrace(folder, argv[2]);
        return 0;
    }
    // The channel deletes its files unless logging is on, so they are kept under another name.
    const bench::Scenario scenario = truth::drawScenario(std::strtoull(argv[2], nullptr, 10), bench::ExportKind::Pti);
    bench_client::BenchRig rig(scenario, folder);
    rig.channel->calibrate();
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with("trace.freq")) {
            std::filesystem::copy_file(entry.path(), folder / ("seed" + std::string(argv[2]) + name.substr(5)),
                                       std::filesystem::copy_options::overwrite_existing);
        }
    }
    return 0;
}
