#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/doctor/Rules.h"
#include "toolkit/Format.h"
#include "toolkit/Text.h"

#include <algorithm>

// A clock that is so fast that the unit removes some of its pulses as too short. The unit then counts a lower rate, which
// looks usable.

namespace diagnosis::rules {

namespace {

/// Rates that fall by less than this from one setting to the next are the same.
constexpr double leastFall = 0.01;
/// In samples: at the highest clock that is recorded a bit lasts 5.8.
constexpr std::size_t tooShort = 3;
/// The share of a pin's intervals that have to be that short.
constexpr std::size_t shortShare = 10;
constexpr std::size_t fewestShort = 3;
/// Clock edges in a burst, by the rate that was counted, of which less than a tenth is no clock; and data changes that
/// show that the target sends.
constexpr double fewestCounted = 20.0;
constexpr double clearlyFewer = 10.0;
constexpr std::size_t fewestSent = 8;
/// Changes of a sound pin are no more frequent than its clock's edges; the ends of the burst may add some.
constexpr double mostForClock = 1.5;

/// A target lists its settings from slow to fast. Empty unless each one was measured slower than the one before.
std::string fallingRates(const DiagnosticSet& set) {
    std::vector<std::pair<unsigned, double>> rates;
    for (const FileGroup& attempt : set.attempts) {
        if (attempt.setting && attempt.rates().known()) {
            rates.emplace_back(*attempt.setting, attempt.rates().exportFrequency);
        }
    }
    std::sort(rates.begin(), rates.end());
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < rates.size(); ++i) {
        if (i != 0 && rates[i].second > (1.0 - leastFall) * rates[i - 1].second) {
            return {};
        }
        texts.push_back(toolkit::frequencyText(rates[i].second));
    }
    return rates.size() < 2 ? std::string()
                            : "reports: settings " + std::to_string(rates.front().first) + " to " +
                                  std::to_string(rates.back().first) + " were measured at " +
                                  toolkit::enumeration(texts) + ", although a target lists them from slow to fast";
}

/// A pin that changes oftener than the clock that was counted, and faster than any that is recorded; 0 for none.
std::size_t pinTooFast(const Burst& burst) {
    const double clockEdges = 2.0 * static_cast<double>(burst.samples()) / burst.rates.oversampling;
    for (const std::size_t proc : dataProcs(burst.dataPins())) {
        const std::vector<std::size_t> intervals = intervalsOf(burst, proc);
        const auto isShort = [](std::size_t length) { return length <= tooShort; };
        const auto count = static_cast<std::size_t>(std::count_if(intervals.begin(), intervals.end(), isShort));
        if (static_cast<double>(intervals.size()) > mostForClock * clockEdges + 1.0 && count >= fewestShort &&
            count * shortShare >= intervals.size()) {
            return proc;
        }
    }
    return 0;
}

/// How often the data change in a burst without the clock's edges: the target sends, and it is the unit that removes
/// them. 0 where the clock is there, or where nothing is sent.
std::size_t changesWithoutClock(const Burst& burst) {
    const double counted = 2.0 * static_cast<double>(burst.samples()) / burst.rates.oversampling;
    const std::size_t edges = edgesOf(burst.pins[0].levels, burstStart).size();
    if (counted < fewestCounted || static_cast<double>(edges) * clearlyFewer > counted) {
        return 0;
    }
    std::size_t changes = 0;
    for (const std::size_t proc : dataProcs(burst.dataPins())) {
        changes = std::max(changes, edgesOf(burst.pins[proc].levels, burstStart).size());
    }
    return changes >= fewestSent && changes > edges ? changes : 0;
}

void addTooFast(Case& given, std::string evidence) {
    given.add(FindingId::ClockLosesPulses, {0}).evidence.push_back(std::move(evidence));
}

} // namespace

void findLostClockPulses(Case& given) {
    if (given.calibrated || given.set.manual() || !given.findings.empty()) {
        return;
    }
    if (std::string evidence = fallingRates(given.set); !evidence.empty()) {
        addTooFast(given, std::move(evidence));
    }
    for (const FileGroup* attempt : given.attempts) {
        const bool usable = attempt->burst && attempt->burst->taken() && attempt->rates().known();
        const std::size_t proc = usable ? pinTooFast(*attempt->burst) : 0;
        if (proc != 0) {
            addTooFast(given, burstOf(*attempt) + given.title(proc) + " changes within " + std::to_string(tooShort) +
                                  " samples and less; at 120 MHz a bit lasts 5.8");
        } else if (const std::size_t changes = usable ? changesWithoutClock(*attempt->burst) : 0; changes != 0) {
            addTooFast(given, burstOf(*attempt) + "the data change up to " + std::to_string(changes) +
                                  " times and the clock hardly ever, although it was counted: its pulses are shorter "
                                  "than the debounce of " +
                                  std::to_string(attempt->burst->pins[0].debounce));
        }
    }
    if (!given.findings.empty()) {
        // Neither the clock's rate nor its edges are known, so that nothing can be said about the pins.
        given.withSharedFault.insert(given.attempts.begin(), given.attempts.end());
    }
}

} // namespace diagnosis::rules
