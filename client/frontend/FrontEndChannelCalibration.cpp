#include "client/analysis/Alignment.h"
#include "client/analysis/Burst.h"
#include "client/analysis/CalRegisters.h"
#include "client/analysis/Rates.h"
#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/OutputFile.h"
#include "common/source/source_utilities/uLog.h"

#include <array>
#include <string>
#include <vector>

// Calibration from the outside in: the whole of it, one attempt, and the settings that it writes.

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr std::uint32_t longestDelay = 31;

void writeCacheFile(const std::string& path, const std::string& pinMap) {
    OutputFile file(path, OutputFile::Mode::text);
    file.write(pinMap);
    file.write("\n");
    if (!file.close()) {
        fail(frontEndUnit, eFILE, path);
    }
}

std::string marginText(std::uint32_t margin) {
    return margin == notSet ? "none" : std::to_string(margin);
}

/// One result of each pin in use, the clock's first.
void logResults(const char* what, const Metrics& m, std::uint32_t numPins, std::int32_t ProcMetrics::* result) {
    if (!stepsWanted()) {
        return;
    }
    std::string text = what;
    for (std::uint32_t p = 0; p < analysis::usedPins(numPins); ++p) {
        text += p == 0 ? "" : ",";
        text += std::to_string(m.proc[p].*result);
    }
    logStep(here(), "%s", text.c_str());
}

/// Logs the choice of the first setting.
void logStart(std::uint32_t setting, const std::vector<double>& frequencies, double limit) {
    const double frequency = frequencies.at(setting);
    if (limit == 0.0) {
        logStep(here(), "starting at freq%u (%6.5e), the fastest setting", setting, frequency);
    } else if (frequency < limit) {
        logStep(here(), "starting at freq%u (%6.5e), the fastest setting below the limit of %6.5e Hz", setting,
                frequency, limit);
    } else {
        logStep(here(), "starting at freq%u (%6.5e), though no setting is below the limit of %6.5e Hz", setting,
                frequency, limit);
    }
}

/// Logs the consequence of a failed attempt.
void logDropped(std::uint32_t setting, std::uint32_t status) {
    if (status != eCALIBRATE) {
        logStep(here(), "freq%u dropped : not for its signal, so no other setting is tried", setting);
    } else if (setting == 0) {
        logStep(here(), "freq%u dropped : it was the slowest, nothing is left to try", setting);
    } else {
        logStep(here(), "freq%u dropped : its signal cannot be used, next comes freq%u", setting, setting - 1);
    }
}

/// Logs the result of an attempt, a line for each pin.
void logPins(const Metrics& m, const Cal& cal, std::uint32_t numPins) {
    if (!stepsWanted()) {
        return;
    }
    for (std::uint32_t p = 0; p < analysis::usedPins(numPins); ++p) {
        const ProcMetrics& pin = m.proc[p];
        const ProcCal& set = cal.proc[p];
        if (p == 0) {
            logStep(here(), "clock : input=%u, delay=%u, stretch=%d, filter=%u, plateau=%u, debounce=%u", set.rcvrpin,
                    set.delay, set.stretch, set.filter, set.plateau, set.debounce);
            continue;
        }
        std::int32_t moved = 0;
        const double peak = analysis::findPeakCorrelation(pin, moved, maxLag);
        logStep(
            here(),
            "data %u : input=%u, delay=%u, stretch=%d, margin=-%s,+%s, correlation peak=%.3f at lag %d, at zero=%.3f",
            p, set.rcvrpin, set.delay, set.stretch, marginText(pin.marginBefore).c_str(),
            marginText(pin.marginAfter).c_str(), peak, -moved, pin.correlationAtZero);
    }
}

} // namespace

void FrontEndChannel_1::calibrate() {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::calibrate");
    calibration.baseFile = stem();
    const uMutexLock lock(*mutex);
    do {
        if (calibration.calInProgress) {
            logStep(here(), "already in progress, call ignored");
            return;
        }
    } while (control.state != Recording && endEarlierThread());
    const std::int32_t stateAtEntry = control.state;
    const bool doneAtEntry = control.threadDone;
    const Cal calAtEntry = calibration.cal;
    Cal& cal = calibration.cal;
    Metrics& metrics = calibration.metrics;
    calibration.calInProgress = true;
    calibration.calProgress = 0.0;
    try {
        if (stateAtEntry == Recording) {
            fail(frontEndUnit, eSEQUENCE, "cannot calibrate while recording, stop recording first");
        }
        deleteDiagnosticFiles();
        sync();
        session.diagnosticStems.push_back(calibration.baseFile);
        applyPinSettings();
        setupPins(cal);
        if (settings.drmXmtr == "tpiulite") {
            settings.calMode = "manual";
            cal.reset();
            cal.proc[0].delay = longestDelay;
        }
        manualCal(cal);
        if (settings.calMode == "manual") {
            logStep(here(), "manual calibration, nothing is measured but margins");
            captureOvs();
            settings.samplingPos = "center";
            findMargin(metrics);
            computeOvsDataCorrelation(metrics);
            logCal(metrics, cal);
            logOvs(cal);
            logPins(metrics, cal, settings.numPins);
        } else {
            findAllFrequencySettings(metrics, cal);
            std::uint32_t startSetting = 0;
            findStartFrequencySetting(startSetting);
            logStart(startSetting, clocking.frequencies, settings.frequencyLimit);
            autoCal(metrics, cal, startSetting);
        }
        control.state = Calibrated;
        clearOvsError();
        calibration.calProgress = 1.0;
        writeCacheFile(calibration.baseFile + ".cache", settings.pinMap);
        settings.file = calibration.baseFile;
        calibration.attemptFile.clear();
        transmitter->shutdown();
    } catch (...) {
        // A verification recording changes the state; restore it.
        control.state = stateAtEntry;
        if (doneAtEntry) {
            control.threadDone = true; // a verification that was refused halfway has taken it back
        }
        cal = calAtEntry;
        settings.file = calibration.baseFile;
        calibration.attemptFile.clear();
        try {
            transmitter->shutdown();
        } catch (...) {
            logStep(here(), "transmitter could not be shut down");
        }
        calibration.calInProgress = false;
        throw;
    }
    calibration.calInProgress = false;
}

void FrontEndChannel_1::autoCal(Metrics& results, Cal& target, std::uint32_t startSetting) {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::autoCal");
    Cal work(settings.numPins);
    clocking.frequencySetting = startSetting;
    for (;;) {
        const auto setting = static_cast<int>(clocking.frequencySetting);
        const double frequency = clocking.frequencies.at(clocking.frequencySetting);
        logStep(here(), "trying freq%d (%6.5e)", setting, frequency);
        calibration.attemptFile = calibration.baseFile + ".freq" + std::to_string(setting);
        session.diagnosticStems.push_back(calibration.attemptFile);
        try {
            attemptCal(results, target, work);
            logStep(here(), "freq%d (%6.5e) kept%s", setting, frequency,
                    settings.verifyCalEnabled ? " : the verification recording passed" : "");
            break;
        } catch (const Exception& e) {
            logStep(here(), "failed freq%d (%6.5e) : %s", setting, frequency, e.what());
            logPins(results, work, settings.numPins);
            logDropped(clocking.frequencySetting, e.status());
            logCal(results, work);
            logOvs(work);
            logRegs();
            if (e.status() != eCALIBRATE || clocking.frequencySetting == 0) {
                throw;
            }
        }
        --clocking.frequencySetting;
    }
    target = work;
}

void FrontEndChannel_1::attemptCal(Metrics& results, const Cal& start, Cal& work) {
    const double frequency = clocking.frequencies.at(clocking.frequencySetting);
    transmitter->shutdown();
    transmitter->program("calibration", clocking.frequencySetting);
    applyFrequencyChange(frequency);
    logStep(here(), "clock %6.5e Hz, %.2f samples in its period, %u in a bit, %.5e bits per second", frequency,
            clocking.oversampling, clocking.bitSamples, clocking.dataRate.load());
    work = start;
    captureOvs();
    if (frequency < analysis::lowestAnalysed) {
        // Slow enough for the latest sampling point; the unit keeps the settings of the rate measurement.
        logStep(here(), "too slow to be analysed, and needs no analysis");
        work.reset();
        work.proc[0].delay = longestDelay;
    } else {
        computeFreqBasedCal(work);
        logStep(here(), "conditioning for that many samples : filter=%u, plateau=%u, debounce=%u", work.proc[0].filter,
                work.proc[0].plateau, work.proc[0].debounce);
        writeCal(work);
        captureOvs();
        detectSamplingPosition();
        stretch(results);
        logResults("duty corrected : stretches=", results, settings.numPins, &ProcMetrics::stretch);
        commit(results, work);
        align(results, settings.deskewStrategy);
        logResults(settings.deskewStrategy == 0 ? "pins aligned with the clock : delays="
                                                : "pins aligned with each other : delays=",
                   results, settings.numPins, &ProcMetrics::delay);
        commit(results, work);
        computeOvsDataCorrelation(results);
        findMargin(results);
        adjustClockDelay(results);
        logResults("clock centred : delays=", results, settings.numPins, &ProcMetrics::delay);
        commit(results, work);
        findMargin(results); // so that the report shows the margins of the final setting
        logPins(results, work, settings.numPins);
    }
    logCal(results, work);
    logOvs(work);
    if (settings.verifyCalEnabled) {
        verifyCal();
    }
}

void FrontEndChannel_1::commit(Metrics& results, Cal& work) {
    getCalFromMetrics(results, work);
    writeCal(work);
    captureOvs();
}

void FrontEndChannel_1::manualCal(Cal& target) {
    Cal defaults(settings.numPins);
    defaults.reset();
    target.merge(defaults);
    writeCal(target);
}

void FrontEndChannel_1::assertCal(const Cal& target) const {
    for (std::uint32_t p = 0; p < analysis::usedPins(settings.numPins); ++p) {
        if (const char* fault = analysis::invalidSetting(target.proc[p])) {
            fail(frontEndUnit, eCALIBRATE, fault);
        }
    }
}

void FrontEndChannel_1::writeCal(const Cal& target) {
    assertCal(target);
    std::array<RegisterAccess, 2 * registers::maxProcs> list{};
    for (std::uint32_t p = 0; p < registers::maxProcs; ++p) {
        const analysis::CalRegisters image = analysis::toRegisters(target.proc[p]);
        list[2 * p] = {registers::kindUnit, registers::address(registers::procInput, channelNumber, p), image.input};
        list[2 * p + 1] = {registers::kindUnit, registers::address(registers::procConditioning, channelNumber, p),
                           image.conditioning};
    }
    frontEnd->getDataClient()->write(list.data(), static_cast<std::uint32_t>(list.size()));
    logRegs();
}

void FrontEndChannel_1::readCal(Cal& target) {
    const std::uint32_t used = analysis::usedPins(settings.numPins);
    std::array<RegisterAccess, 2 * registers::maxProcs> list{};
    for (std::uint32_t p = 0; p < used; ++p) {
        list[2 * p] = {registers::kindUnit, registers::address(registers::procInput, channelNumber, p), 0};
        list[2 * p + 1] = {registers::kindUnit, registers::address(registers::procConditioning, channelNumber, p), 0};
    }
    frontEnd->getDataClient()->read(list.data(), 2 * used);
    for (std::uint32_t p = 0; p < used; ++p) {
        analysis::fromRegisters({list[2 * p].value, list[2 * p + 1].value}, target.proc[p]);
    }
}

void FrontEndChannel_1::applyFrequencyChange(double frequency) {
    const PllSettings& pll = frontEnd->pll();
    const analysis::Rates rates = analysis::ratesOf(frequency, {pll.refFrequency, pll.multiplier, pll.divider},
                                                    settings.numPins, clocking.doubleDataRate);
    clocking.exportFrequency = rates.exportFrequency;
    clocking.dataFrequency = rates.dataFrequency;
    clocking.dataRate = rates.dataRate;
    clocking.oversampling = rates.oversampling;
    clocking.bitSamples = rates.bitSamples;
    clocking.wordClockFrequency = rates.wordClockFrequency;
}

void FrontEndChannel_1::computeFreqBasedCal(Cal& target) const {
    for (std::uint32_t p = 0; p < analysis::usedPins(settings.numPins); ++p) {
        analysis::applyConditioning(clocking.oversampling, target.proc[p]);
    }
}

void FrontEndChannel_1::getCalFromMetrics(const Metrics& results, Cal& target) const {
    for (std::uint32_t p = 0; p < analysis::usedPins(settings.numPins); ++p) {
        target.proc[p].delay = static_cast<std::uint32_t>(results.proc[p].delay);
        target.proc[p].stretch = results.proc[p].stretch;
    }
}

} // namespace VX_QRS::ORV::CLIENT
