#pragma once

#include "benchmarks/support/Report.h"

/// Each source file of this program measures one thing and says which ratios come of it.
void reportEscape(benchmarks::Report& report);
void reportRoundTrip(benchmarks::Report& report);
void reportUpload(benchmarks::Report& report);
