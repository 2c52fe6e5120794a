#include "tests/truth/Judgement.h"

#include "bench/wiring/ContentShift.h"
#include "common/source/Exception.h"
#include "tests/support/bench_client/BenchRig.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <stdexcept>

namespace truth {

namespace {

using namespace VX_QRS::ORV::CLIENT;
using bench_client::BenchRig;

constexpr double lowestCentral = 0.15; // the middle 70 percent
constexpr double highestCentral = 0.85;
/// A probability below which no real recording has a wrong bit.
constexpr double never = 1e-9;

/// In samples: less shows in no error rate.
constexpr double noLateness = 0.02;

/// Of a data pin; EMU pins have 1 and up, the top bit the highest. Null where the scenario says nothing about it.
const bench::PinWiring* wiringOf(const bench::Scenario& scenario, unsigned proc) {
    const std::size_t emu = scenario.pins + 1 - proc;
    return emu < scenario.wiring.pins.size() ? &scenario.wiring.pins[emu] : nullptr;
}

std::string describe(const bench::Scenario& scenario, const bench::RecordingTruth& truth) {
    char item[200];
    std::snprintf(item, sizeof item, "%u pins at %.1f MHz, %.2f samples in half a period, jitter %.2f, %s-aligned;",
                  scenario.pins, truth.frequency / 1e6, truth.halfPeriod, scenario.wiring.jitter,
                  scenario.wiring.alignment == bench::Alignment::Edge ? "edge" : "centre");
    std::string text = item;
    for (const bench::PinTruth& pin : truth.pins) {
        std::snprintf(item, sizeof item, " proc %u: slot %s, eye %.2f, at %.2f to %.2f, errors %.2g;", pin.proc,
                      std::to_string(pin.slot).c_str(), pin.eye, pin.fractionMin, pin.fractionMax, pin.errorRate);
        text += item;
        if (const bench::PinWiring* wiring = wiringOf(scenario, pin.proc); wiring != nullptr && wiring->memory != 0.0) {
            std::snprintf(item, sizeof item, " memory %.2f, coupling %.2f;", wiring->memory, wiring->coupling);
            text += item;
        }
    }
    return text;
}

/// Exact delays differ from the first pin's as the wiring's skews do.
std::vector<double> skewErrors(BenchRig& rig) {
    const Cal& cal = rig.inside().cal();
    std::vector<double> errors;
    for (const bench::PinTruth& pin : rig.truth->pins) {
        if (pin.proc <= 1) {
            continue;
        }
        const double wired = pin.skew - rig.truth->pins.front().skew;
        const double found = static_cast<double>(cal.proc[1].delay) - static_cast<double>(cal.proc[pin.proc].delay);
        errors.push_back(found - wired);
    }
    return errors;
}

/// Whether no content has a wrong bit, by the bench's probabilities.
bool isSafe(const BenchRig& rig) {
    return std::ranges::all_of(rig.truth->pins, [](const bench::PinTruth& pin) { return pin.errorRate < never; });
}

/// The error in a recording ten times as long as the verification's; empty for none.
std::optional<std::string> faultOfLongRecording(BenchRig& rig, Judging judging) {
    if (rig.scenario.kind == bench::ExportKind::Pti) {
        return judging == Judging::ByTrace ? rig.recordTrace(10 * verificationBytes)
                                           : rig.recordPattern(10 * verificationBytes);
    }
    // An unframed export cannot be judged by its words, so by the probability of a wrong bit.
    return isSafe(rig) ? std::nullopt : std::optional<std::string>("bits are taken wrong");
}

} // namespace

char letterOf(Outcome outcome) {
    return "+trw"[static_cast<std::size_t>(outcome)];
}

const char* nameOf(Outcome outcome) {
    constexpr const char* names[] = {"right", "thin", "refused", "wrong"};
    return names[static_cast<std::size_t>(outcome)];
}

Position positionOf(std::span<const EyePosition> pins) {
    Position position;
    for (const EyePosition& pin : pins) {
        position.sameSlot = position.sameSlot && pin.slot == pins.front().slot && pin.eye > 0.0;
        position.central = position.central && pin.fractionMin >= lowestCentral && pin.fractionMax <= highestCentral;
    }
    return position;
}

Verdict calibrateAndJudge(const bench::Scenario& scenario, const std::filesystem::path& folder, std::uint64_t roundTrip,
                          Judging judging, const std::function<void()>& onFiles) {
    BenchRig rig(scenario, folder);
    rig.time.roundTrip = roundTrip;
    Verdict verdict;
    verdict.megahertz = scenario.transmitter.frequencies.back() / 1e6;
    try {
        rig.channel->calibrate();
    } catch (const Exception& e) {
        verdict.outcome = Outcome::refused;
        verdict.reason = e.detail();
        onFiles();
        if (verdict.reason.empty() || rig.inside().control().state != Uncalibrated) {
            throw std::logic_error(scenario.name + " is refused without a reason, or not for good");
        }
        return verdict;
    }
    if (rig.inside().control().state != Calibrated || !rig.truth) {
        throw std::logic_error(scenario.name + " is calibrated without a recording, or not for good");
    }
    onFiles();
    verdict.setting = rig.inside().clocking().frequencySetting;
    verdict.megahertz = rig.inside().clocking().exportFrequency / 1e6;
    verdict.description = describe(scenario, *rig.truth);
    verdict.skewErrors = skewErrors(rig);
    verdict.clockLoss = rig.truth->clockLoss;
    std::vector<EyePosition> eyes;
    for (const bench::PinTruth& pin : rig.truth->pins) {
        eyes.push_back({pin.slot, pin.eye, pin.fractionMin, pin.fractionMax});
        const bench::PinWiring* wiring = wiringOf(scenario, pin.proc);
        const double memory = wiring == nullptr ? 0.0 : wiring->memory;
        const bool isCoupled = bench::LineMemory(memory, rig.truth->halfPeriod).latest() < noLateness;
        verdict.lanes.push_back({pin.slot, pin.errorRate, isCoupled});
    }
    verdict.position = positionOf(eyes);
    // The eyes are those of the worst content. They can be so small that their middle is no margin by itself.
    if (verdict.position.right() && (judging == Judging::ByPattern || isSafe(rig))) {
        verdict.outcome = Outcome::right;
        return verdict;
    }
    const std::optional<std::string> fault = verdict.position.sameSlot
                                                 ? faultOfLongRecording(rig, judging)
                                                 : std::optional<std::string>("not in the same slot");
    verdict.outcome = fault ? Outcome::wrong : Outcome::thin;
    verdict.reason = fault.value_or("");
    return verdict;
}

} // namespace truth
