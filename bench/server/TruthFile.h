#pragma once

#include "bench/unit/Unit.h"

#include <string>

namespace bench {

/// A recording as one line of JSON, without the line end. An EMU pin of -1 means the unit's own generator.
std::string truthLine(const RecordingTruth& truth);

/// The contents of a recording as one line of JSON, without the line end.
std::string contentsLine(const ContentsTruth& contents);

} // namespace bench
