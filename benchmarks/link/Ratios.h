#pragma once

#include "benchmarks/support/Report.h"

/// Each source file of this program measures one thing and adds its ratios.
void reportEscape(benchmarks::Report& report);
void reportRoundTrip(benchmarks::Report& report);
void reportUpload(benchmarks::Report& report);
