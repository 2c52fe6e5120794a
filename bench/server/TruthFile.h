#pragma once

#include "bench/unit/Unit.h"

#include <string>

namespace bench {

// One recording as one line of JSON, without the line end. An EMU pin of -1 stands for the unit's own
// generator.
std::string truthLine(const RecordingTruth& truth);

// What one recording holds, likewise.
std::string contentsLine(const ContentsTruth& contents);

} // namespace bench
