#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/doctor/Rules.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

// What all data pins have alike points at what they share: the clock, the ground, the target's export.

namespace diagnosis::rules {

namespace {

/// Pins that keep this close to each other are clean, whatever the clock does.
constexpr double together = 0.85;
/// No pin that goes with its clock at a usable rate keeps less to it.
constexpr double followed = 0.65;
/// Data change at most once with each clock edge, give or take what lies at the ends of the burst.
constexpr double mostChanges = 1.5;
/// Counted and shown rates that are further apart than this are two.
constexpr double sameRate = 0.1;

/// How the data pins of a burst go with its clock, and with each other.
struct Company {
    std::vector<Bunching> clock; ///< of each data pin, to the clock
    std::vector<double> others;  ///< of each data pin, to the other that it keeps to most
    std::size_t clockChanges = 0;

    template <class Test>
    bool all(const Test& test) const {
        return std::all_of(clock.begin(), clock.end(), test);
    }
    double closest() const {
        double best = 0.0;
        for (const Bunching& pin : clock) {
            best = std::max(best, pin.share);
        }
        return best;
    }
    double closestToEachOther() const { return *std::min_element(others.begin(), others.end()); }
};

Company companyOf(const Burst& burst) {
    Company company;
    company.clockChanges = edgesOf(burst.pins[0].levels, burstStart).size();
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        company.clock.push_back(bunchingOf(burst, proc));
        company.clock.back().changes = edgesOf(burst.pins[proc].levels, burstStart).size();
        double best = 0.0;
        for (std::size_t other = 1; other < burst.pins.size(); ++other) {
            if (other != proc) {
                best = std::max(best, bunchingAround(burst, proc, other).share);
            }
        }
        company.others.push_back(best);
    }
    return company;
}

enum class Alike { No, Still, ClockApart, Silent, Noisy };

Alike alikeOf(const Burst& burst, const Company& company) {
    std::size_t still = 0;
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        still += stuckLevel(burst, proc).has_value();
    }
    if (still != 0) {
        return still == burst.dataPins() ? Alike::Still : Alike::No;
    }
    const bool enough = company.all([](const Bunching& pin) { return pin.changes >= fewestChanges; });
    const bool oftener = company.all([&](const Bunching& pin) {
        return static_cast<double>(pin.changes) > mostChanges * static_cast<double>(company.clockChanges);
    });
    const bool rare = company.all([&](const Bunching& pin) { return pin.changes * rarest < company.clockChanges; });
    if (rare) {
        return Alike::Silent;
    }
    if (enough && (oftener || (company.closest() <= followed && company.closestToEachOther() >= together))) {
        return Alike::ClockApart;
    }
    const bool unrelated = company.all([&](const Bunching& pin) {
        return pin.changes * rarest < company.clockChanges || (pin.changes >= fewestChanges && pin.share <= loosest);
    });
    const bool some = std::any_of(company.clock.begin(), company.clock.end(),
                                  [](const Bunching& pin) { return pin.share <= loosest; });
    return unrelated || (enough && some && company.closest() <= followed) ? Alike::Noisy : Alike::No;
}

/// "14", or "0 to 1".
std::string fromTo(const std::vector<std::size_t>& values) {
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    return *low == *high ? std::to_string(*low) : std::to_string(*low) + " to " + std::to_string(*high);
}

std::string countsText(const FileGroup& attempt, const Company& company) {
    std::vector<std::size_t> changes;
    for (const Bunching& pin : company.clock) {
        changes.push_back(pin.changes);
    }
    return "burst of " + attemptTitle(attempt) + ": the data pins change " + fromTo(changes) + " times, the clock " +
           std::to_string(company.clockChanges) + " times";
}

/// The clock that the data would go with: they change with each of its edges on the pattern of a calibration.
std::string rateText(const FileGroup& attempt) {
    const Burst& burst = *attempt.burst;
    std::vector<std::size_t> intervals;
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        intervals.push_back(usualInterval(burst, proc).value_or(0));
    }
    const auto [low, high] = std::minmax_element(intervals.begin(), intervals.end());
    if (*low == 0 || *high > *low + 1) {
        return {};
    }
    const double shown = burst.rates.sampleRate() / (2.0 * static_cast<double>(*low));
    const double counted = burst.rates.exportFrequency;
    if (std::abs(shown - counted) <= sameRate * shown) {
        return {};
    }
    return "the data change every " + std::to_string(*low) + " samples, as with a clock of " + frequencyWords(shown) +
           ", where " + frequencyWords(counted) + " was counted";
}

/// The middle nine of ten distances between a pin's changes: how regular they are.
struct Distances {
    std::size_t low = 0, high = 0;
    std::string text() const { return fromTo({low, high}); }
};
Distances distancesOf(const Burst& burst, std::size_t proc) {
    const auto edges = edgesOf(burst.pins[proc].levels, burstStart);
    std::vector<std::size_t> lengths;
    for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
        lengths.push_back(edges[i + 1].at - edges[i].at);
    }
    if (lengths.empty()) {
        return {};
    }
    std::sort(lengths.begin(), lengths.end());
    return {lengths[lengths.size() / 20], lengths[lengths.size() - 1 - lengths.size() / 20]};
}

std::string distancesText(const Burst& burst) {
    return "the clock's changes lie " + distancesOf(burst, 0).text() + " samples apart, " +
           distancesOf(burst, 1).text() + " on data 1";
}

std::string titleOfAll(const Burst& burst) {
    return burst.dataPins() == 2 ? "both data pins" : "all " + std::to_string(burst.dataPins()) + " data pins";
}

std::vector<std::size_t> dataProcs(const Burst& burst) {
    std::vector<std::size_t> pins;
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        pins.push_back(proc);
    }
    return pins;
}

constexpr const char* nothingSent = "Is the target's trace export enabled on these pins, and does it send? Does the "
                                    "pin map name the pins that it uses? "
                                    "Is the cable connected, its ground too?";

void addStill(const FileGroup& attempt, Findings& findings) {
    const Burst& burst = *attempt.burst;
    Finding& finding = findingFor(findings, "pin-stuck", dataProcs(burst));
    finding.text = titleOfAll(burst) + " stand still while the clock runs";
    finding.remedy = nothingSent;
    std::vector<std::size_t> levels;
    for (const std::size_t proc : dataProcs(burst)) {
        levels.push_back(*stuckLevel(burst, proc));
    }
    finding.evidence.push_back("burst of " + attemptTitle(attempt) + ": " + std::to_string(burst.samples()) +
                               " samples at " + fromTo(levels) + " while the clock changes " +
                               std::to_string(edgesOf(burst.pins[0].levels).size()) + " times");
}

void addSilent(const FileGroup& attempt, const Company& company, Findings& findings) {
    const Burst& burst = *attempt.burst;
    Finding& finding = findingFor(findings, "pins-silent", dataProcs(burst));
    finding.text = titleOfAll(burst) + " change far less often than the clock";
    finding.remedy = nothingSent;
    finding.evidence.push_back(countsText(attempt, company));
}

void addClockApart(const Case& given, const FileGroup& attempt, const Company& company, Findings& findings) {
    const Burst& burst = *attempt.burst;
    Finding& finding = findingFor(findings, "clock-suspect", {0});
    finding.text = "look at the " + pinTitle(given.set, 0) + " pin first: the data pins do not go with it";
    finding.remedy = "Is the clock's wire open or its ground bad? Does the pin map name the pin that carries the trace "
                     "clock? Are its edges clean, without jitter? The data pins can be judged only then.";
    std::string line = countsText(attempt, company);
    const std::string rate = rateText(attempt);
    if (!rate.empty()) {
        line += "; " + rate;
    }
    finding.evidence.push_back(std::move(line));
    finding.evidence.push_back("burst of " + attemptTitle(attempt) + ": " + distancesText(burst));
    if (company.closestToEachOther() >= together) {
        finding.evidence.back() += "; the data pins keep to each other";
    }
}

void addNoisy(const FileGroup& attempt, const Company& company, Findings& findings) {
    const Burst& burst = *attempt.burst;
    Finding& finding = findingFor(findings, "pins-noisy", dataProcs(burst));
    finding.text = titleOfAll(burst) + " change without regard to the clock and to each other";
    finding.remedy =
        "All pins at once point at what they share: look at the clock's edges and at the ground first, then "
        "at the port's supply and the cable. A slower clock leaves more room for noise.";
    finding.evidence.push_back(countsText(attempt, company) + "; " + distancesText(burst));
}

} // namespace

std::string irregularClock(const FileGroup& attempt) {
    const Burst* burst = liveBurst(attempt);
    if (burst == nullptr || burst->dataPins() == 0) {
        return {};
    }
    const Distances clock = distancesOf(*burst, 0);
    const Distances data = distancesOf(*burst, 1);
    // A sample to either side is what sampling does to any signal.
    if (clock.high - clock.low <= 2 * (data.high - data.low) + 2) {
        return {};
    }
    return "burst of " + attemptTitle(attempt) + ": " + distancesText(*burst);
}

void findSharedFaults(Case& given, Findings& findings) {
    for (const FileGroup* attempt : given.attempts) {
        const Burst* burst = liveBurst(*attempt);
        if (burst == nullptr || burst->dataPins() < 2) {
            continue;
        }
        // What came back as it was sent is no fault, however it looks.
        if (given.calibrated && attempt->verification &&
            patternHeld(*attempt->verification, burst->dataPins(), given.set.provedWith())) {
            continue;
        }
        const Company company = companyOf(*burst);
        const Alike alike = alikeOf(*burst, company);
        if (alike == Alike::No) {
            continue;
        }
        given.alike.insert(attempt);
        if (alike == Alike::Still) {
            addStill(*attempt, findings);
        } else if (alike == Alike::Silent) {
            addSilent(*attempt, company, findings);
        } else if (alike == Alike::ClockApart) {
            addClockApart(given, *attempt, company, findings);
        } else {
            addNoisy(*attempt, company, findings);
        }
    }
}

} // namespace diagnosis::rules
