#pragma once

#include "benchmarks/support/Report.h"

/// Each source file of this program measures one thing and says which ratios come of it.
void reportData(benchmarks::Report& report);
void reportPinSearch(benchmarks::Report& report);
