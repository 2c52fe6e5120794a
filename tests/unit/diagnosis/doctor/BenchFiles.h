#pragma once

#include "bench/scenarios/Scenario.h"
#include "diagnosis/doctor/Diagnosis.h"
#include "tests/support/bench_client/BenchRig.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <functional>
#include <string>
#include <vector>

/// The diagnostic files of one calibration on the bench, in a folder that is removed with the object.
class BenchFiles {
public:
    /// `lines` are further properties of the channel. `after` runs after the calibration, while the channel exists.
    explicit BenchFiles(const bench::Scenario& scenario, const std::string& lines = {},
                        const std::function<void(bench_client::BenchRig&)>& after = {});

    diagnosis::DiagnosticSet read() const { return diagnosis::readDiagnostics(place()); }
    diagnosis::Diagnosis diagnose() const { return diagnosis::diagnose(read()); }
    std::filesystem::path place() const { return folder.path / "kept"; }

    std::string failure; ///< what calibrate threw; empty when it succeeded

private:
    test_support::TemporaryFolder folder;
};

/// A scenario of the bench by its name.
bench::Scenario namedScenario(const std::string& name);
/// Every scenario file of the bench.
std::vector<std::string> scenarioNames();

/// Nothing particular about an EMU pin, yet.
bench::PinWiring wiring(unsigned emu);
/// "clean" with one wiring of a pin.
bench::Scenario withPin(const bench::PinWiring& pin, const std::vector<double>& frequencies = {25e6, 50e6});

/// The kinds of all findings, in their order.
std::vector<std::string> kindsOf(const diagnosis::Diagnosis& diagnosis);
/// The first finding of a kind; a failure of the test when there is none.
const diagnosis::Finding& findingOf(const diagnosis::Diagnosis& diagnosis, const std::string& kind);
