#include "client/analysis/Alignment.h"
#include "client/analysis/Burst.h"
#include "client/analysis/Conversions.h"
#include "client/analysis/Margins.h"
#include "client/analysis/SamplingPosition.h"
#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "common/source/Exception.h"

#include <string>

// Hands the burst captured last to the analysis functions and acts on their results.

namespace VX_QRS::ORV::CLIENT {

analysis::Burst FrontEndChannel_1::burst() const {
    analysis::Burst captured;
    captured.numPins = analysis::usedPins(settings.numPins);
    for (std::uint32_t p = 0; p < captured.numPins; ++p) {
        captured.pin[p] = oversampling.ovsWords[p];
    }
    captured.length = oversampling.ovsDepth * oversampling.ovsWordBits;
    captured.skip = oversampling.ovsStart;
    captured.oversampling = clocking.oversampling;
    captured.bitSamples = clocking.bitSamples;
    return captured;
}

void FrontEndChannel_1::detectSamplingPosition() {
    const analysis::SamplingPositionCounts counts = analysis::countSamplingPositions(burst());
    const char* found = nullptr;
    switch (analysis::samplingPosition(counts)) {
    case analysis::SamplingPosition::center:
        found = "center";
        break;
    case analysis::SamplingPosition::edge:
        found = "edge";
        break;
    case analysis::SamplingPosition::undetected:
        break;
    }
    logStep(here(), "sampling position %s : %u data edges between clock edges, %u near one",
            found != nullptr ? found : "not detected", counts.center, counts.edge);
    if (found == nullptr) {
        fail(frontEndUnit, eCALIBRATE, "unable to detect sampling position");
    }
    settings.samplingPos = found;
}

void FrontEndChannel_1::stretch(Metrics& m) {
    analysis::stretch(burst(), transmitter->getPattern()->onesRatio(), m);
}

void FrontEndChannel_1::align(Metrics& m, std::uint32_t strategy) {
    switch (strategy) {
    case 0:
        alignDataWithClock(m);
        break;
    case 1:
        alignDataWithData(m);
        break;
    default:
        fail(frontEndUnit, eFAIL, "invalid software state");
    }
    if (settings.samplingPos == "edge") {
        // The clock moves half a period later, from the data's edges into their middle.
        m.proc[0].delay = analysis::wrappingSum(m.proc[0].delay, analysis::halfPeriod(clocking.oversampling));
    }
    formatDelaysForFpga(m);
}

void FrontEndChannel_1::alignDataWithClock(Metrics& m) {
    findMargin(m);
    analysis::alignDataWithClock(burst(), m);
}

void FrontEndChannel_1::alignDataWithData(Metrics& m) {
    analysis::alignDataWithData(burst(), settings.referencePin, m);
}

void FrontEndChannel_1::findMargin(Metrics& m) {
    const bool delayDue = settings.samplingPos == "edge" && m.proc[0].delay == 0;
    analysis::findMargin(burst(), delayDue ? analysis::halfPeriod(clocking.oversampling) : 0, m);
}

void FrontEndChannel_1::adjustClockDelay(Metrics& m) {
    const analysis::ClockCentring margins = analysis::clockMargins(burst(), m);
    logStep(here(), "clock margins : %u before, %u after, %u samples needed in all : %s", margins.holdMargin,
            margins.setupMargin, margins.need, margins.enough ? "enough" : "too low");
    if (!margins.enough) {
        fail(frontEndUnit, eCALIBRATE, "clock margin too low");
    }
    analysis::centreClock(settings.referencePin, m);
    formatDelaysForFpga(m);
}

void FrontEndChannel_1::computeOvsDataCorrelation(Metrics& m) {
    analysis::correlateAtZero(burst(), settings.referencePin, m);
}

void FrontEndChannel_1::formatDelaysForFpga(Metrics& m) {
    analysis::formatDelays(settings.numPins, m);
}

double FrontEndChannel_1::findPeakCorrelation(const ProcMetrics& p, std::int32_t& delay, std::uint32_t range) const {
    return analysis::findPeakCorrelation(p, delay, range);
}

void FrontEndChannel_1::verifyOvsMargin(const Cal& target, std::int32_t margin) {
    const analysis::MarginFault fault = analysis::findMarginFault(burst(), margin);
    if (fault.kind == analysis::MarginFault::Kind::none) {
        return;
    }
    logOvs(target, ".err.cap.txt");
    const char* which = fault.kind == analysis::MarginFault::Kind::clock ? "clock" : "data";
    fail(frontEndUnit, eOVS,
         "oversampling " + std::string(which) + " margin failure at index " + std::to_string(fault.word));
}

} // namespace VX_QRS::ORV::CLIENT
