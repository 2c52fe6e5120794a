#include "tests/truth/CauseTable.h"

#include "diagnosis/stream/RecordingCheck.h"
#include "tests/support/bench_client/BenchRig.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/Judgement.h"
#include "tests/truth/Wirings.h"
#include "toolkit/ExitCode.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <set>

namespace truth {

namespace {

using bench_client::BenchRig;
using diagnosis::DiagnosticSet;
using Kind = diagnosis::RunVerdict::Kind;

constexpr double bitsAByte = 8.0;
constexpr std::uint32_t blockBytes = 0x4000;

/// Records trace as long as the fault needs it, and checks its stream.
diagnosis::RecordingCheck recordAndCheck(BenchRig& rig, double seconds) {
    const double rate = 2.0 * rig.inside().clocking().exportFrequency * rig.scenario.pins;
    const auto blocks = static_cast<std::uint32_t>(rate * seconds / bitsAByte / blockBytes) + 2;
    const std::string file = rig.stem + ".bin";
    rig.inside().internalStart(blocks * blockBytes, "stop", "none",
                               {.prepare = true, .enableTransmitter = true, .bypassProtocol = false});
    rig.inside().control().dataFile = VX_QRS::OutputFile(file, VX_QRS::OutputFile::Mode::binary);
    rig.channel->run();
    diagnosis::RecordingCheck check;
    check.failure = rig.inside().control().hasError ? rig.inside().control().errorText : "";
    diagnosis::StreamForm form;
    form.mode = diagnosis::StreamMode::Pti;
    form.lanes = rig.scenario.pins;
    form.clockHertz = rig.inside().clocking().exportFrequency;
    check.stream = diagnosis::checkStream(diagnosis::fileReader(file), form);
    check.samples = check.stream->samples;
    check.announcedSamples = check.samples;
    return check;
}

/// The channel deletes its files when it ends.
void keepFiles(const FaultyWiring& wiring, const std::filesystem::path& folder, const std::filesystem::path& place) {
    using Options = std::filesystem::copy_options;
    std::filesystem::create_directories(place);
    std::filesystem::copy(folder, place, Options::recursive | Options::overwrite_existing);
    std::ofstream(place / "wiring.toml") << scenarioText(wiring.scenario);
}

std::filesystem::path placeOf(const std::filesystem::path& kept, Fault fault, std::uint64_t seed) {
    return kept / (std::string(nameOf(fault)) + "-" + std::to_string(seed));
}

/// What the host keeps of such a run. `isRight` becomes whether the calibration has taken the fault out.
DiagnosticSet filesOf(const FaultyWiring& wiring, const std::filesystem::path& folder,
                      const std::optional<std::filesystem::path>& kept, bool& isRight) {
    BenchRig rig(wiring.scenario, folder);
    diagnosis::RunChecks checks;
    try {
        rig.channel->calibrate();
        isRight = wiring.seconds <= 0.0 && std::ranges::all_of(rig.truth->pins, [&](const bench::PinTruth& pin) {
                      return pin.slot == rig.truth->pins.front().slot && pin.errorRate < diagnosis::usualErrorRate;
                  });
        if (wiring.seconds > 0.0) {
            checks.recordings.push_back(recordAndCheck(rig, wiring.seconds));
        }
    } catch (const std::exception& error) {
        checks.code = toolkit::ExitCode::CalibrationRefused;
        checks.failure = error.what();
    }
    DiagnosticSet set = diagnosis::readDiagnostics(folder);
    set.checks = std::move(checks);
    if (kept) {
        keepFiles(wiring, folder, *kept);
    }
    return set;
}

/// Slugs that name a fault. A noisy pin costs margin, bits now and then, or nearly all of them.
const std::set<std::string>& slugsOf(Fault fault) {
    static const std::array<std::set<std::string>, faults.size()> all{{
        {"pin-stuck"},
        {"pins-swapped"},
        {"pins-shorted"},
        {"clock-suspect"},
        {"pin-late", "pin-early", "pin-shifted"},
        {"pin-noisy", "pin-garbled", "pin-unreliable", "margin-none", "margin-thin"},
        {"duty-beyond-correction"},
        {"drift-late", "drift-early"},
        {"clock-too-fast"},
    }};
    return all.at(static_cast<std::size_t>(fault));
}

bool namesPins(const DiagnosticSet& set, const FaultyWiring& wiring, const std::string& text) {
    const auto names = [&](std::size_t proc) { return text.find(diagnosis::pinLabel(set, proc)) != std::string::npos; };
    return wiring.eitherPin || std::all_of(wiring.pins.begin(), wiring.pins.end(), names);
}

Cause firstCause(const DiagnosticSet& set) {
    const diagnosis::Diagnosis diagnosis = diagnosis::diagnose(set);
    const diagnosis::RunVerdict verdict = diagnosis::judgeRun(set, diagnosis);
    Cause cause;
    if (!verdict.reasons.empty()) {
        cause.slug = verdict.reasons.front().slug;
        cause.text = verdict.reasons.front().text;
    } else if (!diagnosis.findings.empty()) {
        cause.slug = diagnosis::slugOf(diagnosis.findings.front().kind);
        cause.text = diagnosis.findings.front().text;
    } else {
        cause.slug = "none";
    }
    return cause;
}

} // namespace

Cause causeOf(const FaultyWiring& wiring, const std::filesystem::path& folder,
              const std::optional<std::filesystem::path>& kept) {
    bool isRight = false;
    const DiagnosticSet set = filesOf(wiring, folder, kept, isRight);
    Cause cause = firstCause(set);
    cause.isHarmless = isRight && cause.slug == "none";
    const bool isNamed =
        slugsOf(wiring.fault).contains(cause.slug) || (wiring.clockVanishes && cause.slug == "clock-dead");
    cause.isRight = isNamed && namesPins(set, wiring, cause.text);
    return cause;
}

std::optional<double> soundClock(const bench::Scenario& scenario) {
    const test_support::TemporaryFolder temporary;
    const std::filesystem::path& folder = temporary.path;
    DiagnosticSet set;
    const Verdict known = calibrateAndJudge(scenario, folder, 20000, Judging::ByPattern,
                                            [&] { set = diagnosis::readDiagnostics(folder); });
    if (known.outcome != Outcome::right) {
        return std::nullopt;
    }
    const Kind kind = diagnosis::judgeRun(set, diagnosis::diagnose(set)).kind;
    return kind == Kind::Sound ? std::optional(scenario.transmitter.frequencies.at(known.setting)) : std::nullopt;
}

void CauseTable::add(Fault fault, std::uint64_t seed, const Cause& cause) {
    Row& row = rows.at(static_cast<std::size_t>(fault));
    ++row.planted;
    if (cause.isRight) {
        ++row.right;
        return;
    }
    ++row.others[cause.slug];
    odd.push_back(std::string(nameOf(fault)) + ", seed " + std::to_string(seed) + ": " + cause.slug + ": " +
                  cause.text);
}

std::string CauseTable::text() const {
    std::string out = "| planted    | wirings | right | others |\n|------------|---------|-------|--------|\n";
    for (const Fault fault : faults) {
        const Row& row = rowOf(fault);
        if (row.planted == 0) {
            continue;
        }
        char line[80];
        std::snprintf(line, sizeof line, "| %-10s | %7u | %5u |", nameOf(fault), row.planted, row.right);
        out += line;
        std::string others;
        for (const auto& [slug, number] : row.others) {
            others += (others.empty() ? " " : ", ") + std::to_string(number) + " " + slug;
        }
        out += others + " |\n";
    }
    return out;
}

void judgeCauses(Fault fault, std::uint64_t firstSeed, unsigned count, CauseTable& table,
                 const std::optional<std::filesystem::path>& kept) {
    const unsigned already = table.planted(fault);
    for (std::uint64_t seed = firstSeed; table.planted(fault) < already + count; ++seed) {
        const bench::Scenario scenario = drawScenario(seed, bench::ExportKind::Pti);
        const auto clock = soundClock(scenario);
        const auto wiring = clock ? plant(fault, scenario, *clock, seed) : std::nullopt;
        if (!wiring || !soundClock(wiring->without)) {
            continue;
        }
        const test_support::TemporaryFolder folder;
        const auto place = kept ? std::optional(placeOf(*kept, fault, seed)) : std::nullopt;
        const Cause cause = causeOf(*wiring, folder.path, place);
        if (cause.isHarmless) {
            continue;
        }
        table.add(fault, seed, cause);
        if (place && cause.isRight) {
            std::filesystem::remove_all(*place);
        }
    }
}

} // namespace truth
