#include "host/calibration/SessionBoard.h"

#include "host/platform/Platform.h"

namespace host {

namespace {

using diagnosis::tune::Values;
using Pattern = PatternTransmitter::Pattern;

void stopIfInterrupted() {
    if (interrupted()) {
        throw toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted during the search for values");
    }
}

} // namespace

PinValues pinValuesOf(const Values& chosen) {
    PinValues values;
    for (const diagnosis::tune::PinValue& pin : chosen) {
        values.delays.push_back(static_cast<unsigned>(pin.delay));
        values.stretches.push_back(pin.stretch);
        values.plateaus.push_back(static_cast<unsigned>(pin.plateau));
        values.debounces.push_back(static_cast<unsigned>(pin.debounce));
        values.filters.push_back(static_cast<unsigned>(pin.filter));
    }
    return values;
}

diagnosis::Burst SessionBoard::burst(const Values& chosen) {
    stopIfInterrupted();
    return values.set(pinValuesOf(chosen), Pattern::Walk);
}

diagnosis::Burst SessionBoard::calibrationBurst(const Values& chosen) {
    stopIfInterrupted();
    return values.set(pinValuesOf(chosen), Pattern::F0);
}

diagnosis::tune::Words SessionBoard::words(const Values& chosen, double errorRate) {
    stopIfInterrupted();
    values.set(pinValuesOf(chosen), Pattern::F0);
    const diagnosis::WordCheck check = values.compareWords(diagnosis::WordCheck::When::Alone, errorRate);
    diagnosis::tune::Words words;
    words.bits = check.failure.empty() || check.errors != 0 ? check.bits : 0;
    words.errors = check.errors;
    words.lanes.resize(chosen.size() - 1);
    for (const diagnosis::LaneErrors& lane : check.lanes) {
        if (lane.lane < words.lanes.size()) {
            words.lanes[lane.lane] = {lane.errors, lane.early, lane.late};
        }
    }
    return words;
}

} // namespace host
