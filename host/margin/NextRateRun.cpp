#include "host/margin/NextRateRun.h"

#include "diagnosis/tune/Conditioning.h"
#include "host/calibration/SessionBoard.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <array>

namespace host {

namespace {

using diagnosis::RateScan;
using diagnosis::faster::RefusedRate;

constexpr unsigned capturedBursts = 6;
/// That the words of the search exclude: they only show which slot each lane is in.
constexpr double slotErrorRate = 1e-7;

/// A session's board that compares no more words than that takes, also where a search without margins asks for more.
class BriefBoard final : public diagnosis::tune::Board {
public:
    explicit BriefBoard(SessionBoard& used) : board(used) {}
    diagnosis::Burst burst(const diagnosis::tune::Values& values) override { return board.burst(values); }
    diagnosis::tune::Words words(const diagnosis::tune::Values& values, double errorRate) override {
        return board.words(values, std::max(errorRate, slotErrorRate));
    }

private:
    SessionBoard& board;
};

/// Properties with which the calibration is another one than the computed one.
bool isUsualCalibration(const std::vector<SetProperty>& properties) {
    constexpr std::array unusual{"calMode",   "deskewStrategy", "frequencyLimit", "delays",
                                 "stretches", "filters",        "debounces",      "plateaus"};
    return std::ranges::none_of(unusual, [&](const char* name) { return isSet(properties, name); });
}

/// Slow to fast; empty if one of them is not refused for its signal.
std::vector<RateScan*> ratesAbove(diagnosis::MarginScan& scan, double hertz) {
    std::vector<RateScan*> rates;
    for (RateScan& rate : scan) {
        const bool isRecorded = rate.hertz <= diagnosis::limits::highestClock && !rate.bursts.empty();
        if (rate.hertz > hertz && isRecorded && !rate.refusal.empty()) {
            rates.push_back(&rate);
        }
    }
    return rates;
}

RefusedRate measured(const RateScan& scanned, ChosenValues& values, const SessionResult& result) {
    RefusedRate rate;
    rate.setting = scanned.setting;
    values.measureRate(scanned.setting);
    rate.hertz = result.hertz.value_or(scanned.hertz);
    rate.sampleRate = scanned.sampleRate;
    const double period = rate.sampleRate / rate.hertz;
    SessionBoard board(values);
    const diagnosis::tune::Values plain(scanned.bursts.size() + 1, diagnosis::tune::receiversConditioning(period));
    for (unsigned i = 0; i < capturedBursts; ++i) {
        rate.bursts.push_back(board.calibrationBurst(plain));
        rate.bursts.back().rates.exportFrequency = rate.hertz;
        rate.bursts.back().rates.oversampling = period;
    }
    diagnosis::tune::Task task;
    task.lanes = scanned.bursts.size();
    task.half = period / 2.0;
    task.pattern = diagnosis::tune::patternOfBursts(task.lanes);
    task.wordsErrorRate = slotErrorRate;
    BriefBoard brief(board);
    rate.found = diagnosis::tune::search(brief, task);
    return rate;
}

} // namespace

void findNextRate(Session& session, MarginResult& result, PatternTransmitter& transmitter, ProgressLine& line) {
    // A rate that is too slow to be analysed may be the kept one.
    const RateScan* fastest = diagnosis::fastestSound(result.rates);
    const auto kept = std::ranges::find(result.rates, true, &RateScan::kept);
    fastest = fastest == nullptr && kept != result.rates.end() ? &*kept : fastest;
    const std::vector<RateScan*> above =
        fastest != nullptr ? ratesAbove(result.rates, fastest->hertz) : std::vector<RateScan*>();
    if (above.empty() || !isUsualCalibration(session.userProperties()) ||
        diagnosis::patternsFor(above.front()->bursts.size()).empty()) {
        return;
    }
    const diagnosis::RunChecks checks = result.checks;
    ChosenValues values(session, result, transmitter, line);
    std::vector<RefusedRate> rates;
    for (auto rate = above.rbegin(); rate != above.rend(); ++rate) {
        line.setPrefix("measuring " + toolkit::frequencyText((*rate)->hertz) + ": ");
        rates.push_back(measured(**rate, values, result));
    }
    above.front()->next = diagnosis::faster::nextRateOf(rates, diagnosis::usualErrorRate);
    values.leave();
    result.checks = checks;
    line.setPrefix("");
}

} // namespace host
