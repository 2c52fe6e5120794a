#include "host/margin/MarginRun.h"

#include "diagnosis/Diagnosis.h"
#include "host/margin/NextRateRun.h"
#include "host/platform/InterruptAnswer.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/Text.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <ostream>

namespace host {

namespace {

using diagnosis::FrequencySetting;
using diagnosis::RateScan;
using Clock = std::chrono::steady_clock;

/// A rate that was asked for, and a limit just above one: rates are measured to a thousandth.
constexpr double sameRate = 0.01;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// How many bits of each lane the taps of a scan take.
struct Effort {
    std::uint64_t coarse, wall;
};
constexpr Effort quickEffort{20'000, 1'000'000};
constexpr Effort fullEffort{100'000, 20'000'000};

class MarginRun {
public:
    MarginRun(const MarginOptions& given, MarginResult& filled)
        : options(given), result(filled), session(given.session, filled), line(given.session.quiet) {}

    void run();

private:
    void openSession();
    void scanRates();
    std::vector<FrequencySetting> wanted(const std::vector<FrequencySetting>& all) const;
    void scanRate(const FrequencySetting& setting, bool isKept);
    void scanKept(RateScan& rate);
    RateScan describe(const FrequencySetting& setting) const;
    void keepCounts();
    void writeOutputs();

    const MarginOptions& options;
    MarginResult& result;
    PatternTransmitter transmitter; ///< the receiver holds it as long as the session lasts
    Session session;
    ProgressLine line;
    Clock::time_point start = Clock::now();
};

void MarginRun::openSession() {
    session.checkInputs();
    for (const std::string& file : {options.page, options.pinned}) {
        if (!file.empty()) {
            session.testOutput(absolutePath(file));
        }
    }
    session.prepare();
    session.open(line, [this](Vx::Qrs::Trace::IXmtrLibrary& library) {
        transmitter.attach(library);
        return &transmitter;
    });
    if (interrupted()) {
        throw toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted before the calibration");
    }
}

void MarginRun::run() {
    openSession();
    try {
        session.calibrate(line);
        scanRates();
        if (!options.quick && options.hertz <= 0.0 && !interrupted()) {
            findNextRate(session, result, transmitter, line);
        }
        calibrateAgain(session, result, {}, line);
    } catch (const toolkit::Failure& failure) {
        throw session.explained(failure);
    }
    keepCounts();
    writeOutputs();
    if (interrupted()) {
        throw toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted; what was measured is kept");
    }
}

std::string listOf(const std::vector<FrequencySetting>& rates) {
    std::vector<std::string> texts;
    for (const FrequencySetting& each : rates) {
        texts.push_back(toolkit::frequencyText(each.hertz));
    }
    return texts.empty() ? "none" : toolkit::joined(texts, ", ");
}

/// The rates to scan, slow to fast.
std::vector<FrequencySetting> MarginRun::wanted(const std::vector<FrequencySetting>& all) const {
    std::vector<FrequencySetting> rates;
    for (const FrequencySetting& each : all) {
        const bool isChosen = each.verdict == FrequencySetting::Verdict::Chosen;
        const bool isAsked = std::abs(each.hertz - options.hertz) <= sameRate * each.hertz;
        if (options.hertz > 0.0 ? isAsked : isChosen || !options.quick) {
            rates.push_back(each);
        }
    }
    if (rates.empty() && options.hertz > 0.0) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput, "the target has no usable rate of " +
                                                                toolkit::frequencyText(options.hertz) + "; it has " +
                                                                listOf(all));
    }
    return rates;
}

void MarginRun::scanRates() {
    const std::vector<FrequencySetting> all = result.log.frequencies;
    if (all.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::Failed, "no rate was measured, so that there is none to scan; the "
                                                          "values of the calibration were given");
    }
    const std::vector<FrequencySetting> rates = wanted(all);
    const auto scan = [&](const FrequencySetting& each, bool isKept) {
        if (!interrupted()) {
            scanRate(each, isKept);
        }
    };
    // What the calibration has left counts for the kept rate and for those that it refused.
    for (const FrequencySetting& each : rates) {
        if (each.verdict != FrequencySetting::Verdict::Measured) {
            scan(each, each.verdict == FrequencySetting::Verdict::Chosen);
        }
    }
    for (const FrequencySetting& each : rates) {
        if (each.verdict == FrequencySetting::Verdict::Measured) {
            scan(each, false);
        }
    }
    std::ranges::sort(result.rates, {}, &RateScan::hertz);
}

RateScan MarginRun::describe(const FrequencySetting& setting) const {
    RateScan rate;
    rate.setting = setting.setting;
    rate.hertz = setting.hertz;
    rate.isFastest = std::ranges::none_of(result.log.frequencies, [&](const FrequencySetting& other) {
        return other.setting > setting.setting && other.unused.empty() &&
               other.hertz <= diagnosis::limits::highestClock;
    });
    rate.startSeconds = secondsSince(start);
    const diagnosis::DiagnosticSet set = diagnosis::readDiagnostics(session.fileStem());
    rate.sampleRate = set.sampleRate();
    rate.plan.bitSamples = rate.hertz > 0.0 ? rate.sampleRate / (2.0 * rate.hertz) : 0.0;
    for (const diagnosis::FileGroup& attempt : set.attempts) {
        if (attempt.setting != setting.setting) {
            continue;
        }
        for (std::size_t pin = 1; pin < attempt.pins(); ++pin) {
            const bool isTaken = attempt.burst && attempt.burst->taken() && pin < attempt.burst->pins.size();
            rate.titles.push_back(diagnosis::pinTitle(set, pin));
            rate.bursts.push_back(isTaken ? diagnosis::measureLane(*attempt.burst, pin) : std::nullopt);
            if (isTaken) {
                rate.plan.kept.lanes.push_back(static_cast<unsigned>(std::max(0, attempt.burst->pins[pin].delay)));
            }
        }
        if (attempt.burst && attempt.burst->taken()) {
            rate.plan.kept.clock = static_cast<unsigned>(std::max(0, attempt.burst->pins.front().delay));
        }
    }
    return rate;
}

void MarginRun::scanRate(const FrequencySetting& setting, bool isKept) {
    line.setPrefix(toolkit::frequencyText(setting.hertz) + ": ");
    std::string refusal = setting.failed || !setting.unused.empty()
                              ? diagnosis::plainReason(setting.failed ? setting.reason : setting.unused)
                              : std::string();
    if (setting.verdict == FrequencySetting::Verdict::Measured) {
        try {
            // The fastest rate below the limit is tried first.
            const std::string limit = toolkit::numberText(setting.hertz * (1.0 + sameRate / 2.0), 0);
            calibrateAgain(session, result, {{"frequencyLimit", limit}}, line);
        } catch (const toolkit::Failure& failure) {
            if (failure.code != toolkit::ExitCode::CalibrationRefused) {
                throw;
            }
            refusal = failure.what();
        }
        const FrequencySetting* chosen = result.log.chosen();
        if (refusal.empty() && (chosen == nullptr || chosen->setting != setting.setting)) {
            refusal = result.log.failedReason(setting.setting).value_or("another setting was chosen");
        }
    } else if (refusal.empty() && setting.verdict == FrequencySetting::Verdict::Rejected) {
        refusal = diagnosis::plainReason(setting.reason);
    }
    RateScan rate = describe(setting);
    rate.kept = isKept;
    if (refusal.empty() && setting.hertz < diagnosis::limits::lowestAnalysedClock) {
        refusal = "below 10.1 MHz nothing is analysed, and no wall is within the range of delays";
    }
    rate.refusal = refusal;
    if (rate.refusal.empty()) {
        scanKept(rate);
    }
    result.rates.push_back(std::move(rate));
    line.setPrefix("");
}

diagnosis::ScanPlan planOf(const PinValues& kept, const PointRecorder& points, const RateScan& rate,
                           const MarginOptions& options) {
    const Effort effort = options.quick ? quickEffort : fullEffort;
    diagnosis::ScanPlan plan = rate.plan;
    plan.kept.clock = kept.delays.front();
    plan.kept.lanes.assign(kept.delays.begin() + 1, kept.delays.end());
    plan.transitionShare = points.transitionShare();
    plan.coarseBits = effort.coarse;
    plan.wallBits = effort.wall;
    const auto asked = static_cast<double>(diagnosis::bitsThatExclude(options.errorRate));
    plan.keptBits = options.quick ? effort.wall : static_cast<std::uint64_t>(asked / points.channel().dataPins);
    for (const auto& burst : rate.bursts) {
        plan.expected.push_back(burst ? std::optional(diagnosis::ExpectedWalls{burst->setup, burst->hold})
                                      : std::nullopt);
    }
    plan.expected.resize(plan.kept.lanes.size());
    return plan;
}

diagnosis::TapCount countOf(const Point& point) {
    diagnosis::TapCount count;
    count.bits = point.bits;
    count.astray = point.astray;
    for (const PointLane& lane : point.lanes) {
        count.lanes.push_back({lane.errors, lane.early, lane.late});
    }
    return count;
}

void MarginRun::scanKept(RateScan& rate) {
    const std::optional<PinValues> kept = result.calibration ? valuesOf(*result.calibration) : std::nullopt;
    if (!kept || kept->pins() < 2) {
        rate.refusal = "the report of the calibration does not name its values";
        return;
    }
    const auto begin = Clock::now();
    std::atomic<double> done{0.0};
    const InterruptAnswer answer("stopping the scan");
    const ProgressFollower follower(
        [&] {
            ProgressStep step;
            step.phase = "scanning";
            step.fraction = done.load();
            step.fractionWord = "done";
            return step;
        },
        line);
    PointRecorder points(session, result, transmitter, *kept);
    rate.plan = planOf(*kept, points, rate, options);
    rate.pattern = points.pattern();
    rate.stretches = kept->stretches;
    rate.scan = diagnosis::scanEyes(
        rate.plan,
        [&](const diagnosis::Delays& delays, std::uint64_t bits) -> std::optional<diagnosis::TapCount> {
            if (interrupted()) {
                return std::nullopt;
            }
            PinValues values = *kept;
            values.delays.front() = delays.clock;
            std::ranges::copy(delays.lanes, values.delays.begin() + 1);
            return countOf(points.measure(values, bits));
        },
        [&](double share) { done = share; });
    points.restore();
    for (std::size_t lane = 0; lane < rate.scan.lanes.size(); ++lane) {
        rate.eyes.push_back(diagnosis::eyeOf(static_cast<unsigned>(lane), rate.scan.lanes[lane], rate.plan));
    }
    rate.seconds = secondsSince(begin);
}

/// The words that were compared at the kept values count for the run's verdict if the calibration at the end has the same.
void MarginRun::keepCounts() {
    const auto rate = std::ranges::find_if(
        result.rates, [](const RateScan& each) { return each.kept && each.isScanned() && each.eyes[0].keptBits != 0; });
    const auto values = result.calibration ? valuesOf(*result.calibration) : std::nullopt;
    if (rate == result.rates.end() || !values) {
        return;
    }
    const diagnosis::Delays now{values->delays.front(), {values->delays.begin() + 1, values->delays.end()}};
    if (now != rate->plan.kept || values->stretches != rate->stretches) {
        if (const std::string moved = diagnosis::movedSince(*rate, now, values->stretches); !moved.empty()) {
            result.notes.emplace_back("the calibration at the end has other values than the scanned ones: " + moved);
        }
        return;
    }
    diagnosis::WordCheck& check = result.checks.words.emplace_back();
    check.pattern = rate->pattern;
    check.askedErrorRate = options.quick ? briefErrorRate : options.errorRate;
    for (std::size_t lane = 0; lane < rate->eyes.size(); ++lane) {
        const auto kept = std::ranges::find(rate->scan.lanes[lane].taps, 0, &diagnosis::LaneTap::offset);
        check.bits += kept->bits;
        check.errors += kept->errors;
        if (kept->errors != 0) {
            check.lanes.push_back({static_cast<unsigned>(lane), kept->errors, kept->early, kept->late});
        }
    }
    session.writeChecks();
}

void MarginRun::writeOutputs() {
    const auto write = [&](const std::string& file, const char* key, const char* label, const std::string& text) {
        if (file.empty()) {
            return;
        }
        const std::filesystem::path path = absolutePath(file);
        toolkit::writeOutputFile(path, [&](std::ostream& out) { out << text; });
        result.files.push_back({key, label, path.string()});
    };
    const std::string& name = result.scenario.empty() ? result.cpu : result.scenario;
    // Beside the files of the calibration, where orvtrace diff finds it.
    toolkit::writeOutputFile(toolkit::filePath(session.fileStem().string() + ".margin.json"),
                             [&](std::ostream& out) { out << toolkit::jsonText(marginResultJson(result)); });
    write(options.page, "page", "page", options.page.empty() ? "" : diagnosis::marginPage(result.rates, name));
    write(options.pinned, "pinned", "pinned", options.pinned.empty() ? "" : pinnedProperties(result));
}

} // namespace

void measureMargins(const MarginOptions& options, MarginResult& result) {
    MarginRun(options, result).run();
}

} // namespace host
