#pragma once

#include "diagnosis/analysis/DiagnosticSet.h"

#include <string>

// An attempt's report is not all its own: the receiver keeps what an earlier attempt measured until it is measured
// again, and below the slowest analysed clock it reports values that it does not write.

namespace diagnosis {

/// The attempt ended at the vote about the sampling position: its burst is undecided, and neither delays nor stretches
/// were computed.
bool endedAtVote(const FileGroup& attempt);

/// Whether the attempt lasted until its own margins and correlations were measured. `reason` is why it ended, in the
/// receiver's words; without one the files decide.
bool reachedMargins(const FileGroup& attempt, const std::string& reason);

/// Takes margins and correlations out of a report that has them from an earlier attempt.
void leaveOutFigures(CalFile& cal);

/// Below slowestAnalysed: puts what the unit holds in place of the reported values; none where no dump tells.
void takeHeldValues(CalFile& cal, const RegisterDump* held);

/// All of this for every attempt of the set.
void keepOwnFigures(DiagnosticSet& set);

} // namespace diagnosis
