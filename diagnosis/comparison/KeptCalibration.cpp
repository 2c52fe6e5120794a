#include "diagnosis/comparison/KeptCalibration.h"

#include "diagnosis/doctor/Diagnosis.h"
#include "toolkit/FilePath.h"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace diagnosis {

namespace {

namespace fs = std::filesystem;

/// When the last file of the calibration was written.
std::string dateOf(const DiagnosticSet& set) {
    std::optional<fs::file_time_type> newest;
    for (const std::string& name : set.files) {
        std::error_code failed;
        const auto time = fs::last_write_time(set.folder / toolkit::filePath(name), failed);
        if (!failed && name.ends_with(".cal.txt") && (!newest || time > *newest)) {
            newest = time;
        }
    }
    if (!newest) {
        return {};
    }
    using namespace std::chrono;
    const auto time = floor<minutes>(file_clock::to_sys(*newest));
    const auto day = floor<days>(time);
    const year_month_day date{day};
    const auto inDay = time - day;
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02} UTC", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                       duration_cast<hours>(inDay).count(), inDay.count() % 60);
}

/// Stretching moves one kind of edge by half a sample a unit, so the middle of the changes by a quarter.
double shiftOf(const KeptPin& pin) {
    return pin.delay.value_or(0) + 0.25 * std::abs(pin.stretch.value_or(0));
}

void addArrival(KeptPin& pin, const KeptPin& clock) {
    if (!pin.margins) {
        return;
    }
    // From the clock edge to the middle of rise and fall; the hold margin leaves out the edge's own sample.
    const double half = pin.margins->bit;
    const double seen = (pin.margins->hold + 1.0 - pin.margins->setup + half) / 2.0;
    pin.lateFall = pin.margins->lateFall - 0.5 * pin.stretch.value_or(0);
    const double arrival = std::fmod(seen - shiftOf(pin) + shiftOf(clock), half);
    pin.arrival = arrival < 0.0 ? arrival + half : arrival;
}

/// The group whose values the unit was left with.
const FileGroup& keptGroup(const DiagnosticSet& set) {
    return set.manual() || set.attempts.empty() ? set.base : set.attempts.back();
}

KeptPin pinOfReport(const DiagnosticSet& set, const CalFile& cal, std::size_t proc) {
    KeptPin pin;
    const CalPin& reported = cal.pins[proc];
    pin.title = pinTitle(set, proc);
    pin.delay = reported.delay;
    pin.stretch = reported.stretch;
    pin.filter = reported.filter;
    pin.debounce = reported.debounce;
    pin.plateau = reported.plateau;
    return pin;
}

} // namespace

bool KeptCalibration::hasValues() const {
    return !pins.empty() && std::all_of(pins.begin(), pins.end(), [](const KeptPin& pin) {
        return pin.delay && pin.stretch && pin.filter && pin.debounce && pin.plateau;
    });
}

bool isSameRate(double hertz, double other) {
    return std::abs(hertz - other) <= 5e-3 * hertz;
}

double movedBy(double from, double to, double half) {
    return half > 0.0 ? std::remainder(to - from, half) : to - from;
}

std::vector<KeptPin> pinsOfBurst(const DiagnosticSet& set, const Burst& burst) {
    std::vector<KeptPin> pins;
    for (std::size_t proc = 0; proc < burst.pins.size(); ++proc) {
        const BurstPin& held = burst.pins[proc];
        KeptPin& pin = pins.emplace_back();
        pin.title = pinTitle(set, proc);
        pin.delay = held.delay;
        pin.stretch = held.stretch;
        pin.filter = held.filter;
        pin.debounce = held.debounce;
        pin.plateau = held.plateau;
        if (proc != 0 && burst.taken()) {
            pin.margins = measureLane(burst, proc);
            addArrival(pin, pins.front());
        }
    }
    return pins;
}

KeptCalibration keptCalibrationOf(const DiagnosticSet& set, const std::string& place) {
    KeptCalibration kept;
    kept.place = place;
    kept.date = dateOf(set);
    kept.given = set.manual();
    kept.exportKind = set.exportKind();
    kept.pinMap = set.pinMap.value_or("");
    kept.sampleRate = set.sampleRate();
    kept.troubles = set.troubles;
    const Diagnosis found = diagnose(set);
    kept.verdict = judgeRun(set, found);
    kept.calibrated = found.calibrated.value_or(false);
    const FileGroup& group = keptGroup(set);
    kept.setting = group.setting;
    if (set.checks && set.checks->given) {
        kept.setting = set.checks->given->setting;
    }
    if (group.rates().known()) {
        kept.hertz = group.rates().exportFrequency;
    }
    if (group.burst) {
        kept.pins = pinsOfBurst(set, *group.burst);
    }
    // The report has the values of the setting, the burst those that the unit held.
    if (group.cal) {
        kept.pins.resize(std::max(kept.pins.size(), group.cal->pins.size()));
        for (std::size_t proc = 0; proc < group.cal->pins.size(); ++proc) {
            KeptPin pin = pinOfReport(set, *group.cal, proc);
            pin.margins = kept.pins[proc].margins;
            pin.arrival = kept.pins[proc].arrival;
            pin.lateFall = kept.pins[proc].lateFall;
            kept.pins[proc] = std::move(pin);
        }
    }
    return kept;
}

KeptCalibration readKeptCalibration(const fs::path& place) {
    return keptCalibrationOf(readDiagnostics(place), place.string());
}

} // namespace diagnosis
