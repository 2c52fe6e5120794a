#pragma once

#include "diagnosis/analysis/DiagnosticSet.h"

#include <string>

// Not all figures of an attempt's report are its own: the receiver keeps those of an earlier attempt until it measures
// them again, and below the lowest analysed clock it reports values that it does not write.

namespace diagnosis {

/// The attempt ended at the vote about the sampling position: its burst is undecided, and neither delays nor stretches
/// were computed.
bool endedAtVote(const FileGroup& attempt);

/// Whether the attempt lasted until its own margins and correlations were measured. `reason` is the receiver's text
/// about its end; without one the files decide.
bool reachedMargins(const FileGroup& attempt, const std::string& reason);

/// Removes margins and correlations from a report that has those of an earlier attempt.
void leaveOutFigures(CalFile& cal);

/// Below the lowest analysed clock: replaces the reported values by those that the unit holds; by none without a dump.
void takeHeldValues(CalFile& cal, const RegisterDump* held);

/// All of this for every attempt of the set.
void keepOwnFigures(DiagnosticSet& set);

} // namespace diagnosis
