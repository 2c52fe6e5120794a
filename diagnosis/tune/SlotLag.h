#pragma once

#include "diagnosis/files/Patterns.h"
#include "diagnosis/tune/Places.h"

#include <optional>

namespace diagnosis::tune {

/// By how many slots the lanes' places in a burst of a known pattern are off against the first lane's: a lane whose bits
/// belong to the place n slots earlier has n. Found by comparing how lanes follow each other with how they do in the
/// pattern; a repeated pattern shows it within half of its length. Nothing if the lanes do not carry it.
std::optional<std::vector<int>> slotLags(const Burst& burst, const Values& held, const ClockGrid& grid,
                                         const RawPlaces& places, const Pattern& pattern);

/// Places in one slot: the same, with the lags taken out.
void alignSlots(RawPlaces& places, const std::vector<int>& lags);

} // namespace diagnosis::tune
