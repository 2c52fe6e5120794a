#pragma once

#include "diagnosis/burst/BurstExport.h"

#include <iosfwd>

namespace diagnosis {

/// A session file of sigrok (".sr"): the unit's own samples, with their rate and a name for each pin. Needs at most 8
/// pins, which no burst exceeds. The same part always gives the same bytes.
void writeSigrokSession(std::ostream& out, const Burst& burst, const BurstPart& part);

} // namespace diagnosis
