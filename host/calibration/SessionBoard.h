#pragma once

#include "diagnosis/tune/Search.h"
#include "host/calibration/ChosenValues.h"

namespace host {

PinValues pinValuesOf(const diagnosis::tune::Values& chosen);

/// The session's channel, with given values, for a search.
class SessionBoard final : public diagnosis::tune::Board {
public:
    explicit SessionBoard(ChosenValues& used) : values(used) {}

    /// Both throw Failure, also at the user's interruption.
    diagnosis::Burst burst(const diagnosis::tune::Values& chosen) override;
    diagnosis::tune::Words words(const diagnosis::tune::Values& chosen, double errorRate) override;

    /// A burst of the calibration's own pattern.
    diagnosis::Burst calibrationBurst(const diagnosis::tune::Values& chosen);

private:
    ChosenValues& values;
};

} // namespace host
