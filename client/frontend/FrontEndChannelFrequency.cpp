#include "client/analysis/Burst.h"
#include "client/analysis/Rates.h"
#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"

#include <array>
#include <string>

// Finding out at which rates the transmitter can run, with the unit's own counter.

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr std::uint32_t firstDebounce = 4;
constexpr std::uint32_t lastDebounce = 8;
constexpr std::uint32_t fullFilter = 7;
constexpr int pairsTried = 10;

analysis::UnitClock unitClock(const FrontEnd_1& frontEnd) {
    const PllSettings& pll = frontEnd.pll();
    return {pll.refFrequency, pll.multiplier, pll.divider};
}

/// What is wrong with a pair that is not the missing clock.
const char* reasonFor(analysis::FrequencyVerdict verdict) {
    switch (verdict) {
    case analysis::FrequencyVerdict::unstable:
        return "clock frequency not stable";
    case analysis::FrequencyVerdict::outOfRange:
        return "the frequency measured exceeds hardware capabilities";
    default:
        return nullptr;
    }
}

std::string withFrequencies(const char* reason, const analysis::FrequencyPair& pair) {
    std::string text = reason;
    uString::toTextWithPrefix(pair.first, text, withSymbol, appended, " : frequencies=%3.3f ");
    uString::toTextWithPrefix(pair.second, text, withSymbol, appended, "Hz, %3.3f ");
    return text + "Hz";
}

/// Whether the log has the reason already: a measurement logs it at each debounce step, so the text of its failure is
/// not logged as well.
bool reportedPerStep(const std::exception& e, bool measuring) {
    const auto* failure = dynamic_cast<const Exception*>(&e);
    return measuring && failure != nullptr && failure->status() == eXMTR;
}

/// Why no setting can be used, from what the last one measured.
std::string unusableText(double exportFrequency, double dataRate) {
    std::string text;
    if (exportFrequency > analysis::highestRecorded) {
        text = "all transmitter frequencies are too fast, changing the PLL setting may help : ";
    } else if (dataRate > analysis::highestDataRate) {
        text = "data rate exceeds bandwidth, reducing the number of pins may help : ";
    }
    text += "transmitter frequency measured at ";
    if (exportFrequency > 1.0) {
        uString::toTextWithPrefix(exportFrequency, text, withSymbol, appended, "%3.1f ");
    } else {
        text += "0 ";
    }
    return text + "Hz";
}

} // namespace

double FrontEndChannel_1::measureFreq() {
    const analysis::UnitClock clock = unitClock(*frontEnd);
    const analysis::CounterWindow window = analysis::counterWindow(settings.cpi, clock);
    const std::array<RegisterAccess, 2> opened{{
        {registers::kindUnit, registers::address(registers::frequencyWindowLow, channelNumber), window.low},
        {registers::kindUnit, registers::address(registers::frequencyWindowHigh, channelNumber), window.high},
    }};
    frontEnd->getDataClient()->write(opened.data(), static_cast<std::uint32_t>(opened.size()));
    frontEnd->waits().sleep(window.wait);
    std::array<RegisterAccess, 2> counted{{
        {registers::kindUnit, registers::address(registers::frequencyCountLow, channelNumber), 0},
        {registers::kindUnit, registers::address(registers::frequencyCountHigh, channelNumber), 0},
    }};
    frontEnd->getDataClient()->read(counted.data(), static_cast<std::uint32_t>(counted.size()));
    const std::uint32_t count = (counted[1].value << 16) | (counted[0].value & 0xFFFF);
    const double frequency = analysis::frequencyOfCount(count, settings.cpi, clock);
    clocking.exportFrequency = frequency;
    return frequency;
}

void FrontEndChannel_1::measureAndVerifyFreq() {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::measureAndVerifyFreq");
    clocking.exportFrequency = 0.0;
    Cal measuring(settings.numPins);
    setupPins(measuring);
    for (std::uint32_t debounce = firstDebounce;; ++debounce) {
        for (std::uint32_t p = 0; p < analysis::usedPins(settings.numPins); ++p) {
            measuring.proc[p].debounce = debounce;
            measuring.proc[p].filter = fullFilter;
        }
        manualCal(measuring);
        analysis::FrequencyPair pair{};
        for (int i = 0; i < pairsTried; ++i) {
            pair.first = measureFreq();
            pair.second = measureFreq();
            if (pair.settled()) {
                break;
            }
        }
        const analysis::FrequencyVerdict verdict = analysis::judge(pair);
        if (verdict == analysis::FrequencyVerdict::noClock) {
            logOvs(calibration.cal);
            logRegs();
            fail(frontEndUnit, eCALIBRATE,
                 "no signal on clock : check external pin configuration and clock circuit connection");
        }
        const char* reason = reasonFor(verdict);
        if (reason == nullptr) {
            applyFrequencyChange(pair.mean());
            return;
        }
        logStep(here(), "debounce %u : %s (%6.5e, %6.5e)", debounce, reason, pair.first, pair.second);
        if (debounce == lastDebounce) {
            fail(frontEndUnit, eXMTR, withFrequencies(reason, pair));
        }
    }
}

void FrontEndChannel_1::findAllFrequencySettings(Metrics& results, Cal& target) {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::findAllFrequencySettings");
    const std::uint32_t settingsOffered = transmitter->numFrequencySettings();
    logStep(here(), "numFrequencySettings=%u", settingsOffered);
    clocking.frequencies.clear();
    for (std::uint32_t setting = 0; setting < settingsOffered; ++setting) {
        bool measuring = false;
        try {
            transmitter->shutdown();
            transmitter->program("calibration", setting);
            measuring = true;
            measureAndVerifyFreq();
        } catch (const std::exception& e) {
            logStep(here(), "exception programming transmitter to frequency setting %u", setting);
            if (!reportedPerStep(e, measuring)) {
                logStep(here(), "setting %u not used : %s", setting, e.what());
            }
            break;
        } catch (...) {
            logStep(here(), "exception programming transmitter to frequency setting %u", setting);
            break;
        }
        logStep(here(), "setting %u measured at %6.5e Hz", setting, clocking.exportFrequency.load());
        if (analysis::exceedsRecording(clocking.exportFrequency, clocking.dataRate)) {
            logStep(here(), "setting %u exceeds frequency limits", setting);
            break;
        }
        clocking.frequencies.push_back(clocking.exportFrequency);
    }
    if (!clocking.frequencies.empty()) {
        logStep(here(), "succeeded with %u possible settings", static_cast<unsigned>(clocking.frequencies.size()));
        return;
    }
    const std::string text = unusableText(clocking.exportFrequency, clocking.dataRate);
    logRegs();
    logCal(results, target);
    logOvs(target);
    fail(frontEndUnit, eCALIBRATE, text);
}

void FrontEndChannel_1::findStartFrequencySetting(std::uint32_t& setting) const {
    setting = analysis::startSetting(clocking.frequencies, settings.frequencyLimit);
}

} // namespace VX_QRS::ORV::CLIENT
