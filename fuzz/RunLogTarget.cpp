#include "diagnosis/files/RunLog.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"

#include <algorithm>

namespace fuzz {

namespace {

using diagnosis::FrequencySetting;
using diagnosis::RunLog;

void check(const RunLog& log, bool calibrated) {
    require(std::adjacent_find(log.frequencies.begin(), log.frequencies.end(),
                               [](const FrequencySetting& one, const FrequencySetting& other) {
                                   return one.setting >= other.setting;
                               }) == log.frequencies.end(),
            "each setting is listed once, in its order");
    const auto chosen =
        std::count_if(log.frequencies.begin(), log.frequencies.end(),
                      [](const FrequencySetting& entry) { return entry.verdict == FrequencySetting::Verdict::Chosen; });
    require(chosen <= (calibrated ? 1 : 0), "one setting at most is chosen, and only by a success");
    require((chosen == 0) == (log.chosen() == nullptr), "the chosen setting is found");
    const auto kept =
        std::count_if(log.attempts.begin(), log.attempts.end(), [](const auto& each) { return each.kept; });
    require(kept == chosen, "the attempt of the chosen setting is kept");
    for (const diagnosis::CalibrationAttempt& attempt : log.attempts) {
        require(attempt.position.empty() || attempt.position == "center" || attempt.position == "edge", "a position");
        log.failedReason(attempt.setting);
    }
    log.failures();
    log.transmitterFailure();
}

} // namespace

void runLog(Input input) {
    for (const bool calibrated : {false, true}) {
        check(diagnosis::parseRunLog(textOf(input), calibrated), calibrated);
    }
}

} // namespace fuzz
